#include "nearest.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace velk::publish {
namespace {

// How many letters to insert, delete, replace or swap with their neighbour.
std::size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1), above, twoAbove;
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    twoAbove = std::exchange(above, row);
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = above[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({above[j] + 1, row[j - 1] + 1, replaced});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        row[j] = std::min(row[j], twoAbove[j - 2] + 1);
    }
  }
  return row.back();
}

}  // namespace

std::string Nearest(std::string_view word, const std::vector<std::string>& candidates) {
  std::string nearest;
  std::size_t least = word.size() / 3 + 2;  // from here on, words are unlike each other
  for (const std::string& candidate : candidates) {
    // The start of a longer word is as good as one wrong letter.
    const bool abbreviated = word.size() > 2 && candidate.starts_with(word);
    const std::size_t distance = abbreviated ? 1 : Distance(word, candidate);
    if (distance >= least) continue;
    least = distance;
    nearest = candidate;
  }
  return nearest;
}

std::string Listed(const std::vector<std::string>& words) {
  std::string list;
  for (const std::string& word : words) list += (list.empty() ? "" : ", ") + word;
  return list;
}

std::string WhyUnknown(const std::string& word, const std::vector<std::string>& known) {
  if (std::ranges::find(known, word) != known.end()) return {};
  // A number resembles many others by chance.
  const bool isNumber = word.find_first_not_of("0123456789") == word.npos;
  const std::string nearest = isNumber ? "" : Nearest(word, known);
  return '"' + word + "\" is not one of " + Listed(known) +
         (nearest.empty() ? "" : "; did you mean " + nearest + "?");
}

}  // namespace velk::publish
