// Rasters of any format, read row by row.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "toolbox/raster/dem_grid.h"

namespace quellmark::raster {

/// The types in which a DEM holds its heights.
enum class HeightType { kInt16, kInt32, kFloat32 };

/// One raster, or several as a mosaic, with geographic coordinates.
class RasterSource {
 public:
  /// Opens the rasters for reading. One that is not geographic, not north up or not on the WGS84
  /// ellipsoid is resampled, bilinearly, and so is one that fits no grid of a DEM. Throws
  /// std::runtime_error for what is no raster, has no place on the earth, or is declared to hold
  /// heights over a geoid while `geoid` is empty.
  RasterSource(const std::vector<std::string>& paths, const std::string& geoid);
  RasterSource(const RasterSource&) = delete;
  RasterSource& operator=(const RasterSource&) = delete;
  ~RasterSource();

  [[nodiscard]] const GridPlacement& Grid() const;
  [[nodiscard]] HeightType Type() const;
  /// The value of missing heights in what ReadRow() gives.
  [[nodiscard]] static constexpr int MissingValue() { return -32767; }
  /// Whether the raster declares a value for missing heights, or can hold NaN.
  [[nodiscard]] bool HasMissing() const;
  /// What was done to the raster, a sentence each, for the user.
  [[nodiscard]] const std::vector<std::string>& Notes() const;

  /// Heights above the ellipsoid of a row of the grid, from north (0), columns `first` and on.
  /// Throws std::runtime_error.
  void ReadRow(std::int64_t row, std::int64_t first, std::vector<double>& heights_m);

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace quellmark::raster
