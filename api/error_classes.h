// The classes of failures that the core throws, as values.
#pragma once

#include <quellmark/error.h>

class ERROR_EXCEPTION;

namespace quellmark::api {

/// The value that stands for the dynamic class of `error`.
[[nodiscard]] ErrorClass ErrorClassOf(const ERROR_EXCEPTION& error) noexcept;

}  // namespace quellmark::api
