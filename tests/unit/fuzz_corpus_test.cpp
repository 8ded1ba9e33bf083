// Replays the fuzzing corpus: the seeds, and inputs that made a fuzzer fail.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/targets.h"

namespace velk::fuzz {
namespace {

TEST(FuzzCorpus, CausesNoFailure) {
  for (const Target& target : Targets()) {
    size_t inputs = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(VELK_CORPUS) / target.name)) {
      SCOPED_TRACE(entry.path().string());
      std::ifstream file(entry.path(), std::ios::binary);
      const std::string input{std::istreambuf_iterator<char>(file), {}};
      target.run(input);
      // Every prefix must be harmless, too. A long input is truncated at fewer positions.
      for (size_t cut = 0; cut < input.size(); cut += 1 + input.size() / 64) target.run(input.substr(0, cut));
      ++inputs;
    }
    EXPECT_GT(inputs, 0U) << target.name << " has no corpus";
  }
}

}  // namespace
}  // namespace velk::fuzz
