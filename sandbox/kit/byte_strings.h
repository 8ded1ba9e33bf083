// Carries strings of any bytes through JSON, which can hold UTF-8 alone.
//
// A string that is UTF-8 stays as it is. For any other one, the member NAME holds a readable form, with
// U+FFFD in place of what is not UTF-8, and a member NAMEBase64 beside it holds the exact bytes. The same
// goes for lists of strings: when one of them is not UTF-8, NAMEBase64 is a list of all of them.
#pragma once

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <string>
#include <string_view>

namespace velk::sandbox {

bool IsUtf8(std::string_view bytes);
std::string Base64(std::string_view bytes);
std::string FromBase64(std::string_view text);  // throws std::invalid_argument on what is not base64

// Returns the value in a form that JSON can hold. Its strings may hold any bytes.
boost::json::value ToText(boost::json::value bytes);

// The reverse, for the members of one object. Throws std::invalid_argument, with the name of the member, on
// what is not base64.
boost::json::object FromText(const boost::json::object& text);

// The string in the member of that name. It is `otherwise` without such a member, and empty for another type.
std::string StringMember(const boost::json::object& object, std::string_view name,
                         std::string_view otherwise = "");

}  // namespace velk::sandbox
