#include "xml/decoder.h"

#include <cstring>

#include "xml/characters.h"

namespace velk::xml {
namespace {

// Collapses white space to single spaces and removes it at both ends. Returns the new size.
size_t CollapseSpace(char* bytes, size_t size) {
  char* out = bytes;
  for (size_t i = 0; i < size; ++i) {
    if (!IsSpace(bytes[i])) {
      *out++ = bytes[i];
    } else if (out != bytes && out[-1] != ' ') {
      *out++ = ' ';
    }
  }
  if (out != bytes && out[-1] == ' ') --out;
  return static_cast<size_t>(out - bytes);
}

}  // namespace

const char* Decoder::Value(std::span<char> written, bool collapseSpace) {
  const std::string_view decoded = Text(written);
  char* const bytes = decoded.data() == written.data() ? written.data() : scratch_.data();
  const size_t size = collapseSpace ? CollapseSpace(bytes, decoded.size()) : decoded.size();
  if (size > written.size()) return grown_.emplace_front(bytes, size).c_str();
  std::memmove(written.data(), bytes, size);
  written.data()[size] = '\0';
  return written.data();
}

}  // namespace velk::xml
