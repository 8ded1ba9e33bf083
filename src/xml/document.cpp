#include "xml/document.h"

#include <algorithm>
#include <string>

#include "core/utf8.h"

namespace velk::xml {
namespace {

// ---- Encodings ----

constexpr char32_t kReplacement = 0xFFFD;
constexpr bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
constexpr bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

// Converts UTF-16 units without a byte-order mark to UTF-8, in a new block. An unpaired surrogate becomes
// U+FFFD; an odd last byte is dropped.
std::span<char> ConvertUtf16(std::span<const char> bytes, bool bigEndian, std::unique_ptr<char[]>& block) {
  const size_t count = bytes.size() / 2;
  const auto unitAt = [&](size_t index) -> char32_t {
    const auto first = static_cast<unsigned char>(bytes[2 * index]);
    const auto second = static_cast<unsigned char>(bytes[2 * index + 1]);
    return bigEndian ? static_cast<char32_t>(first << 8 | second)
                     : static_cast<char32_t>(second << 8 | first);
  };
  // In UTF-8 a single unit takes up to three bytes, and a surrogate pair takes four.
  block = std::make_unique_for_overwrite<char[]>(3 * count);
  char* out = block.get();
  for (size_t i = 0; i < count; ++i) {
    char32_t code = unitAt(i);
    if (IsHighSurrogate(code) && i + 1 < count && IsLowSurrogate(unitAt(i + 1))) {
      code = 0x10000 + ((code - 0xD800) << 10) + (unitAt(++i) - 0xDC00);
    } else if (IsHighSurrogate(code) || IsLowSurrogate(code)) {
      code = kReplacement;
    }
    out = EncodeUtf8(code, out);
  }
  return {block.get(), out};
}

// Converts CR LF and single CR to LF in place. Returns the remaining text.
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

// ---- Instructions ----

std::string_view TrimStart(std::string_view text) {
  const auto first = std::find_if_not(text.begin(), text.end(), IsSpace);
  return {first, text.end()};
}

// Whether the data of an XML declaration contains standalone="yes".
bool DeclaresStandalone(std::string_view data) {
  constexpr std::string_view kName = "standalone";
  const size_t found = data.find(kName);
  if (found == data.npos) return false;
  std::string_view rest = TrimStart(data.substr(found + kName.size()));
  if (!rest.starts_with('=')) return false;
  rest = TrimStart(rest.substr(1));
  return rest.starts_with("\"yes\"") || rest.starts_with("'yes'");
}

}  // namespace

void Document::SetText(char* bytes, size_t size) {
  const std::string_view view(bytes, size);
  const bool bigEndian = view.starts_with("\xFE\xFF");
  std::span<char> utf8(bytes, size);
  buffer = bytes;
  length = size;
  if (view.starts_with("\xEF\xBB\xBF")) {
    utf8 = utf8.subspan(3);
  } else if (bigEndian || view.starts_with("\xFF\xFE")) {
    utf8 = ConvertUtf16(utf8.subspan(2), bigEndian, converted);
    buffer = utf8.data();
    length = utf8.size();
  }
  utf8 = NormaliseLineEnds(utf8);
  start = utf8.data();
  end = utf8.data() + utf8.size();
}

void Document::AddInstruction(std::string_view content) {
  const auto targetEnd = std::find_if(content.begin(), content.end(), IsSpace);
  const std::string_view target(content.begin(), targetEnd);
  const std::string_view data = TrimStart({targetEnd, content.end()});
  if (target == "xml") {
    standalone = DeclaresStandalone(data);
  } else {
    instructions.push_back({target, data});
  }
}

bool Document::Fail(size_t line, std::initializer_list<std::string_view> message) {
  size_t used = 0;
  const auto put = [&](std::string_view part) { used += part.copy(error + used, sizeof error - 1 - used); };
  put("[error near line ");
  put(std::to_string(line));
  put("]: ");
  for (const std::string_view part : message) put(part);
  error[used] = '\0';
  return false;
}

}  // namespace velk::xml
