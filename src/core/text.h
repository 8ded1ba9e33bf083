// Bounded access to the host's fixed-width fields and output buffers.
#pragma once

#include <cstring>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace velk {

// The contents of a field, up to its terminator. Without a terminator, the whole field.
template <size_t width>
std::string_view Field(const char (&field)[width]) noexcept {
  return {field, ::strnlen(field, width)};
}

// Copies a string and its terminator, cut to the size of `out`. An empty `out` is unchanged.
inline void CopyText(std::string_view text, std::span<char> out) noexcept {
  if (out.empty()) return;
  out[text.copy(out.data(), out.size() - 1)] = '\0';
}

// Concatenates strings with one allocation.
inline std::string Concat(std::initializer_list<std::string_view> pieces) {
  size_t length = 0;
  for (const std::string_view piece : pieces) length += piece.size();
  std::string text;
  text.reserve(length);
  for (const std::string_view piece : pieces) text += piece;
  return text;
}

}  // namespace velk
