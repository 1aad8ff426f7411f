// How well state vectors agree with one smooth orbit, and that orbit.
#pragma once

#include <optional>
#include <vector>

#include "toolbox/product/scene_description.h"

namespace quellmark::product {

/// The one curve through positions and velocities: an arc under the earth's gravity (to degree 4
/// zonal and with the flattening of the equator), earth-fixed, plus a polynomial as high as the
/// data demand.
struct OrbitFit {
  double position_misfit_m = 0.0;     // root mean square distance of the positions from the curve
  double velocity_misfit_m_s = 0.0;   // the same of the velocities
  double largest_misfit_m = 0.0;      // of a position
  int degree = 0;                     // of the polynomial; 1 is the arc alone
  std::vector<StateVector> smoothed;  // the curve at the epochs
};

/// The longest span that is fitted [s].
inline constexpr double kLongestFit_s = 1800.0;

/// Fits `orbit`, whose epochs ascend. The weights of positions and velocities come from their own
/// scatter, the degree from Schwarz's criterion (Annals of Statistics 6, 1978). Nothing with fewer
/// than three vectors, over more than `kLongestFit_s`, or where no orbit is near.
[[nodiscard]] std::optional<OrbitFit> FitOrbit(const std::vector<StateVector>& orbit);

}  // namespace quellmark::product
