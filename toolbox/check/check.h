// Everything that is wrong with a scene pool, at once.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace quellmark::check {

enum class Severity {
  kWarning,  ///< the step runs, but what it makes of this may not be what was meant
  kError,    ///< the step fails, or its results are wrong
};

struct Finding {
  Severity severity = Severity::kError;
  std::size_t line = 0;  ///< from 1; 0 if it is about the whole file
  std::string key;       ///< empty if it is about no entry
  std::string message;   ///< one line
};

/// Checks the pool at `path`: its bytes, its entries, the scene that they describe, the orbit, and
/// whether results in it are those of this scene. The findings are in the order of the lines. The
/// file is only read. Throws PoolError if it can not be read.
[[nodiscard]] std::vector<Finding> CheckPool(const std::string& path);

}  // namespace quellmark::check
