// Reads the value of an entry from its text.
#pragma once

#include <string_view>

#include "pool/line_reader.h"

namespace quellmark::pool {

/// Reads the value of an entry; `Value` is the C++ type of a value type. `key_line` stands after
/// the type name, `lines` after the key line; a body is read from `lines`. A faulty value is logged
/// under `key`, then thrown as INVALID_PARAMETER_VALUE, PARAMETER_OUT_OF_BOUNDS,
/// ERROR_PARAMETER_POOL (the structure of a body), ERROR_NO_MEMORY or ERROR_CAN_NOT_READ_FILE.
template <class Value>
[[nodiscard]] Value ReadValue(std::string_view key, TokenCursor key_line, LineReader& lines);

}  // namespace quellmark::pool
