#include "imaging/terrain_grid.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "basic/errors.h"
#include "dem/dem_document.h"
#include "dem/height_reader.h"
#include "runtime/log.h"

namespace quellmark::imaging {

namespace {

using runtime::Fail;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr HeightRange kNoHeights = {std::numeric_limits<float>::infinity(),
                                    -std::numeric_limits<float>::infinity()};

void Include(HeightRange& range, const HeightRange& more) {
  range = {std::min(range.low, more.low), std::max(range.high, more.high)};
}

bool IsStep(double step_deg) { return std::isfinite(step_deg) && step_deg > 0.0; }

bool FitsAround(const GeoBox& box) {
  return std::isfinite(box.west_deg) && std::isfinite(box.east_deg) &&
         std::abs(box.west_deg) <= 360.0 && std::abs(box.east_deg) <= 360.0 &&
         box.south_deg <= box.north_deg && box.south_deg >= -90.0 && box.north_deg <= 90.0;
}

}  // namespace

double InterpolateBesideVoids(const CellHeights& cell, double east, double north) {
  const double weights[] = {(1.0 - east) * (1.0 - north), east * (1.0 - north),
                            (1.0 - east) * north, east * north};
  const double values[] = {cell.south_west, cell.south_east, cell.north_west, cell.north_east};
  double weight_sum = 0.0;
  double sum = 0.0;
  for (int i = 0; i < 4; ++i) {
    if (std::isnan(values[i])) continue;
    if (std::isinf(values[i])) return kNaN;
    weight_sum += weights[i];
    sum += weights[i] * values[i];
  }
  return weight_sum > 0.0 ? sum / weight_sum : kNaN;
}

TerrainGrid::TerrainGrid(const GridLayout& layout, std::vector<float> heights_m)
    : layout_(layout), heights_m_(std::move(heights_m)) {
  if (!IsStep(layout.longitude_step_deg) || !IsStep(layout.latitude_step_deg) ||
      !std::isfinite(layout.west_deg) || !std::isfinite(layout.south_deg) || layout.columns < 2 ||
      layout.rows < 2 || heights_m_.size() / layout.columns != layout.rows ||
      heights_m_.size() % layout.columns != 0) {
    Fail<ERROR_ARGUMENT>("imaging: ", heights_m_.size(), " heights are no terrain grid of ",
                         layout.columns, " x ", layout.rows, " values\n");
  }
  MakeBlocks();
}

// Makes each block from blocks of the level below. Level 0 are the cells, which share their
// corners.
void TerrainGrid::MakeBlocks() {
  std::size_t below_columns = CellColumns();
  std::size_t below_rows = CellRows();
  for (int level = 1; level <= kLevels; ++level) {
    Blocks& blocks = blocks_[level - 1];
    blocks.columns = (below_columns + 3) / 4;
    const std::size_t rows = (below_rows + 3) / 4;
    blocks.ranges.assign(blocks.columns * rows, kNoHeights);
    for (std::size_t j = 0; j < below_rows; ++j) {
      for (std::size_t i = 0; i < below_columns; ++i) {
        HeightRange& range = blocks.ranges[j / 4 * blocks.columns + i / 4];
        if (level > 1) {
          Include(range, blocks_[level - 2].ranges[j * below_columns + i]);
          continue;
        }
        for (const std::size_t at : {j * layout_.columns + i, (j + 1) * layout_.columns + i}) {
          for (const float height : {heights_m_[at], heights_m_[at + 1]}) {
            if (std::isfinite(height)) Include(range, {height, height});
          }
        }
      }
    }
    below_columns = blocks.columns;
    below_rows = rows;
  }
  range_ = kNoHeights;
  for (const HeightRange& range : blocks_[kLevels - 1].ranges) Include(range_, range);
}

TerrainGrid TerrainGrid::Read(const DEM_DOCUMENT& dem, const dem::HeightReader& heights,
                              const GeoBox& box) {
  if (!FitsAround(box)) {
    Fail<ERROR_ARGUMENT>("imaging: no region of terrain from ", box.west_deg, " to ", box.east_deg,
                         " east, ", box.south_deg, " to ", box.north_deg, " north\n");
  }
  const DEM_DESCRIPTOR& d = dem.Descriptor();
  const bool at_edges = d.annotation == dem::TileAnnotation::kPixelEdge;
  const double lon_offset = at_edges ? 0.5 * d.lon_res_deg : 0.0;
  const double lat_offset = at_edges ? 0.5 * d.lat_res_deg : 0.0;
  const double west = box.west_deg >= 180.0 ? box.west_deg - 360.0 : box.west_deg;
  double span = box.east_deg - box.west_deg;
  if (span < 0.0) span += 360.0;
  const auto first_column =
      static_cast<std::int64_t>(std::floor((west - lon_offset) / d.lon_res_deg));
  const auto last_column =
      static_cast<std::int64_t>(std::ceil((west + span - lon_offset) / d.lon_res_deg));
  const auto lowest_row = std::int64_t{dem.LatitudeBounds().min};
  const auto highest_row = std::int64_t{dem.LatitudeBounds().max};
  const auto first_row = std::clamp(
      static_cast<std::int64_t>(std::floor((box.south_deg - lat_offset) / d.lat_res_deg)),
      lowest_row, highest_row - 1);
  const auto last_row =
      std::clamp(static_cast<std::int64_t>(std::ceil((box.north_deg - lat_offset) / d.lat_res_deg)),
                 first_row + 1, highest_row);
  const GridLayout layout{
      .west_deg = static_cast<double>(first_column) * d.lon_res_deg + lon_offset,
      .south_deg = static_cast<double>(first_row) * d.lat_res_deg + lat_offset,
      .longitude_step_deg = d.lon_res_deg,
      .latitude_step_deg = d.lat_res_deg,
      .columns =
          static_cast<std::size_t>(std::max(last_column, first_column + 1) - first_column + 1),
      .rows = static_cast<std::size_t>(last_row - first_row + 1)};

  const auto [lon_min, lon_max] = dem.LongitudeBounds();
  const std::int64_t globe = std::int64_t{lon_max} - lon_min + 1;
  std::vector<float> heights_m(layout.columns * layout.rows,
                               std::numeric_limits<float>::infinity());
  bool touches = false;
  for (std::size_t j = 0; j < layout.rows; ++j) {
    const int lat_index = static_cast<int>(first_row + static_cast<std::int64_t>(j));
    for (std::size_t i = 0; i < layout.columns; ++i) {
      std::int64_t wrapped = first_column + static_cast<std::int64_t>(i) - lon_min;
      wrapped = (wrapped % globe + globe) % globe + lon_min;
      const auto value = heights.ValueAt(static_cast<int>(wrapped), lat_index);
      if (!value) continue;
      touches = true;
      const auto height_m = static_cast<float>(*value);
      const bool is_missing = d.special_coding && height_m == static_cast<float>(*d.special_coding);
      heights_m[j * layout.columns + i] =
          is_missing ? std::numeric_limits<float>::quiet_NaN() : height_m;
    }
  }
  if (!touches) {
    Fail<ERROR_ARGUMENT>("imaging: the DEM has no tile from ", box.west_deg, " to ", box.east_deg,
                         " east, ", box.south_deg, " to ", box.north_deg, " north\n");
  }
  return {layout, std::move(heights_m)};
}

double TerrainGrid::ColumnOf(double longitude_deg) const {
  const double east = longitude_deg - layout_.west_deg;
  return (east - 360.0 * std::floor(east / 360.0)) / layout_.longitude_step_deg;
}

double TerrainGrid::HeightAt(double longitude_deg, double latitude_deg) const {
  const double column = ColumnOf(longitude_deg);
  const double row = RowOf(latitude_deg);
  const auto last_column = static_cast<double>(CellColumns());
  const auto last_row = static_cast<double>(CellRows());
  if (!(column >= 0.0 && column <= last_column && row >= 0.0 && row <= last_row)) return kNaN;
  const double i = std::min(std::floor(column), last_column - 1.0);
  const double j = std::min(std::floor(row), last_row - 1.0);
  return InterpolateInCell(Cell(static_cast<std::size_t>(i), static_cast<std::size_t>(j)),
                           column - i, row - j);
}

}  // namespace quellmark::imaging
