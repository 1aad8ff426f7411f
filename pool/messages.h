// The irregular texts of the parse messages, next to the types they belong to. Other programs match
// them, so they are kept exactly: do not correct the names of neighbouring types, the byte widths
// or the lost digit.
#pragma once

#include <array>
#include <string_view>

#include "pool/value_type.h"

namespace quellmark::pool {

/// The messages about a token that is no integer of its type. An empty message means that the check
/// is not made.
struct IntegerMessages {
  ValueType type;
  std::string_view floating;
  std::string_view sign;
  std::string_view characters;
  std::string_view range;
};

inline constexpr std::array<IntegerMessages, 5> kIntegerMessages = {{
    {ValueType::kByt, " BYT (no floating) value expected\n", " BYT (unsigned) value expected\n",
     " BYT (no additional character) value expected\n", " (value is out of range) BYT expected\n"},
    {ValueType::kInt8, " BYT (no floating) value expected\n", "",
     " INT_8 (no additional character) value expected\n",
     " (value is out of range) INT_8 expected\n"},
    {ValueType::kInt16, " INT_8 (no floating) value expected\n", "",
     " INT_8 (no additional character) value expected\n",
     " (value is out of range) INT_16 expected\n"},
    {ValueType::kInt32, " INT_16 (no floating) value expected\n", "",
     " INT_32 (no additional character) value expected\n", ""},
    {ValueType::kInt64, " INT_32 (no floating) value expected\n", "",
     " INT_64 (no additional character) value expected\n", ""},
}};

template <class Integer>
inline constexpr const IntegerMessages& kIntegerMessagesOf =
    kIntegerMessages[static_cast<std::size_t>(kTypeOf<Integer>) -
                     static_cast<std::size_t>(ValueType::kByt)];
static_assert(kIntegerMessagesOf<unsigned char>.type == ValueType::kByt &&
              kIntegerMessagesOf<long long>.type == ValueType::kInt64);

/// How messages about the braces of a body name its type.
struct BraceNames {
  ValueType type;
  std::string_view open;           ///< if no token stands in the place of "{"
  std::string_view open_instead;   ///< if another token stands there
  std::string_view close;          ///< if no token stands in the place of "}"
  std::string_view close_instead;  ///< if another token stands there (for pairs only)
};

/// The types whose messages do not simply use the type's own name.
inline constexpr std::array<BraceNames, 5> kIrregularBraceNames = {{
    {ValueType::kFlt6V, "FLT_4_V", "FLT_6_V", "FLT_4_V", ""},
    {ValueType::kFlt15V, "FLT_8_V", "FLT_15_V", "FLT_8_V", ""},
    {ValueType::kFlt6Flt6V, "INT_FLT_6_FLT_6_V", "INT_FLT_6_FLT_6_V", "FLT_6_FLT_6_V",
     "FLT_6_FLT_6_V"},
    {ValueType::kFlt15Flt15V, "INT_FLT_15_FLT_15_V", "INT_FLT_15_FLT__V", "FLT_15_FLT_15_V",
     "FLT_15_FLT_15_V"},
    {ValueType::kStrM, "STR_M", "STR_15_M", "STR_M", ""},
}};

[[nodiscard]] inline BraceNames BraceNamesOf(ValueType type) {
  for (const BraceNames& names : kIrregularBraceNames) {
    if (names.type == type) return names;
  }
  const std::string_view name = TypeName(type);
  return {type, name, name, name, name};
}

}  // namespace quellmark::pool
