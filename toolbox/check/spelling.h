// Recognises misspelt texts.
#pragma once

#include <cstddef>
#include <string_view>

namespace quellmark::check {

/// Returns how many letters must be added, dropped, replaced or swapped with a neighbour to turn
/// `text` into `meant`, ignoring case (optimal string alignment). A value above 2 only means "more
/// than 2".
[[nodiscard]] std::size_t SpellingDistance(std::string_view text, std::string_view meant);

/// Whether `text` is not `meant` but close enough to be a misspelling of it.
[[nodiscard]] bool IsMisspelt(std::string_view text, std::string_view meant);

}  // namespace quellmark::check
