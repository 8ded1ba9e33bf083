// The kinds of nodes of the Graph API, and the fields that each has.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velk::sandbox::facebook {

// A kind is "user" or "page", or that of a published object: "photo", "video", "story" or "comment".
std::string TypeName(std::string_view kind);  // as errors name it
std::vector<std::string> DefaultFields(
    std::string_view kind);  // of a request with a version and without `fields`
bool HasField(std::string_view kind, std::string_view field);

}  // namespace velk::sandbox::facebook
