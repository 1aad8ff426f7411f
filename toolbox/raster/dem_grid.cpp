#include "toolbox/raster/dem_grid.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace quellmark::raster {

namespace {

constexpr double kTolerance_steps = 1e-3;
constexpr double kMaxCount = 2e9;  // because indices have 32 bits

// Returns the number of steps in the circle (or half of it), if steps of this size divide it within
// the tolerance over all pixels.
std::optional<std::int64_t> CountOf(double circle_deg, double step_deg, std::int64_t pixels) {
  const double count = circle_deg / step_deg;
  if (!(count >= 2.0) || count > kMaxCount) return std::nullopt;
  const double whole = std::round(count);
  const double drift_steps = std::abs(step_deg * whole / circle_deg - 1.0) *
                             static_cast<double>(std::max<std::int64_t>(pixels, 1));
  if (drift_steps > kTolerance_steps) return std::nullopt;
  return static_cast<std::int64_t>(whole);
}

bool IsWhole(double steps) { return std::abs(steps - std::round(steps)) <= kTolerance_steps; }

// Removes columns that repeat others after a whole turn.
GridPlacement WithoutRepeats(GridPlacement grid) {
  grid.columns = std::min(grid.columns, grid.lon_count);
  return grid;
}

}  // namespace

std::optional<GridPlacement> PlaceInGrid(const PixelPlaces& pixels) {
  const auto lon_count = CountOf(360.0, pixels.lon_step_deg, pixels.columns);
  const auto lat_count = CountOf(180.0, pixels.lat_step_deg, pixels.rows);
  if (!lon_count || !lat_count) return std::nullopt;
  GridPlacement grid;
  grid.lon_count = *lon_count;
  grid.lat_count = *lat_count;
  grid.columns = pixels.columns;
  grid.rows = pixels.rows;
  const double west_centre = pixels.west_deg / grid.LonStep_deg() + 0.5;
  const double north_centre = pixels.north_deg / grid.LatStep_deg() - 0.5;
  for (const Annotation annotation : {Annotation::kPixelCentre, Annotation::kPixelEdge}) {
    const double shift = annotation == Annotation::kPixelCentre ? 0.0 : 0.5;
    if (!IsWhole(west_centre - shift) || !IsWhole(north_centre - shift)) continue;
    grid.annotation = annotation;
    grid.west_index = std::llround(west_centre - shift);
    grid.north_index = std::llround(north_centre - shift);
    return WithoutRepeats(grid);
  }
  return std::nullopt;
}

std::optional<GridPlacement> NearestGrid(const PixelPlaces& pixels) {
  const double lon_count = std::round(360.0 / pixels.lon_step_deg);
  const double lat_count = std::round(180.0 / pixels.lat_step_deg);
  if (!(lon_count >= 2.0 && lon_count < kMaxCount && lat_count >= 2.0 && lat_count < kMaxCount)) {
    return std::nullopt;
  }
  GridPlacement grid;
  grid.lon_count = static_cast<std::int64_t>(lon_count);
  grid.lat_count = static_cast<std::int64_t>(lat_count);
  const auto columns = static_cast<double>(pixels.columns);
  const auto rows = static_cast<double>(pixels.rows);
  const double west = (pixels.west_deg + 0.5 * pixels.lon_step_deg) / grid.LonStep_deg();
  const double east =
      (pixels.west_deg + (columns - 0.5) * pixels.lon_step_deg) / grid.LonStep_deg();
  const double north = (pixels.north_deg - 0.5 * pixels.lat_step_deg) / grid.LatStep_deg();
  const double south = (pixels.north_deg - (rows - 0.5) * pixels.lat_step_deg) / grid.LatStep_deg();
  grid.west_index = static_cast<std::int64_t>(std::ceil(west - kTolerance_steps));
  grid.north_index = static_cast<std::int64_t>(std::floor(north + kTolerance_steps));
  grid.columns =
      static_cast<std::int64_t>(std::floor(east + kTolerance_steps)) - grid.west_index + 1;
  grid.rows = grid.north_index - static_cast<std::int64_t>(std::ceil(south - kTolerance_steps)) + 1;
  if (grid.columns < 1 || grid.rows < 1) return std::nullopt;
  return WithoutRepeats(grid);
}

PixelPlaces PlacesOf(const GridPlacement& grid) {
  const double shift = grid.annotation == Annotation::kPixelCentre ? 0.5 : 0.0;
  return {(static_cast<double>(grid.west_index) - shift) * grid.LonStep_deg(),
          (static_cast<double>(grid.north_index) + 1.0 - shift) * grid.LatStep_deg(),
          grid.LonStep_deg(),
          grid.LatStep_deg(),
          grid.columns,
          grid.rows};
}

std::vector<TileArea> TilesOf(const GridPlacement& grid, std::int64_t size) {
  const std::int64_t most = size > 0 ? size : std::numeric_limits<std::int64_t>::max();
  std::vector<TileArea> tiles;
  for (std::int64_t row = 0; row < grid.rows;) {
    const std::int64_t rows = std::min(most, grid.rows - row);
    for (std::int64_t column = 0; column < grid.columns;) {
      const std::int64_t columns = std::min(most, grid.columns - column);
      tiles.push_back({column, row, columns, rows});
      column += columns;
    }
    row += rows;
  }
  return tiles;
}

std::int64_t WrappedLongitudeIndex(const GridPlacement& grid, std::int64_t index) {
  const std::int64_t half = grid.lon_count / 2;
  std::int64_t wrapped = (index + half) % grid.lon_count;
  if (wrapped < 0) wrapped += grid.lon_count;
  return wrapped - half;
}

}  // namespace quellmark::raster
