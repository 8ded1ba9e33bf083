// All exchanges in the HTTP Archive format, version 1.2.
#pragma once

#include <string>

#include "kit/journal.h"

namespace velk::sandbox {

// What the format has no member for starts with an underscore: _id, _reason and _script.
std::string ToHar(const Journal& journal);

}  // namespace velk::sandbox
