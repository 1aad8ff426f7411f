// Counts the memory that a benchmark program allocates.
#pragma once

#include <cstddef>

namespace quellmark::bench {

/// The sum of the sizes of all allocations by operator new so far.
[[nodiscard]] std::size_t AllocatedBytes();

}  // namespace quellmark::bench
