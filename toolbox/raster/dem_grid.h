// Places the pixels of a raster in the grid of a DEM.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quellmark::raster {

/// The positions of a raster's pixels: north up, columns from west to east, rows from north to
/// south.
struct PixelPlaces {
  double west_deg = 0.0;   ///< the western edge of the first column
  double north_deg = 0.0;  ///< the northern edge of the first row
  double lon_step_deg = 0.0;
  double lat_step_deg = 0.0;  ///< positive
  std::int64_t columns = 0;
  std::int64_t rows = 0;
};

/// The position of index i of a DEM's grid: at i steps (kPixelCentre) or i + 1/2 steps
/// (kPixelEdge).
enum class Annotation { kPixelCentre, kPixelEdge };

/// A raster in the grid of a DEM: pixel (column, row) has the indices (west_index + column,
/// north_index - row).
struct GridPlacement {
  Annotation annotation = Annotation::kPixelCentre;
  std::int64_t lon_count = 0;  ///< number of indices around the earth
  std::int64_t lat_count = 0;  ///< from pole to pole
  std::int64_t west_index = 0;
  std::int64_t north_index = 0;
  std::int64_t columns = 0;  ///< without repetitions after a whole turn
  std::int64_t rows = 0;

  [[nodiscard]] double LonStep_deg() const { return 360.0 / static_cast<double>(lon_count); }
  [[nodiscard]] double LatStep_deg() const { return 180.0 / static_cast<double>(lat_count); }
};

/// Returns the place of the raster in a grid if its steps divide the circle and its pixels lie on
/// indices, both within a thousandth of a step over the whole raster.
[[nodiscard]] std::optional<GridPlacement> PlaceInGrid(const PixelPlaces& pixels);

/// Returns the grid of kPixelCentre that is nearest to the raster's own and covered by it, or
/// nothing if it is empty or its steps are impossible.
[[nodiscard]] std::optional<GridPlacement> NearestGrid(const PixelPlaces& pixels);

/// Returns the positions of the pixels of a placement.
[[nodiscard]] PixelPlaces PlacesOf(const GridPlacement& grid);

/// A rectangle of the raster that becomes one file.
struct TileArea {
  std::int64_t first_column = 0;
  std::int64_t first_row = 0;
  std::int64_t columns = 0;
  std::int64_t rows = 0;
};

/// Returns tiles of at most `size` columns and rows, row by row from the north-west, or one tile if
/// `size` is 0.
[[nodiscard]] std::vector<TileArea> TilesOf(const GridPlacement& grid, std::int64_t size);

/// Returns the longitude index in the range of the grid, -lon_count / 2 ... lon_count / 2 - 1.
[[nodiscard]] std::int64_t WrappedLongitudeIndex(const GridPlacement& grid, std::int64_t index);

}  // namespace quellmark::raster
