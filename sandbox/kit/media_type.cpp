#include "kit/media_type.h"

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

std::string_view MediaType(std::string_view start) {
  if (const std::string_view image = ImageType(start); !image.empty()) return image;
  if (start.substr(std::min<std::size_t>(start.size(), 4), 4) == "ftyp") return "video/mp4";
  return start.starts_with("\x1A\x45\xDF\xA3") ? "video/webm" : std::string_view();
}

}  // namespace velk::sandbox
