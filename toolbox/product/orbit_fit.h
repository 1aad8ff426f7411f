// Fits a smooth orbit to state vectors, and measures how well they agree with it.
#pragma once

#include <optional>
#include <vector>

#include "toolbox/product/scene_description.h"

namespace quellmark::product {

/// A curve through positions and velocities: an arc in the earth's gravity field (zonal terms to
/// degree 4 and the flattening of the equator), earth-fixed, plus a polynomial of the degree that
/// the data require.
struct OrbitFit {
  double position_misfit_m = 0.0;     // root mean square distance of the positions from the curve
  double velocity_misfit_m_s = 0.0;   // the same of the velocities
  double largest_misfit_m = 0.0;      // the largest distance of a position
  int degree = 0;                     // of the polynomial; 1 means the arc only
  std::vector<StateVector> smoothed;  // the curve at the epochs
};

/// The longest span that is fitted [s].
inline constexpr double kLongestFit_s = 1800.0;

/// Fits `orbit`, whose epochs ascend. The weights of positions and velocities come from their own
/// scatter, the degree from Schwarz's criterion (Annals of Statistics 6, 1978). Returns nothing for
/// fewer than three vectors, for more than `kLongestFit_s`, or if no orbit is near the vectors.
[[nodiscard]] std::optional<OrbitFit> FitOrbit(const std::vector<StateVector>& orbit);

}  // namespace quellmark::product
