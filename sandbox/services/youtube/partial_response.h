// The `fields` parameter of Google's APIs, which selects members of a reply: "items(id,snippet/title),etag".
#pragma once

#include <boost/json/value.hpp>
#include <optional>
#include <string_view>

namespace velk::sandbox::youtube {

// The selected members. A list keeps its elements, each with its selected members. None if the text is
// malformed.
std::optional<boost::json::value> SelectFields(const boost::json::value& value, std::string_view fields);

}  // namespace velk::sandbox::youtube
