// UTF-8 encoding.
#pragma once

namespace velk {

// Writes the UTF-8 form of a code point, at most 4 bytes. Returns the position after it.
constexpr char* EncodeUtf8(char32_t code, char* out) {
  const auto put = [&out](char32_t byte) { *out++ = static_cast<char>(static_cast<unsigned char>(byte)); };
  if (code < 0x80) {
    put(code);
    return out;
  }
  if (code < 0x800) {
    put(0xC0 | (code >> 6));
  } else {
    if (code < 0x10000) {
      put(0xE0 | (code >> 12));
    } else {
      put(0xF0 | (code >> 18));
      put(0x80 | ((code >> 12) & 0x3F));
    }
    put(0x80 | ((code >> 6) & 0x3F));
  }
  put(0x80 | (code & 0x3F));
  return out;
}

}  // namespace velk
