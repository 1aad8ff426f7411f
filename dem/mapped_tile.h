// The grid values of a tile file in memory.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>

#include "dem/grid.h"
#include "dem/interpolation.h"
#include "dem/mem_mgr.h"

namespace quellmark::dem {

template <class Value>
[[nodiscard]] Value LoadAs(const unsigned char* bytes) {
  Value value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

/// These two write a DEBUG line and throw ERROR_CANNOT_READ_SUBDOC: the first for an offset beyond
/// the end of the file, the second for an offset that no file can have.
[[noreturn]] void FailTooLarge(std::int64_t offset, std::int64_t file_size);
[[noreturn]] void FailSeek(std::int64_t offset);

/// A mapped tile file and the place of the grid in it. Inner cells are read without checks, because
/// every offset has been compared with the file's size. Copies share the mapping, which is released
/// with the last of them. Any number of threads may read.
class MappedTile {
 public:
  /// A tile without a mapping, which holds no point.
  MappedTile() = default;
  /// Throws ERROR_CANNOT_READ_SUBDOC, after a DEBUG line, if the file lacks grid values; IsWhole()
  /// names the exception. Maps more of `memory` where the grid needs it.
  MappedTile(std::shared_ptr<MEM_MGR> memory, const TilePlace& place, const Storage& storage,
             std::int64_t first_offset, const Grid& grid);

  [[nodiscard]] bool IsMapped() const { return memory_ != nullptr; }
  /// Whether the file holds all grid values. North-first columns start one value late; a file
  /// without room for this one more value holds all the others and is accepted, but has no inner
  /// cells.
  [[nodiscard]] bool IsWhole() const { return is_whole_; }
  [[nodiscard]] const unsigned char* FileBase() const { return memory_->FileBase(); }

  /// Whether the tile may hold a corner of the cell around (x, y), given in grid steps.
  [[nodiscard]] bool MayTouch(double x, double y) const {
    return x > touched_west_ && x < touched_east_ && y > touched_south_ && y < touched_north_;
  }

  /// Computes the bilinear height at (x, y), given in grid steps. Returns false unless the cell
  /// around the point is an inner one (it lies in the tile, without wrap or pole) and has no
  /// missing value. `Wide` can hold every value, and also a `missing` that no value equals.
  template <class Value, class Wide>
  [[nodiscard]] bool Interpolate(double x, double y, Wide missing, double& height_m) const {
    const double from_west = x - west_;
    const double from_south = y - south_;
    if (!(from_west >= 0.0 && from_west < inner_columns_ && from_south >= 0.0 &&
          from_south < inner_rows_)) {
      return false;
    }
    const auto column = static_cast<int>(from_west);
    const auto row = static_cast<int>(from_south);
    // These are the same fractions as for all other cells. The differences above may have been
    // rounded up to the next whole number.
    const double east_fraction = x - (west_ + column);
    const double north_fraction = y - (south_ + row);
    if (std::min(east_fraction, north_fraction) < 0.0) return false;
    const unsigned char* const at = first_value_ + column * per_column_ + row * per_row_;
    const auto south_west = static_cast<Wide>(LoadAs<Value>(at));
    const auto south_east = static_cast<Wide>(LoadAs<Value>(at + per_column_));
    const auto north_west = static_cast<Wide>(LoadAs<Value>(at + per_row_));
    const auto north_east = static_cast<Wide>(LoadAs<Value>(at + per_row_ + per_column_));
    if (south_west == missing || south_east == missing || north_west == missing ||
        north_east == missing) {
      return false;
    }
    height_m = Bilinear(static_cast<double>(south_west), static_cast<double>(south_east),
                        static_cast<double>(north_west), static_cast<double>(north_east),
                        east_fraction, north_fraction);
    return true;
  }

  /// The address of a grid value in memory; null if the tile does not hold it.
  [[nodiscard]] const unsigned char* Find(int lon_index, int lat_index) const;

 private:
  double west_ = 0.0;  // of the tile, as a global index
  double south_ = 0.0;
  double inner_columns_ = 0.0;
  double inner_rows_ = 0.0;
  const unsigned char* first_value_ = nullptr;  // south-west corner of the tile
  std::int64_t per_column_ = 0;                 // distance between neighbours [bytes]
  std::int64_t per_row_ = 0;
  double touched_west_ = 0.0;
  double touched_east_ = 0.0;
  double touched_south_ = 0.0;
  double touched_north_ = 0.0;
  TileExtent extent_{};
  OffsetFunction offset_{};
  std::int64_t last_offset_ = 0;  // of a whole value in the file
  bool is_whole_ = true;
  std::shared_ptr<MEM_MGR> memory_;
};

}  // namespace quellmark::dem
