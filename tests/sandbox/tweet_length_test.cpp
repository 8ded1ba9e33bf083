// The length of a tweet as the sandbox counts it.
#include <gtest/gtest.h>

#include <string>

#include "services/twitter/tweet_length.h"

namespace velk::sandbox::twitter {
namespace {

TEST(SandboxTweetLength, WeighsCharacters) {
  const struct {
    const char* name;
    std::string text;
    std::size_t length;
  } rows[] = {
      {"nothing", "", 0},
      {"Latin letters", "Hello, w\u00F6rld", 12},
      {"Cyrillic and Georgian", "\u0416\u10D0", 2},
      {"after the light range", "\u1100", 2},
      {"dashes and quotation marks", "\u2013\u2014\u201C\u201D\u2018", 5},
      {"euro and ellipsis", "\u20AC\u2026", 4},
      {"Chinese", "\u65E5\u672C", 4},
      {"emoji", "\U0001F389\u2603", 4},
      {"emoji with a skin tone", "\U0001F44D\U0001F3FD", 2},
      {"family", "\U0001F468\u200D\U0001F469\u200D\U0001F467", 2},
      {"flag", "\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7", 4},
      {"keycap", "1\uFE0F\u20E3#\u20E3", 4},
      {"heart in emoji style", "\u2764\uFE0F", 2},
      {"joiner after no emoji", "a\u200Db", 3},
      {"URL", "see https://velk.example/" + std::string(300, 'x') + " now", 31},
      {"short URL and punctuation", "(http://a.bc), HTTP://a.bc", 50},
      {"no URL", "http:// https://nodot http", 26},
      {"bytes that are not UTF-8", "\xFF\xC3", 2},
  };
  for (const auto& row : rows) EXPECT_EQ(TweetLength(row.text), row.length) << row.name;
}

}  // namespace
}  // namespace velk::sandbox::twitter
