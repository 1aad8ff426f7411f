// The arithmetic of the global grid and of the tiles cut from it. It touches neither files nor the
// log.
#pragma once

#include <cmath>
#include <cstdint>

namespace quellmark::dem {

/// First and last index of the global grid in one direction.
struct IndexBounds {
  int min;
  int max;
};

/// The bounds of a grid over `full_deg` (360 for longitudes, 180 for latitudes) with the spacing
/// `resolution_deg`, for which ResolutionIsUsable() must hold.
[[nodiscard]] inline IndexBounds BoundsOf(double full_deg, double resolution_deg) {
  const int count = static_cast<int>(std::rint(full_deg / resolution_deg));
  return {-(count / 2), count / 2 - 1};
}

/// Whether the grid has at least two indices and no more than a 32-bit integer can count.
[[nodiscard]] inline bool ResolutionIsUsable(double full_deg, double resolution_deg) {
  constexpr double kMinCount = 2.0;
  constexpr double kMaxCount = 2147483646.0;
  const double count = full_deg / resolution_deg;  // NaN fails both comparisons
  return count >= kMinCount && count <= kMaxCount;
}

/// Indices of the four grid points around a point: south-west (west, south) to north-east.
struct GridCell {
  int west;
  int east;
  int south;
  int north;

  friend bool operator==(const GridCell&, const GridCell&) = default;
};

/// The place of a point in its cell.
struct CellPoint {
  GridCell cell;
  double east_fraction;   ///< 0 at the west edge, 1 at the east edge
  double north_fraction;  ///< 0 at the south edge, 1 at the north edge
  bool at_pole;           ///< the cell reaches beyond a pole and has a single grid point
};

/// The integer at or below `value`. Values outside every grid, NaN included, map to an index that
/// no grid has.
[[nodiscard]] inline int FloorIndex(double value) {
  constexpr double kIndexLimit = 2147483000.0;  // one more step fits into 32 bits
  if (!(value > -kIndexLimit)) return static_cast<int>(-kIndexLimit);
  if (!(value < kIndexLimit)) return static_cast<int>(kIndexLimit);
  const int truncated = static_cast<int>(value);
  return truncated - (value < truncated ? 1 : 0);
}

/// The coordinates of the grid points. Point i in one direction has the coordinate i x resolution +
/// offset.
struct Grid {
  double lon_res_deg = 0.0;
  double lat_res_deg = 0.0;
  double lon_offset_deg = 0.0;
  double lat_offset_deg = 0.0;
  IndexBounds lon{};
  IndexBounds lat{};

  /// A coordinate in grid steps from the grid point 0. It is computed by a division, which is exact
  /// at a grid point; a product with the rounded reciprocal may miss the whole number.
  [[nodiscard]] double X(double longitude_deg) const {
    return (longitude_deg - lon_offset_deg) / lon_res_deg;
  }
  [[nodiscard]] double Y(double latitude_deg) const {
    return (latitude_deg - lat_offset_deg) / lat_res_deg;
  }

  [[nodiscard]] CellPoint Place(double x, double y) const {
    const int i = FloorIndex(x);
    const int j = FloorIndex(y);
    CellPoint point{.cell = {.west = i < lon.min ? lon.max : i,
                             .east = i + 1 > lon.max ? lon.min : i + 1,
                             .south = j,
                             .north = j + 1},
                    .east_fraction = x - i,
                    .north_fraction = y - j,
                    .at_pole = j + 1 > lat.max || j < lat.min};
    GridCell& cell = point.cell;
    if (point.at_pole) {
      cell.south = cell.north = cell.north > lat.max ? cell.south : cell.north;
      cell.east = cell.west;
    }
    return point;
  }
};

/// Column and row of a grid value in its tile. Rows count from the tile's south edge, whatever the
/// order of storage.
struct TileIndex {
  std::int64_t column;
  std::int64_t row;

  friend bool operator==(const TileIndex&, const TileIndex&) = default;
};

/// The layout of the values in a tile file.
struct Storage {
  bool line_wise;
  bool y_origin_north;
  int value_bytes;
  int record_header_bytes;
};

/// The byte offset of a grid value, without the first offset, as a linear function of column and
/// row.
struct OffsetFunction {
  std::int64_t origin;
  std::int64_t per_column;
  std::int64_t per_row;

