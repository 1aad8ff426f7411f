// Images in ground range: where their samples lie in slant range.
#pragma once

#include <string>
#include <vector>

#include "toolbox/product/scene_description.h"

namespace quellmark::product {

inline constexpr double kSpeedOfLight_m_s = 299'792'458.0;

/// The slant range [m, one way] at a ground range [m] is the polynomial of `coefficients` (lowest
/// power first) in the distance from `origin_m`.
struct GroundToSlant {
  std::vector<double> coefficients;
  double origin_m = 0.0;

  [[nodiscard]] double At(double ground_range_m) const;
};

/// What to say of a conversion that `SetGroundRange` refuses.
inline constexpr const char* kNoGrowth = "gives slant ranges that do not grow along the line";

/// Sets the first range time and the range sampling frequency of `scene`, which has its number of
/// samples, so that its first and its last sample have their true slant ranges, and remarks how far
/// those in between are off. False, and nothing set, if the slant range does not grow.
[[nodiscard]] bool SetGroundRange(const GroundToSlant& conversion, double pixel_spacing_m,
                                  const std::string& source, SceneDescription& scene);

/// How far, in metres, the samples of an image in ground range lie from equal steps of slant range,
/// as a remark.
[[nodiscard]] std::string GroundRangeRemark(double largest_misfit_m);

}  // namespace quellmark::product
