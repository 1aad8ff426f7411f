#pragma once

#include <cstddef>

namespace quellmark::test {

/// How often the process has called operator new so far. Link qm_allocation_counter: it replaces
/// the global allocation operators.
[[nodiscard]] std::size_t AllocationCount();

/// While it lives, `count` further calls of operator new succeed and all others fail.
class AllocationLimit {
 public:
  explicit AllocationLimit(std::size_t count);
  AllocationLimit(const AllocationLimit&) = delete;
  AllocationLimit& operator=(const AllocationLimit&) = delete;
  ~AllocationLimit();
};

}  // namespace quellmark::test
