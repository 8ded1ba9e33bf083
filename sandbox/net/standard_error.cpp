#include "net/standard_error.h"

#include <cstdio>

namespace velk::sandbox {

void PrintError(std::string line) {
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
}

}  // namespace velk::sandbox
