// The status of one of many points.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace quellmark::imaging {

/// With kFound and kLayover the numbers of a point are the answer. With kNoTerrain they are the
/// answer at the scene's local height. With all others they are NaN.
enum class PointStatus : std::uint8_t {
  kFound = 0,
  kLayover = 1,         ///< the highest of several meeting points with the terrain
  kNoTerrain = 2,       ///< the meeting point lies in a void of the DEM or beyond its edge
  kNoIntersection = 3,  ///< no visible ground on the look side has this range
  kBeyondOrbit = 4,     ///< the orbit does not cover the azimuth time
  kWrongSide = 5,       ///< ground to image: the point is not on the look side
  kOutOfView = 6,       ///< ground to image: the point lies beyond the horizon
  kBadInput = 7,        ///< a number is not finite, or a height is below the earth's centre
  kNotComputed = 8,     ///< the call was cancelled before this point
};

inline constexpr std::size_t kPointStatusCount = 9;

/// Short English texts for the status values.
inline constexpr std::array<std::string_view, kPointStatusCount> kPointStatusTexts = {
    "found",      "layover",     "no terrain", "no intersection", "beyond the orbit",
    "wrong side", "out of view", "bad input",  "not computed"};

/// Whether a point with this status has the requested numbers.
[[nodiscard]] constexpr bool IsAnswer(PointStatus status) {
  return status == PointStatus::kFound || status == PointStatus::kLayover;
}

}  // namespace quellmark::imaging
