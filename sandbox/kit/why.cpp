#include "kit/why.h"

#include <boost/json/value.hpp>
#include <cstdio>

#include "kit/byte_strings.h"

namespace velk::sandbox {
namespace {

void AppendEscape(std::string& line, unsigned char byte) {
  char escape[5];
  std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned>(byte));
  line += escape;
}

// Terminals also obey the control characters U+0080 to U+009F, which are two bytes.
bool StartsControl(std::string_view rest) {
  const auto first = static_cast<unsigned char>(rest[0]);
  if (first < 0x20 || first == 0x7F) return true;
  return first == 0xC2 && rest.size() > 1 && static_cast<unsigned char>(rest[1]) < 0xA0;
}

// The largest size, up to `most`, that ends between two characters.
std::size_t WholeCharacters(std::string_view bytes, std::size_t most) {
  while (most > 0 && (static_cast<unsigned char>(bytes[most]) & 0xC0) == 0x80) --most;
  return most;
}

}  // namespace

std::string OneLine(std::string_view bytes) {
  const boost::json::value readable = ToText(boost::json::value(bytes));
  const std::string_view text = readable.get_string();
  std::string line;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!StartsControl(text.substr(i))) {
      line += text[i];
      continue;
    }
    if (static_cast<unsigned char>(text[i]) == 0xC2) ++i;
    AppendEscape(line, static_cast<unsigned char>(text[i]));
  }
  return line;
}

std::string Quoted(std::string_view bytes, std::size_t most) {
  const bool cut = bytes.size() > most;
  if (cut) bytes = bytes.substr(0, WholeCharacters(bytes, most));
  return '"' + OneLine(bytes) + (cut ? "…\"" : "\"");
}

}  // namespace velk::sandbox
