#include "dem/interpolation.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace quellmark::dem {

namespace {

// Sets a fraction to 0 or 1 if the difference is no more than the rounding error of the coordinate.
// The coordinate, the resolution, the subtraction of the offset and the division each round by half
// an epsilon; the bound is twice their sum.
double WithoutNoise(double fraction, int index) {
  const double noise =
      4.0 * std::numeric_limits<double>::epsilon() * (std::abs(static_cast<double>(index)) + 1.0);
  if (fraction <= noise) return 0.0;
  return fraction >= 1.0 - noise ? 1.0 : fraction;
}

}  // namespace

std::optional<double> InterpolateCell(const CellPoint& point, const CornerValues& corners,
                                      double missing) {
  const auto missing_count = std::count(corners.begin(), corners.end(), missing);
  if (missing_count == 0) {
    return Bilinear(corners[0], corners[1], corners[2], corners[3], point.east_fraction,
                    point.north_fraction);
  }
  if (missing_count == 4) return std::nullopt;

  const double east = WithoutNoise(point.east_fraction, point.cell.west);
  const double north = WithoutNoise(point.north_fraction, point.cell.south);
  const CornerValues weights = {(1.0 - east) * (1.0 - north), east * (1.0 - north),
                                (1.0 - east) * north, east * north};
  double weight_sum = 0.0;
  double value_sum = 0.0;
  double nearest = 0.0;
  double nearest_squared = std::numeric_limits<double>::infinity();
  for (std::size_t corner = 0; corner < corners.size(); ++corner) {
    if (corners[corner] == missing) continue;
    weight_sum += weights[corner];
    value_sum += weights[corner] * corners[corner];
    const double to_east = (corner % 2 == 0 ? 0.0 : 1.0) - east;
    const double to_north = (corner < 2 ? 0.0 : 1.0) - north;
    const double squared = to_east * to_east + to_north * to_north;
    if (squared < nearest_squared) {
      nearest_squared = squared;
      nearest = corners[corner];
    }
  }
  return weight_sum > 0.0 ? value_sum / weight_sum : nearest;
}

}  // namespace quellmark::dem
