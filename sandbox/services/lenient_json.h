// Reads JSON the way the video service does: texts may stand in single quotes, and hold raw control bytes.
#pragma once

#include <boost/json/value.hpp>
#include <optional>
#include <string_view>

namespace velk::sandbox {

std::optional<boost::json::value> ParseLenientJson(std::string_view text);  // none when it cannot be read

}  // namespace velk::sandbox
