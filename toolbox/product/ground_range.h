// Converts ground range images: the slant ranges of their samples.
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

/// The message about a conversion that `SetGroundRange` refuses.
inline constexpr const char* kNoGrowth = "gives slant ranges that do not grow along the line";

/// Sets the first range time and the range sampling frequency of `scene` so that its first and its
/// last sample have their true slant ranges, and adds a remark about the error in between. The
/// number of samples must be set. Returns false and sets nothing if the slant range does not grow.
[[nodiscard]] bool SetGroundRange(const GroundToSlant& conversion, double pixel_spacing_m,
                                  const std::string& source, SceneDescription& scene);

/// Returns a remark about how far, in metres, the samples of a ground range image are from equal
/// steps of slant range.
[[nodiscard]] std::string GroundRangeRemark(double largest_misfit_m);

}  // namespace quellmark::product
