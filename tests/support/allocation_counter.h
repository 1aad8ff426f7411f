#pragma once

#include <cstddef>

namespace quellmark::test {

/// How often the process has called operator new so far. Link qm_allocation_counter: it replaces
/// the global allocation operators.
[[nodiscard]] std::size_t AllocationCount();

}  // namespace quellmark::test
