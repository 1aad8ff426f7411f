// Maps the exception classes of the core to values.
#pragma once

#include <quellmark/error.h>

class ERROR_EXCEPTION;

namespace quellmark::api {

/// Returns the value for the dynamic class of `error`.
[[nodiscard]] ErrorClass ErrorClassOf(const ERROR_EXCEPTION& error) noexcept;

}  // namespace quellmark::api
