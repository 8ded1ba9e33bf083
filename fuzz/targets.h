// The fuzz targets: the parsers of bytes that come from the network. libFuzzer uses this table, and so do the
// tests, which replay the corpus on every platform.
#pragma once

#include <cstdlib>
#include <span>
#include <string_view>

namespace velk::fuzz {

// Ends the program unless the condition holds, so that the fuzzer reports the input.
inline void Demand(bool holds) {
  if (!holds) std::abort();
}

struct Target {
  const char* name;  // also the name of its corpus folder
  void (*run)(std::string_view input);
};

std::span<const Target> Targets() noexcept;

}  // namespace velk::fuzz
