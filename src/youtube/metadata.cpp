// Converts a video's metadata to text for YouTube's lenient JSON parser.
#include <cstring>
#include <memory>
#include <new>

#include "youtube/youtube.h"

namespace velk::youtube {
namespace {

// The letter after the backslash, or NUL for a byte that is not escaped.
constexpr char EscapeLetter(char byte) noexcept {
  switch (byte) {
    case '\n':
      return 'n';
    case '\r':
      return 'r';
    case '\t':
      return 't';
    default:
      return '\0';
  }
}

template <size_t width>
void EscapeField(char (&field)[width]) {
  if (EscapeControlChars(field, static_cast<int32_t>(width)) != 0) throw std::bad_alloc();
}

}  // namespace

int EscapeControlChars(char* text, int32_t capacity) noexcept {
  if (!text || capacity < 1) return -1;
  const auto width = static_cast<size_t>(capacity);
  const std::unique_ptr<char[]> escaped(new (std::nothrow) char[width]());
  if (!escaped) return -1;
  size_t written = 0;
  // The size is checked before each byte of the input, not before each half of an escape. So an escape can
  // overwrite the terminator.
  for (const char byte : std::string_view(text, ::strnlen(text, width))) {
    if (written >= width - 1) break;
    const char letter = EscapeLetter(byte);
    if (letter != '\0') escaped[written++] = '\\';
    escaped[written++] = letter != '\0' ? letter : byte;
  }
  std::memcpy(text, escaped.get(), width);
  return 0;
}

std::string FormatTagsList(std::string_view tags) {
  if (tags.empty()) return {};
  std::string list = "'";
  for (const char byte : tags) {
    if (byte == '\n')
      list += "','";
    else
      list += byte;
  }
  return list += '\'';
}

std::string ComposeVideoBody(YoutubeUploadInfo& info, std::string_view videoId) {
  const std::string identity = videoId.empty() ? std::string() : Concat({"'id': '", videoId, "', "});
  const std::string tags = FormatTagsList(Field(info.tags));
  EscapeField(info.description);
  EscapeField(info.title);
  return Concat({"{ ", identity, "'snippet': {  'title': '", Field(info.title), "',  'tags': [  ", tags,
                 "  ], 'description': '", Field(info.description), "', 'categoryId': '",
                 Field(info.categoryId), "'}, 'status': { 'privacyStatus' : '", Field(info.privacyStatus),
                 "'}}"});
}

}  // namespace velk::youtube
