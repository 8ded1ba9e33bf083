// Parses JSON as leniently as YouTube: strings can have single quotes and can contain raw control bytes.
#pragma once

#include <boost/json/value.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace velk::sandbox {

// Empty if it is invalid. `why` then receives what is wrong, and where.
std::optional<boost::json::value> ParseLenientJson(std::string_view text, std::string* why = nullptr);

}  // namespace velk::sandbox
