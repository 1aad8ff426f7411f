// Terrain heights from the four grid values of a cell.
#pragma once

#include <array>
#include <optional>

#include "dem/grid.h"

namespace quellmark::dem {

/// South-west, south-east, north-west, north-east.
using CornerValues = std::array<double, 4>;

/// The fractions are 0 at the west and south edges and 1 at the opposite ones.
[[nodiscard]] inline double Bilinear(double south_west, double south_east, double north_west,
                                     double north_east, double east_fraction,
                                     double north_fraction) {
  const double south = south_west + east_fraction * (south_east - south_west);
  const double north = north_west + east_fraction * (north_east - north_west);
  return south + north_fraction * (north - south);
}

/// The bilinear height at the point. Corners equal to `missing` (NaN equals none) are left out, and
/// the weights of the others are scaled up. If these weights are all 0, the nearest of the valid
/// corners is the height. Weights that are only rounding noise of the point's coordinates count as
/// 0. Returns nothing if all four corners are missing.
[[nodiscard]] std::optional<double> InterpolateCell(const CellPoint& point,
                                                    const CornerValues& corners, double missing);

}  // namespace quellmark::dem
