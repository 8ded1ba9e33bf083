// The command line of velk-sandbox.
#pragma once

#include <cstdint>
#include <string>

namespace velk::sandbox {

struct Options {
  std::uint16_t port = 0;  // 0: any free one
  std::uint16_t controlPort = 0;
  std::string store;  // empty: a temporary folder
  bool countOnly = false;
  bool verbose = false;
  bool help = false;
  char** command = nullptr;  // what follows "--", ended by a null pointer; null without it
};

extern const char kHelp[];

Options ParseOptions(char** arguments);  // without the program's name; throws std::invalid_argument

}  // namespace velk::sandbox
