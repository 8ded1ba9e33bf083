// Fills the records of the public header.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <tuple>
#include <type_traits>

#include "velk_upload.h"

namespace velk::test {

constexpr const char* kUntouched = "untouched";

// A string that does not fit the field is an error in the test.
template <size_t width>
void Fill(char (&field)[width], const std::string& text) {
  ASSERT_LE(text.size(), width);
  std::fill(std::begin(field), std::end(field), '\0');
  text.copy(field, width);
}

// A tweet names its photo by folder and name.
inline void FillPath(TwitterUploadFile& tweet, const std::string& path) {
  const size_t name = path.find_last_of("/\\") + 1;
  Fill(tweet.folderPath, path.substr(0, name - 1));
  Fill(tweet.fileName, path.substr(name));
}

// Calls a function once for each index, with null as the argument at that index. Every call must report it.
template <size_t... indexes, typename... Parameters>
void ExpectRequired(const char* name, int32_t (*function)(Parameters...),
                    std::type_identity_t<Parameters>... arguments) {
  const auto callWithout = [&]<size_t index>() {
    std::tuple<Parameters...> replaced(arguments...);
    std::get<index>(replaced) = nullptr;
    EXPECT_EQ(std::apply(function, replaced), VELK_MISSING_ARGUMENT) << name << ", argument " << index + 1;
  };
  (callWithout.template operator()<indexes>(), ...);
}

}  // namespace velk::test
