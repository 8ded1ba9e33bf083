// The extension of a photo's name, which becomes its media type.
#include <gtest/gtest.h>

#include <utility>

#include "twitter/twitter.h"

namespace velk::twitter {
namespace {

TEST(MediaExtension, FollowsTheLastDot) {
  const std::pair<const char*, const char*> rows[] = {
      {"a.b.gif", "gif"}, {".hidden", "hid"}, {"x.j", "j"},         {"photo.", "pho"},
      {"...", ""},        {"", ""},           {"a..jpeg..", "jpe"},
  };
  for (const auto& [name, extension] : rows) EXPECT_EQ(MediaExtension(name), extension) << name;
}

}  // namespace
}  // namespace velk::twitter
