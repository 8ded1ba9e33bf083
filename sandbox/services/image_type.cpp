#include "services/image_type.h"

#include <algorithm>

namespace velk::sandbox {

std::string_view ImageType(std::string_view start) {
  static constexpr struct {
    std::string_view signature, type;
  } kTypes[] = {
      {"\xFF\xD8\xFF", "image/jpeg"},
      {"\x89PNG\r\n\x1A\n", "image/png"},
      {"GIF87a", "image/gif"},
      {"GIF89a", "image/gif"},
  };
  for (const auto& known : kTypes) {
    if (start.starts_with(known.signature)) return known.type;
  }
  const bool webp =
      start.starts_with("RIFF") && start.substr(std::min<std::size_t>(start.size(), 8), 4) == "WEBP";
  return webp ? "image/webp" : std::string_view();
}

}  // namespace velk::sandbox
