// Recognizes pictures and videos by their first bytes.
#pragma once

#include <string_view>

namespace velk::sandbox {

// "image/png" and such. Empty for what is no picture that the services take. 12 bytes suffice.
std::string_view ImageType(std::string_view start);

// That of a picture or a video that browsers show. Empty for anything else.
std::string_view MediaType(std::string_view start);

}  // namespace velk::sandbox
