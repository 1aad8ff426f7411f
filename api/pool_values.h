// Converts between the values of the core's pool entries and those of the library.
#pragma once

#include "pool/value_type.h"
#include <quellmark/pool.h>

namespace quellmark::api {

/// Returns the value with the same index.
[[nodiscard]] Value FromCore(const pool::AnyValue& value);
/// Returns the value with the same index. Throws INVALID_PARAMETER_VALUE after an ALARM line that
/// names `key` if sizes do not fit, and ERROR_NO_MEMORY.
[[nodiscard]] pool::AnyValue ToCore(std::string_view key, const Value& value);

}  // namespace quellmark::api
