#include "toolbox/check/spelling.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>
#include <vector>

namespace quellmark::check {

namespace {

constexpr std::size_t kMostDistance = 2;

char Capital(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }

}  // namespace

std::size_t SpellingDistance(std::string_view text, std::string_view meant) {
  const std::size_t longest = std::max(text.size(), meant.size());
  if (longest - std::min(text.size(), meant.size()) > kMostDistance) return kMostDistance + 1;
  std::vector<std::size_t> before_last(meant.size() + 1);
  std::vector<std::size_t> last(meant.size() + 1);
  std::vector<std::size_t> row(meant.size() + 1);
  std::iota(last.begin(), last.end(), std::size_t{0});
  for (std::size_t i = 1; i <= text.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= meant.size(); ++j) {
      const bool is_same = Capital(text[i - 1]) == Capital(meant[j - 1]);
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (is_same ? 0 : 1)});
      const bool is_swapped = i > 1 && j > 1 && Capital(text[i - 1]) == Capital(meant[j - 2]) &&
                              Capital(text[i - 2]) == Capital(meant[j - 1]);
      if (is_swapped) row[j] = std::min(row[j], before_last[j - 2] + 1);
    }
    std::swap(before_last, last);
    std::swap(last, row);
  }
  return std::min(last.back(), kMostDistance + 1);
}

bool IsMisspelt(std::string_view text, std::string_view meant) {
  // Short texts may resemble each other by chance, so fewer mistakes are allowed.
  constexpr std::size_t kShort = 5;
  return text != meant &&
         SpellingDistance(text, meant) <= (meant.size() < kShort ? 1 : kMostDistance);
}

}  // namespace quellmark::check
