// Physical and mathematical constants. The results depend on these exact values.
#pragma once

namespace quellmark::basic {

inline constexpr double kSpeedOfLight_ms = 299792458.0;
inline constexpr double kPi = 3.141592653589793;
inline constexpr double kDegreesPerRadian = 57.29577951308232;
static_assert(kDegreesPerRadian == 180.0 / kPi);

}  // namespace quellmark::basic
