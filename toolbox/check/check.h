// Finds all faults of a scene pool in one pass.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace quellmark::check {

enum class Severity {
  kWarning,  ///< the step runs, but perhaps not as the user wants
  kError,    ///< the step fails, or its results are wrong
};

struct Finding {
  Severity severity = Severity::kError;
  std::size_t line = 0;  ///< from 1; 0 if it concerns the whole file
  std::string key;       ///< empty if it concerns no entry
  std::string message;   ///< one line
};

/// Checks the pool at `path`: its bytes, its entries, the scene, the orbit, and whether results in
/// it belong to this scene. Returns the findings in the order of the lines. Does not change the
/// file. Throws PoolError if it cannot be read.
[[nodiscard]] std::vector<Finding> CheckPool(const std::string& path);

}  // namespace quellmark::check
