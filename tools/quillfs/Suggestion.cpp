// For a word that was mistyped: the known word that the fewest single mistakes lead to, if they are few.
#include "tools/quillfs/Suggestion.h"

#include <algorithm>
#include <numeric>

namespace {

/// How many letters to insert, delete, replace or swap with a neighbour (restricted Damerau-Levenshtein distance).
std::size_t Distance(std::string_view from, std::string_view to) {
  // Three rows of the table are enough: a swap looks back two, everything else one.
  std::vector<std::size_t> beforeLast(to.size() + 1), last(to.size() + 1), row(to.size() + 1);
  std::iota(last.begin(), last.end(), std::size_t{0});
  for (std::size_t i = 1; i <= from.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= to.size(); ++j) {
      const std::size_t replaced = last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
      row[j] = std::min({replaced, last[j] + 1, row[j - 1] + 1});
      const bool isSwap = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
      if (isSwap) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
    }
    std::swap(beforeLast, last);
    std::swap(last, row);
  }
  return last[to.size()];
}

}  // namespace

const std::string* NearestWord(std::string_view typed, const std::vector<std::string>& words) {
  const std::string* nearest = nullptr;
  std::size_t nearestDistance = typed.size() > 3 ? 3 : 2;  // only smaller distances count
  for (const std::string& word : words) {
    const std::size_t distance = Distance(typed, word);
    // A word of which every letter would have to change is no suggestion.
    if (distance >= nearestDistance || distance >= typed.size()) continue;
    nearest = &word;
    nearestDistance = distance;
  }
  return nearest;
}
