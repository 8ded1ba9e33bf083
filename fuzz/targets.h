// What is fuzzed: every reader of bytes that the network chooses. The same table serves libFuzzer and the tests,
// which replay the corpus on every platform.
#pragma once

#include <span>
#include <string_view>

namespace velk::fuzz {

struct Target {
  const char* name;  // its folder in the corpus
  void (*run)(std::string_view input);
};

std::span<const Target> Targets() noexcept;

}  // namespace velk::fuzz
