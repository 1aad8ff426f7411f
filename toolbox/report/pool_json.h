// Converts pools to JSON and back, without loss for all 48 types.
#pragma once

#include <string>

#include <quellmark/pool.h>

#include <nlohmann/json_fwd.hpp>

namespace quellmark::report {

/// Returns a value as JSON:
///  - numbers, booleans and texts as themselves; "NaN", "Infinity" and "-Infinity" as texts; a text
///    that is not UTF-8 as {"latin1": TEXT}
///  - complex numbers and pairs as [first, second], indexed values as {"index": I, "value": V}
///  - vectors as {"first_index": I, "values": [...]}
///  - matrices as {"first_row": R, "rows": N, "first_column": C, "columns": M, "values": [...]},
///    row by row
[[nodiscard]] nlohmann::ordered_json JsonOf(const Value& value);
/// The inverse of JsonOf(). Throws std::runtime_error for JSON that is not a value of this type.
[[nodiscard]] Value ValueFromJson(const nlohmann::ordered_json& json, ValueType type);

/// Returns {"entries": [{"key": K, "type": T, "value": V, "comments": [...]}, ...]} in the order of
/// the file, without repeated entries of a key. Throws PoolError for an entry that cannot be read.
[[nodiscard]] nlohmann::ordered_json JsonOf(const Pool& pool);
/// The inverse of JsonOf(). Throws std::runtime_error for other JSON, and PoolError for a value
/// that no pool can hold.
[[nodiscard]] PoolEditor EditorFromJson(const nlohmann::ordered_json& json);

/// Returns a text of any bytes as a JSON text or {"latin1": TEXT}.
[[nodiscard]] nlohmann::ordered_json JsonOfText(std::string_view text);

}  // namespace quellmark::report
