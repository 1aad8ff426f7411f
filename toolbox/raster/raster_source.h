// Reads rasters of any format row by row.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "toolbox/raster/dem_grid.h"

namespace quellmark::raster {

/// The number types of heights in a DEM.
enum class HeightType { kInt16, kInt32, kFloat32 };

/// One raster, or a mosaic of several, in geographic coordinates.
class RasterSource {
 public:
  /// Opens the rasters for reading. A raster is resampled bilinearly if it is not geographic, not
  /// north up or not on the WGS84 ellipsoid, or if it fits no grid of a DEM. Throws
  /// std::runtime_error for a file that is no raster, that has no position on the earth, or whose
  /// heights refer to a geoid by declaration while `geoid` is empty.
  RasterSource(const std::vector<std::string>& paths, const std::string& geoid);
  RasterSource(const RasterSource&) = delete;
  RasterSource& operator=(const RasterSource&) = delete;
  ~RasterSource();

  [[nodiscard]] const GridPlacement& Grid() const;
  [[nodiscard]] HeightType Type() const;
  /// The value of missing heights in the rows that ReadRow() returns.
  [[nodiscard]] static constexpr int MissingValue() { return -32767; }
  /// Whether the raster declares a value for missing heights, or can hold NaN.
  [[nodiscard]] bool HasMissing() const;
  /// Sentences for the user about changes to the raster.
  [[nodiscard]] const std::vector<std::string>& Notes() const;

  /// Reads the heights above the ellipsoid of a row of the grid, counted from north (0), from
  /// column `first` on. Throws std::runtime_error.
  void ReadRow(std::int64_t row, std::int64_t first, std::vector<double>& heights_m);

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace quellmark::raster
