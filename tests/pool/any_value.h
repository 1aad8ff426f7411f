// Values of all types by their run-time type.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
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

/// The first words of all lines of a text. They include all keys of a pool without overlong lines.
[[nodiscard]] inline std::vector<std::string> KeysOf(std::string_view text) {
  std::vector<std::string> keys;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find_first_of("\n\r"));
    if (!line.empty()) keys.emplace_back(pool::KeyOf(line));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
  }
  return keys;
}

}  // namespace quellmark::test
