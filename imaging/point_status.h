// What became of one point of many.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace quellmark::imaging {

/// Numbers of points with kFound and kLayover are the answer; with kNoTerrain they are the answer
/// on the ellipsoid at the scene's local height; with all others they are NaN.
enum class PointStatus : std::uint8_t {
  kFound = 0,
  kLayover = 1,         ///< several meeting points with the terrain; this is the highest
  kNoTerrain = 2,       ///< the meeting point lies in a void of the DEM or beyond its edge
  kNoIntersection = 3,  ///< no point at that range on the ground, on the look side, in view
  kBeyondOrbit = 4,     ///< the azimuth time is not covered by the orbit
  kWrongSide = 5,       ///< ground to image: the point lies on the side that is not looked at
  kOutOfView = 6,       ///< ground to image: the point lies beyond the horizon
  kBadInput = 7,        ///< a number of the point is not finite, or a height is below the earth
  kNotComputed = 8,     ///< the call was cancelled before this point
};

inline constexpr std::size_t kPointStatusCount = 9;

/// Short English texts, by status.
inline constexpr std::array<std::string_view, kPointStatusCount> kPointStatusTexts = {
    "found",      "layover",     "no terrain", "no intersection", "beyond the orbit",
    "wrong side", "out of view", "bad input",  "not computed"};

/// Whether the numbers of the point are the answer that was asked for.
[[nodiscard]] constexpr bool IsAnswer(PointStatus status) {
  return status == PointStatus::kFound || status == PointStatus::kLayover;
}

}  // namespace quellmark::imaging