  [[nodiscard]] std::int64_t operator()(TileIndex at) const {
    return origin + at.column * per_column + at.row * per_row;
  }
};

/// The rectangle of the global grid that a tile covers.
struct TileExtent {
  int west;
  int south;
  int north;
  std::int64_t columns;  ///< C
  std::int64_t rows;     ///< R
  std::int64_t wrap;  ///< columns of the whole globe if the tile crosses the antimeridian, else 0

  /// If `east` is below `west`, the tile crosses the antimeridian.
  [[nodiscard]] static TileExtent Between(int west, int north, int east, int south,
                                          double lon_res_deg) {
    const auto globe = static_cast<std::int64_t>(360.0 / lon_res_deg);
    const std::int64_t wrap = east < west ? globe : 0;
    return {.west = west,
            .south = south,
            .north = north,
            .columns = std::int64_t{east} + 1 - west + wrap,
            .rows = std::int64_t{north} + 1 - south,
            .wrap = wrap};
  }

  /// A result outside 0 .. columns - 1 means that the tile does not hold this longitude index.
  [[nodiscard]] std::int64_t ColumnOf(int lon_index) const {
    const std::int64_t column = std::int64_t{lon_index} - west;
    return column < 0 ? column + wrap : column;
  }
  [[nodiscard]] std::int64_t RowOf(int lat_index) const { return std::int64_t{lat_index} - south; }
  [[nodiscard]] bool HasColumn(std::int64_t column) const { return IsBelow(column, columns); }
  [[nodiscard]] bool HasRow(std::int64_t row) const { return IsBelow(row, rows); }
  [[nodiscard]] bool Contains(int lon_index, int lat_index) const {
    return HasColumn(ColumnOf(lon_index)) && HasRow(RowOf(lat_index));
  }

 private:
  static bool IsBelow(std::int64_t index, std::int64_t count) {
    return static_cast<std::uint64_t>(index) < static_cast<std::uint64_t>(count);
  }
};

/// Offsets of a tile of C columns and R rows, for values of s bytes and record headers of H bytes:
///
///   line-wise,   south first   (C r + c) s + (r + 1) H
///   line-wise,   north first   (C q + c) s + q H            with q = R - 1 - r
///   column-wise, south first   (R c + r) s + (c + 1) H
///   column-wise, north first   (R (c + 1) - r) s + (c + 1) H
///
/// Kept exactly, do not correct: north-first lines leave out the first record header and
/// north-first columns start one value late. Existing DEM files are laid out like this.
[[nodiscard]] inline OffsetFunction OffsetsOf(const TileExtent& tile, const Storage& storage) {
  const std::int64_t value = storage.value_bytes;
  const std::int64_t header = storage.record_header_bytes;
  if (storage.line_wise) {
    const std::int64_t line = tile.columns * value + header;
    return storage.y_origin_north ? OffsetFunction{(tile.rows - 1) * line, value, -line}
                                  : OffsetFunction{header, value, line};
  }
  const std::int64_t column = tile.rows * value + header;
  return storage.y_origin_north ? OffsetFunction{column, column, -value}
                                : OffsetFunction{header, column, value};
}

/// The place of the grid in one tile file.
struct TilePlace {
  TileExtent extent;
  OffsetFunction offset;  ///< without the first offset
};

/// Whether the tile has at least one value and all its offsets are far below the limit of 64 bits.
[[nodiscard]] inline bool DimensionsAreUsable(const TileExtent& tile, const Storage& storage) {
  constexpr std::int64_t kMaxBytes = std::int64_t{1} << 60;
  if (tile.columns < 1 || tile.rows < 1) return false;
  const std::int64_t header = std::abs(std::int64_t{storage.record_header_bytes});
  const std::int64_t records = storage.line_wise ? tile.rows : tile.columns;
  const std::int64_t values = storage.line_wise ? tile.columns : tile.rows;
  return values * storage.value_bytes + header <= kMaxBytes / (records + 1);
}

}  // namespace quellmark::dem
