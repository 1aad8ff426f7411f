// The terrain heights of a region, in memory for the search of meeting points.
#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

class DEM_DOCUMENT;

namespace quellmark::dem {
class HeightReader;
}

namespace quellmark::imaging {

/// A region in geodetic degrees, from west to east. It crosses the antimeridian if `west_deg` is
/// greater than `east_deg`.
struct GeoBox {
  double west_deg = 0.0;
  double east_deg = 0.0;
  double south_deg = 0.0;
  double north_deg = 0.0;
};

/// The positions of a terrain grid's values: column i, row j (both from 0) is at longitude
/// west_deg + i * longitude_step_deg, latitude south_deg + j * latitude_step_deg.
struct GridLayout {
  double west_deg = 0.0;
  double south_deg = 0.0;
  double longitude_step_deg = 0.0;
  double latitude_step_deg = 0.0;
  std::size_t columns = 0;
  std::size_t rows = 0;
};

/// The lowest and the highest value of some cells. An empty interval (low > high) if all are voids.
struct HeightRange {
  float low;
  float high;
};

/// The values at the corners of a cell. NaN is a void, infinity a place without a tile.
struct CellHeights {
  double south_west, south_east, north_west, north_east;
};

/// InterpolateInCell() for a cell that has voids or no tile.
[[nodiscard]] double InterpolateBesideVoids(const CellHeights& cell, double east, double north);

/// The bilinear height at a place in a cell, 0 .. 1 from west and south. If one to three corners
/// are voids, the weights of the others are scaled so that their sum is 1. Returns NaN if all
/// corners are voids, if the weights of the others are all 0, and if a corner has no tile.
[[nodiscard]] inline double InterpolateInCell(const CellHeights& cell, double east, double north) {
  const double south_side = cell.south_west + east * (cell.south_east - cell.south_west);
  const double north_side = cell.north_west + east * (cell.north_east - cell.north_west);
  const double height = south_side + north * (north_side - south_side);
  return std::isfinite(height) ? height : InterpolateBesideVoids(cell, east, north);
}

/// Geodetic heights on a regular grid with bilinear interpolation. A grid never changes, and any
/// number of threads may use it at the same time. It takes 4 bytes for each value and a tenth of
/// that for the search.
class TerrainGrid {
 public:
  /// Takes the values, row by row from the south; NaN is a void, infinity a place without a tile,
  /// whose cells have no heights. Throws ERROR_ARGUMENT after an ALARM line for steps that are not
  /// positive, for fewer than two rows or columns, and for a wrong number of values.
  TerrainGrid(const GridLayout& layout, std::vector<float> heights_m);

  /// Reads the part of a DEM that covers the box, with heights wherever the DEM has them. They
  /// count as heights above the ellipsoid. `heights` is the reader of `dem`. Throws ERROR_ARGUMENT
  /// after an ALARM line for an invalid box and for one outside the DEM.
  [[nodiscard]] static TerrainGrid Read(const DEM_DOCUMENT& dem, const dem::HeightReader& heights,
                                        const GeoBox& box);

  /// Returns the interpolated height [m], or NaN in voids and outside the grid. Longitudes may
  /// differ by multiples of 360.
  [[nodiscard]] double HeightAt(double longitude_deg, double latitude_deg) const;

  [[nodiscard]] const GridLayout& Layout() const { return layout_; }
  /// The lowest and the highest of all values.
  [[nodiscard]] HeightRange Range() const { return range_; }

  /// The position in the grid in columns and rows from 0. Columns are in [0, 360 / step) from west
  /// to east.
  [[nodiscard]] double ColumnOf(double longitude_deg) const;
  [[nodiscard]] double RowOf(double latitude_deg) const {
    return (latitude_deg - layout_.south_deg) / layout_.latitude_step_deg;
  }
  /// The cell whose south-west corner is column i, row j. Both must be below the number of cells.
  [[nodiscard]] CellHeights Cell(std::size_t i, std::size_t j) const {
    const float* const south = heights_m_.data() + j * layout_.columns + i;
    const float* const north = south + layout_.columns;
    return {static_cast<double>(south[0]), static_cast<double>(south[1]),
            static_cast<double>(north[0]), static_cast<double>(north[1])};
  }
  [[nodiscard]] std::size_t CellColumns() const { return layout_.columns - 1; }
  [[nodiscard]] std::size_t CellRows() const { return layout_.rows - 1; }

  /// A block of level 1 .. kLevels has 1 << BlockShift(level) cells along each side.
  static constexpr int kLevels = 3;
  [[nodiscard]] static constexpr int BlockShift(int level) { return 2 * level; }
  /// The heights in the block of this level that contains cell (i, j).
  [[nodiscard]] HeightRange BlockRange(int level, std::size_t i, std::size_t j) const {
    const Blocks& blocks = blocks_[level - 1];
    return blocks.ranges[(j >> BlockShift(level)) * blocks.columns + (i >> BlockShift(level))];
  }

 private:
  struct Blocks {
    std::size_t columns = 0;
    std::vector<HeightRange> ranges;
  };

  void MakeBlocks();

  GridLayout layout_;
  std::vector<float> heights_m_;
  Blocks blocks_[kLevels];
  HeightRange range_{};
};

}  // namespace quellmark::imaging
