// The length of a tweet as Twitter counts it.
#pragma once

#include <cstddef>
#include <string_view>

namespace velk::sandbox::twitter {

constexpr std::size_t kMaxTweetLength = 280;

// A character of the Latin scripts and some punctuation counts as 1, any other one as 2. A URL with its
// scheme counts as 23, and a sequence that is one emoji as 2. Each byte that is not UTF-8 counts as 1.
std::size_t TweetLength(std::string_view utf8);

}  // namespace velk::sandbox::twitter
