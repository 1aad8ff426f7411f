// Formats numbers for comments and messages.
#pragma once

#include <array>
#include <cstdio>
#include <string>

namespace quellmark::product {

/// Returns the number with `digits` significant digits.
[[nodiscard]] inline std::string Significant(double value, int digits) {
  std::array<char, 64> text{};
  static_cast<void>(std::snprintf(text.data(), text.size(), "%.*g", digits, value));
  return text.data();
}

/// Returns the number with `digits` digits after the point, for numbers of moderate size.
[[nodiscard]] inline std::string Fixed(double value, int digits) {
  std::array<char, 400> text{};
  static_cast<void>(std::snprintf(text.data(), text.size(), "%.*f", digits, value));
  return text.data();
}

}  // namespace quellmark::product
