// Converts between the times of clocks and those of the core.
#pragma once

#include <cstdint>

#include "time/universal_time.h"

namespace quellmark::api {

/// A time as whole microseconds since 1970, without leap seconds, and 0..999 more nanoseconds.
struct UnixTime {
  std::int64_t microseconds = 0;
  std::int64_t nanoseconds = 0;
};

[[nodiscard]] UnixTime SplitUnixNanoseconds(std::int64_t nanoseconds);
[[nodiscard]] UNIVERSAL_TIME UtcOfUnixMicroseconds(std::int64_t microseconds);

}  // namespace quellmark::api
