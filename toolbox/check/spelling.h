// Which known text a misspelt one was meant to be.
#pragma once

#include <cstddef>
#include <string_view>

namespace quellmark::check {

/// How many letters have to be added, dropped, replaced or swapped with their neighbour to make
/// `meant` of `text`, whatever is in capitals (optimal string alignment). A value above 2 says only
/// that there are more.
[[nodiscard]] std::size_t SpellingDistance(std::string_view text, std::string_view meant);

/// Whether `text` is not `meant`, but so close to it that it was meant.
[[nodiscard]] bool IsMisspelt(std::string_view text, std::string_view meant);

}  // namespace quellmark::check
