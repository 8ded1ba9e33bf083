// The word that the user probably meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velk::publish {

// Returns the candidate that is most like the word, or an empty string when none is like it.
std::string Nearest(std::string_view word, const std::vector<std::string>& candidates);

std::string Listed(const std::vector<std::string>& words);  // "a, b, c"

// Why a word is not one of the known ones, for a message. Empty if it is one.
std::string WhyUnknown(const std::string& word, const std::vector<std::string>& known);

}  // namespace velk::publish
