#include "services/twitter/tweet_length.h"

#include <algorithm>
#include <array>
#include <boost/locale/utf.hpp>
#include <span>
#include <string>
#include <vector>

#include "net/text.h"

namespace velk::sandbox::twitter {
namespace {

namespace utf = boost::locale::utf;

constexpr std::size_t kLongestText = 16 * 1024;  // beyond it, no count could be within the limit
constexpr std::size_t kUrlLength = 23;
constexpr std::size_t kEmojiLength = 2;

constexpr char32_t kJoiner = 0x200D;
constexpr char32_t kEmojiStyle = 0xFE0F;
constexpr char32_t kKeycap = 0x20E3;
constexpr char32_t kInvalidByte = 0;

struct Range {
  char32_t first, last;
};

bool IsIn(std::span<const Range> ranges, char32_t point) {
  return std::ranges::any_of(ranges, [=](const Range& r) { return point >= r.first && point <= r.last; });
}

constexpr Range kLight[] = {{0, 4351}, {8192, 8205}, {8208, 8223}, {8242, 8247}};
constexpr Range kEmoji[] = {{0x1F000, 0x1FAFF}, {0x2190, 0x21FF}, {0x2300, 0x23FF},
                            {0x2460, 0x24FF},   {0x25A0, 0x27BF}, {0x2900, 0x297F},
                            {0x2B00, 0x2BFF},   {0x3030, 0x303D}, {0x3297, 0x3299}};
constexpr Range kFlagLetters[] = {{0x1F1E6, 0x1F1FF}};
constexpr Range kSkinTones[] = {{0x1F3FB, 0x1F3FF}};
constexpr Range kTags[] = {{0xE0020, 0xE007F}};
constexpr Range kKeycapBases[] = {{'0', '9'}, {'#', '#'}, {'*', '*'}};

std::u32string Decode(std::string_view utf8) {
  std::u32string points;
  for (const char* at = utf8.data(); at != utf8.data() + utf8.size();) {
    const char* const start = at;
    const utf::code_point point = utf::utf_traits<char>::decode(at, utf8.data() + utf8.size());
    const bool valid = utf::is_valid_codepoint(point);
    points += valid ? static_cast<char32_t>(point) : kInvalidByte;
    if (!valid) at = start + 1;
  }
  return points;
}

// Each of these returns how many of the first characters belong to what it names. 0: it does not start here.

std::size_t UrlCharacters(std::u32string_view text) {
  if (text.front() != 'h' && text.front() != 'H') return 0;
  std::string ascii;
  for (const char32_t point : text.substr(0, 4096)) {
    if (point <= ' ' || point >= 0x7F || point == '<' || point == '>' || point == '"') break;
    ascii += static_cast<char>(point);
  }
  const std::size_t scheme = ascii.find("://");
  if (scheme == std::string::npos ||
      !(SameName(ascii.substr(0, scheme), "http") || SameName(ascii.substr(0, scheme), "https")))
    return 0;
  const std::size_t end = ascii.find_last_not_of(".,;:!?'()") + 1;
  return end > scheme + 3 && ascii.find('.', scheme) < end ? end : 0;
}

std::size_t KeycapCharacters(std::u32string_view text) {
  if (!IsIn(kKeycapBases, text.front())) return 0;
  if (text.substr(1).starts_with(kKeycap)) return 2;
  return text.substr(1).starts_with(std::u32string{kEmojiStyle, kKeycap}) ? 3 : 0;
}

// One picture with what changes it: a style, a skin tone, the tags of a regional flag.
std::size_t PictureCharacters(std::u32string_view text) {
  if (text.empty() || !IsIn(kEmoji, text.front())) return 0;
  const auto changes = [](char32_t point) {
    return point == kEmojiStyle || point == kKeycap || IsIn(kSkinTones, point) || IsIn(kTags, point);
  };
  return static_cast<std::size_t>(std::ranges::find_if_not(text.substr(1), changes) -
                                  text.substr(1).begin()) +
         1;
}

std::size_t EmojiCharacters(std::u32string_view text) {
  if (const std::size_t keycap = KeycapCharacters(text)) return keycap;
  if (text.size() > 1 && IsIn(kFlagLetters, text[0]) && IsIn(kFlagLetters, text[1])) return 2;
  std::size_t size = PictureCharacters(text);
  while (size > 0 && size < text.size() && text[size] == kJoiner) {
    const std::size_t next = PictureCharacters(text.substr(size + 1));
    if (next == 0) break;
    size += 1 + next;
  }
  return size;
}

}  // namespace

std::size_t TweetLength(std::string_view utf8) {
  if (utf8.size() > kLongestText) return utf8.size();
  const std::u32string points = Decode(utf8);
  std::size_t length = 0;
  for (std::u32string_view rest = points; !rest.empty();) {
    std::size_t taken = 1;
    if (const std::size_t url = UrlCharacters(rest)) {
      length += kUrlLength;
      taken = url;
    } else if (const std::size_t emoji = EmojiCharacters(rest)) {
      length += kEmojiLength;
      taken = emoji;
    } else {
      length += IsIn(kLight, rest.front()) ? 1 : 2;
    }
    rest.remove_prefix(taken);
  }
  return length;
}

}  // namespace velk::sandbox::twitter
