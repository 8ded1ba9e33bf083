// Filling the records of the library.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "failure.h"

namespace velk::publish {

// Copies a value into a field. Throws UsageError when it does not fit.
template <std::size_t width>
void SetField(char (&field)[width], std::string_view value, const char* what) {
  if (value.find('\0') != value.npos) throw UsageError(std::string("the ") + what + " contains a NUL");
  if (value.size() >= width)
    throw UsageError(std::string("the ") + what + " is too long: " + std::to_string(value.size()) +
                     " bytes as it is sent, and at most " + std::to_string(width - 1) + " fit");
  std::memcpy(field, value.data(), value.size());
  field[value.size()] = '\0';
}

}  // namespace velk::publish
