// Parses JSON as leniently as YouTube: strings can have single quotes and can contain raw control bytes.
#pragma once

#include <boost/json/value.hpp>
#include <optional>
#include <string_view>

namespace velk::sandbox {

std::optional<boost::json::value> ParseLenientJson(std::string_view text);  // empty if invalid

}  // namespace velk::sandbox
