// Values of all types by their run-time type.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "pool/parameter_pool_read_write_change.h"

namespace quellmark::test {

[[nodiscard]] inline pool::AnyValue ReadAny(PARAMETER_POOL& pool, pool::ValueType type,
                                            std::string_view key) {
  switch (type) {
#define QM_VALUE_TYPE(id, name, ...)                                                          \
  case pool::ValueType::id:                                                                   \
    return pool::AnyValue(std::in_place_index<static_cast<std::size_t>(pool::ValueType::id)>, \
                          pool.Read<pool::ValueType::id>(key));
#include "pool/value_types.inc"
#undef QM_VALUE_TYPE
  }
  return {};
}

inline void SetAny(PARAMETER_POOL_READ_WRITE_CHANGE& pool, std::string_view key,
                   const pool::AnyValue& any) {
  std::visit([&]<class Value>(const Value& value) { pool.Set<pool::kTypeOf<Value>>(key, value); },
             any);
}

/// The first words of the lines of a text: among them all keys of a pool without overlong lines.
[[nodiscard]] inline std::vector<std::string> KeysOf(std::string_view text) {
  std::vector<std::string> keys;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find_first_of("\n\r"));
    if (!line.empty()) keys.emplace_back(pool::KeyOf(line));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
  }
  return keys;
}

// Scalars come back exactly; the parts of complex numbers and pairs are written with 7 and 16
// significant digits, of which the last may be cut.

template <class T>
bool SamePart(const T& a, const T& b) {
  if constexpr (std::is_floating_point_v<T>) {
    const T relative = std::is_same_v<T, float> ? T(1e-6) : T(1e-15);
    return std::fabs(a - b) <= relative * std::fabs(a) + std::numeric_limits<T>::denorm_min();
  } else {
    return a == b;
  }
}

template <class T>
bool Same(const T& a, const T& b) {
  if constexpr (requires { a.Elements(); }) {
    const auto x = a.Elements();
    const auto y = b.Elements();
    return std::equal(x.begin(), x.end(), y.begin(), y.end(),
                      [](const auto& p, const auto& q) { return Same(p, q); });
  } else if constexpr (requires { a.re; }) {
    return SamePart(a.re, b.re) && SamePart(a.im, b.im);
  } else if constexpr (requires { a.Second(); }) {
    return SamePart(a.First(), b.First()) && SamePart(a.Second(), b.Second());
  } else {
    return a == b;
  }
}

template <class T>
bool Same(const ARRAY<T>& a, const ARRAY<T>& b) {
  return a.Range() == b.Range() && Same<ARRAY<T>>(a, b);
}

template <class T>
bool Same(const MATRIX<T>& a, const MATRIX<T>& b) {
  return a.Rows() == b.Rows() && a.Columns() == b.Columns() && Same<MATRIX<T>>(a, b);
}

[[nodiscard]] inline bool SameAny(const pool::AnyValue& a, const pool::AnyValue& b) {
  return std::visit(
      [&]<class Value>(const Value& value) {
        const auto* const other = std::get_if<Value>(&b);
        return other != nullptr && Same(value, *other);
      },
      a);
}

}  // namespace quellmark::test
