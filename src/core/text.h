// Reading the host's fixed-width fields and writing its buffers without ever leaving them.
#pragma once

#include <cstring>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace velk {

// The text of a record's field: up to its terminator, or the whole field when it has none.
template <size_t width>
std::string_view Field(const char (&field)[width]) noexcept {
  return {field, ::strnlen(field, width)};
}

// Copies a text and its terminator, cut at the room given. Room for nothing writes nothing.
inline void CopyText(std::string_view text, std::span<char> out) noexcept {
  if (out.empty()) return;
  out[text.copy(out.data(), out.size() - 1)] = '\0';
}

// One text out of several, allocated once.
inline std::string Concat(std::initializer_list<std::string_view> pieces) {
  size_t length = 0;
  for (const std::string_view piece : pieces) length += piece.size();
  std::string text;
  text.reserve(length);
  for (const std::string_view piece : pieces) text += piece;
  return text;
}

}  // namespace velk
