// Brings the bytes of a document into the one form that is scanned: UTF-8 with line feeds as line ends.
#pragma once

#include <cstddef>
#include <memory>
#include <span>

namespace velk::xml {

struct Utf8Copy {
  std::unique_ptr<char[]> bytes;
  size_t length = 0;
};

enum class Encoding { kUnmarked, kUtf8, kUtf16Big, kUtf16Little };

// What the first bytes declare; kUnmarked without a byte-order mark.
Encoding DetectEncoding(std::span<const char> bytes);

// Converts UTF-16 units (without their mark). A surrogate without its partner becomes U+FFFD, and an odd byte
// at the end is dropped.
Utf8Copy ConvertUtf16(std::span<const char> bytes, bool bigEndian);

// Turns CR LF and lone CR into LF, in place; returns what is left.
std::span<char> NormaliseLineEnds(std::span<char> text);

}  // namespace velk::xml
