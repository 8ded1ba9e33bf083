// The version of the sandbox, which is that of the library that it was built with.
#pragma once

#include <string_view>

namespace velk::sandbox {

extern const std::string_view kVersion;

}  // namespace velk::sandbox
