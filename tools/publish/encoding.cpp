#include "encoding.h"

#include <algorithm>
#include <bit>

namespace velk::publish {
namespace {

constexpr std::string_view kHex = "0123456789ABCDEF";

bool IsUnreserved(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
         std::string_view("-._~").find(c) != std::string_view::npos;
}

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// Takes one character off the text. Wrong UTF-8 gives some value above ASCII.
char32_t TakeCharacter(std::string_view& text) {
  const auto first = static_cast<unsigned char>(text.front());
  char32_t value = first < 0x80   ? first
                   : first < 0xE0 ? first & 0x1FU
                   : first < 0xF0 ? first & 0x0FU
                                  : first & 7U;
  text.remove_prefix(1);
  for (; !text.empty() && IsContinuation(text.front()); text.remove_prefix(1))
    value = value << 6 | (static_cast<unsigned char>(text.front()) & 0x3FU);
  return value;
}

// The bytes of the character at the start of the text, or 0 when that is no UTF-8.
std::size_t SequenceLength(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  if (first < 0x80) return 1;
  const auto length = static_cast<std::size_t>(std::countl_one(first));
  if (length < 2 || length > 4 || length > text.size()) return 0;
  if (!std::ranges::all_of(text.substr(1, length - 1), IsContinuation)) return 0;
  constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};  // a smaller one is overlong
  const char32_t value = TakeCharacter(text);
  const bool isSurrogate = value >= 0xD800 && value <= 0xDFFF;
  return value >= kLeast[length] && value <= 0x10FFFF && !isSurrogate ? length : 0;
}

bool CountsOnce(char32_t c) {
  return c <= 0x10FF || (c >= 0x2000 && c <= 0x200D) || (c >= 0x2010 && c <= 0x201F) ||
         (c >= 0x2032 && c <= 0x2037);
}

// Modifies or continues an emoji, and may count nothing beside it.
bool JoinsEmoji(char32_t c) {
  return c == 0x200D || (c >= 0xFE00 && c <= 0xFE0F) || (c >= 0x1F3FB && c <= 0x1F3FF) ||
         (c >= 0x1F1E6 && c <= 0x1F1FF) || (c >= 0xE0020 && c <= 0xE007F) || c == 0x20E3;
}

std::size_t LeastWordLength(std::string_view word) {
  constexpr std::size_t kLink = 23;
  const bool mayBeLink = word.find('.') != std::string_view::npos;
  std::size_t length = 0;
  char32_t previous = 0;
  while (!word.empty()) {
    const char32_t c = TakeCharacter(word);
    if (!JoinsEmoji(c) && previous != 0x200D) length += CountsOnce(c) ? 1 : 2;
    previous = c;
  }
  return mayBeLink ? std::min(length, kLink) : length;
}

}  // namespace

std::string PercentEncoded(std::string_view text) {
  std::string encoded;
  for (const char c : text) {
    if (IsUnreserved(c)) {
      encoded += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    encoded += {'%', kHex[byte >> 4], kHex[byte & 15]};
  }
  return encoded;
}

std::string PostText(std::string_view text) { return text == "NULL" ? "%4EULL" : PercentEncoded(text); }

std::string YoutubeText(std::string_view text) {
  constexpr std::string_view kControls = "\n\r\t", kLetters = "nrt";
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\\') {
      encoded += "\\\\";
    } else if (const auto index = kControls.find(c); index != kControls.npos) {
      encoded += {'\\', kLetters[index]};
    } else if (c == '\'' || byte < 0x20) {
      encoded += {'\\', 'u', '0', '0', kHex[byte >> 4], kHex[byte & 15]};
    } else {
      encoded += c;
    }
  }
  return encoded;
}

std::size_t LeastTweetLength(std::string_view text) {
  std::size_t length = 0;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of(" \t\r\n"), text.size());
    length += end < text.size() ? 1 : 0;
    length += LeastWordLength(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return length;
}

std::size_t CharacterCount(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(text, [](char c) { return !IsContinuation(c); }));
}

std::string ValidUtf8(std::string_view text) {
  std::string valid;
  while (!text.empty()) {
    const std::size_t length = SequenceLength(text);
    valid += length > 0 ? text.substr(0, length) : "\xEF\xBF\xBD";
    text.remove_prefix(std::max(length, std::size_t{1}));
  }
  return valid;
}

std::string Trimmed(std::string_view text) {
  const std::size_t end = text.find_last_not_of(" \t\r\n");
  return std::string(text.substr(0, end == std::string_view::npos ? 0 : end + 1));
}

}  // namespace velk::publish
