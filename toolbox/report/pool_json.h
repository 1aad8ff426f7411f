// Pools as JSON and back, without a loss for any of the 48 types.
#pragma once

#include <string>

#include <quellmark/pool.h>

#include <nlohmann/json_fwd.hpp>

namespace quellmark::report {

/// A value as JSON:
///  - numbers, booleans and texts as themselves; "NaN", "Infinity" and "-Infinity" as texts; a text
///    that is not UTF-8 as {"latin1": TEXT}
///  - complex numbers and pairs as [first, second], indexed values as {"index": I, "value": V}
///  - vectors as {"first_index": I, "values": [...]}
///  - matrices as {"first_row": R, "rows": N, "first_column": C, "columns": M, "values": [...]},
///    row by row
[[nodiscard]] nlohmann::ordered_json JsonOf(const Value& value);
/// The other way round; throws std::runtime_error for JSON that is no value of that type.
[[nodiscard]] Value ValueFromJson(const nlohmann::ordered_json& json, ValueType type);

/// {"entries": [{"key": K, "type": T, "value": V, "comments": [...]}, ...]} in the order of the
/// file, without the entries that repeat a key. Throws PoolError for an entry that can not be read.
[[nodiscard]] nlohmann::ordered_json JsonOf(const Pool& pool);
/// The other way round; throws std::runtime_error for other JSON, and PoolError for a value that no
/// pool can hold.
[[nodiscard]] PoolEditor EditorFromJson(const nlohmann::ordered_json& json);

/// Text of any bytes as a JSON text or {"latin1": TEXT}.
[[nodiscard]] nlohmann::ordered_json JsonOfText(std::string_view text);

}  // namespace quellmark::report
