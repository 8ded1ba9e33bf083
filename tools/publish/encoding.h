// How a text must be written into a record so that it arrives as the user gave it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velk::publish {

// For a URL, or a value of a form post: everything but letters, digits, "-", ".", "_" and "~" is
// percent-encoded.
std::string PercentEncoded(std::string_view text);

// For a message or link of a Facebook post, where the library takes the text "NULL" for an absent one.
std::string PostText(std::string_view text);

// For YouTube, whose texts travel between single quotes.
std::string YoutubeText(std::string_view text);

// The least that Twitter can count for the text, which may have 280. Links and emoji sequences count less
// than their letters. What is counted too low is left for Twitter to refuse.
std::size_t LeastTweetLength(std::string_view text);

// The number of characters in UTF-8.
std::size_t CharacterCount(std::string_view text);

// The same text, with U+FFFD for each byte that is no UTF-8: file names can have any bytes.
std::string ValidUtf8(std::string_view text);

// Without blanks and line ends at its end, as a file or a prompt leaves them.
std::string Trimmed(std::string_view text);

}  // namespace velk::publish
