// Converts a document to the form that the reader scans: UTF-8 with line feeds as line ends.
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

// Detects the encoding from the byte-order mark. Returns kUnmarked if there is none.
Encoding DetectEncoding(std::span<const char> bytes);

// Converts UTF-16 units without a byte-order mark. An unpaired surrogate becomes U+FFFD; an odd last byte is
// dropped.
Utf8Copy ConvertUtf16(std::span<const char> bytes, bool bigEndian);

// Converts CR LF and single CR to LF in place. Returns the remaining text.
std::span<char> NormaliseLineEnds(std::span<char> text);

}  // namespace velk::xml
