// From the text of an entry to its value.
#pragma once

#include <string_view>

#include "pool/line_reader.h"

namespace quellmark::pool {

/// Reads the value of an entry; `Value` is the C++ type of one of the value types but kUnknown.
/// `key_line` stands behind the type, `lines` behind the key line; a body is read from `lines`.
/// What is wrong with the value is reported in the log under `key` and thrown:
/// INVALID_PARAMETER_VALUE, PARAMETER_OUT_OF_BOUNDS, ERROR_PARAMETER_POOL (the structure of a
/// body), ERROR_NO_MEMORY or ERROR_CAN_NOT_READ_FILE.
template <class Value>
[[nodiscard]] Value ReadValue(std::string_view key, TokenCursor key_line, LineReader& lines);

}  // namespace quellmark::pool
