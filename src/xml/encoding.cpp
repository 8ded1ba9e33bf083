#include "xml/encoding.h"

#include <algorithm>
#include <string_view>

#include "core/utf8.h"

namespace velk::xml {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
constexpr bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

}  // namespace

Encoding DetectEncoding(std::span<const char> bytes) {
  const std::string_view text(bytes.data(), bytes.size());
  if (text.starts_with("\xEF\xBB\xBF")) return Encoding::kUtf8;
  if (text.starts_with("\xFE\xFF")) return Encoding::kUtf16Big;
  if (text.starts_with("\xFF\xFE")) return Encoding::kUtf16Little;
  return Encoding::kUnmarked;
}

Utf8Copy ConvertUtf16(std::span<const char> bytes, bool bigEndian) {
  const size_t count = bytes.size() / 2;
  const auto unitAt = [&](size_t index) -> char32_t {
    const auto first = static_cast<unsigned char>(bytes[2 * index]);
    const auto second = static_cast<unsigned char>(bytes[2 * index + 1]);
    return bigEndian ? static_cast<char32_t>(first << 8 | second)
                     : static_cast<char32_t>(second << 8 | first);
  };
  // In UTF-8 a single unit takes up to three bytes, and a surrogate pair takes four.
  Utf8Copy copy{std::make_unique_for_overwrite<char[]>(3 * count)};
  char* out = copy.bytes.get();
  for (size_t i = 0; i < count; ++i) {
    char32_t code = unitAt(i);
    if (IsHighSurrogate(code) && i + 1 < count && IsLowSurrogate(unitAt(i + 1))) {
      code = 0x10000 + ((code - 0xD800) << 10) + (unitAt(++i) - 0xDC00);
    } else if (IsHighSurrogate(code) || IsLowSurrogate(code)) {
      code = kReplacement;
    }
    out = EncodeUtf8(code, out);
  }
  copy.length = static_cast<size_t>(out - copy.bytes.get());
  return copy;
}

std::span<char> NormaliseLineEnds(std::span<char> text) {
  const size_t size = text.size();
  size_t out = std::min(std::string_view(text.data(), size).find('\r'), size);
  for (size_t in = out; in < size; ++in) {
    const bool carriageReturn = text[in] == '\r';
    if (carriageReturn && in + 1 < size && text[in + 1] == '\n') continue;  // its line feed follows
    text[out++] = carriageReturn ? '\n' : text[in];
  }
  return text.first(out);
}

}  // namespace velk::xml
