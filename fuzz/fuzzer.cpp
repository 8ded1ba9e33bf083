// The libFuzzer program. The environment variable VELK_FUZZ_TARGET selects the target.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "fuzz/targets.h"

namespace {

const velk::fuzz::Target* chosen = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  const char* name = std::getenv("VELK_FUZZ_TARGET");
  for (const velk::fuzz::Target& target : velk::fuzz::Targets())
    if (name && std::string_view(target.name) == name) chosen = &target;
  if (chosen) return 0;
  std::fputs("VELK_FUZZ_TARGET names none of these:", stderr);
  for (const velk::fuzz::Target& target : velk::fuzz::Targets()) std::fprintf(stderr, " %s", target.name);
  std::fputs("\n", stderr);
  std::exit(2);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  chosen->run({reinterpret_cast<const char*>(data), size});
  return 0;
}
