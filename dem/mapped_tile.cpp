#include "dem/mapped_tile.h"

#include <algorithm>
#include <utility>

#include "basic/errors.h"
#include "runtime/log.h"

namespace quellmark::dem {

namespace {

using runtime::LogLevel;
using runtime::LogLine;

// The number of cells that lie both in the tile, which starts at this index, and in the global
// grid.
double InnerCells(int first_index, std::int64_t count, IndexBounds bounds) {
  if (first_index < bounds.min) return 0.0;
  const std::int64_t last = std::min(first_index + count - 1, std::int64_t{bounds.max});
  return static_cast<double>(std::max(last - first_index, std::int64_t{0}));
}

}  // namespace

void FailTooLarge(std::int64_t offset, std::int64_t file_size) {
  LogLine(LogLevel::kDebug, "offset ", offset, " too large (filesize is ", file_size, ").\n");
  throw ERROR_CANNOT_READ_SUBDOC();
}

void FailSeek(std::int64_t offset) {
  LogLine(LogLevel::kDebug, "seek error offset ", offset);
  throw ERROR_CANNOT_READ_SUBDOC();
}

MappedTile::MappedTile(std::shared_ptr<MEM_MGR> memory, const TilePlace& place,
                       const Storage& storage, std::int64_t first_offset, const Grid& grid)
    : west_(place.extent.west),
      south_(place.extent.south),
      extent_(place.extent),
      offset_(place.offset),
      memory_(std::move(memory)) {
  offset_.origin += first_offset;
  // Offsets are linear in column and row, so the smallest and the largest belong to corners of the
  // tile.
  const auto [first, last] = std::minmax({offset_({0, 0}), offset_({extent_.columns - 1, 0}),
                                          offset_({0, extent_.rows - 1}),
                                          offset_({extent_.columns - 1, extent_.rows - 1})});
  const auto file_size = static_cast<std::int64_t>(memory_->FileSize());
  last_offset_ = file_size - storage.value_bytes;
  if (first < 0) FailSeek(first);
  is_whole_ = last <= last_offset_;
  const bool starts_late = !storage.line_wise && storage.y_origin_north;
  if (!is_whole_ && !(starts_late && last <= file_size)) FailTooLarge(last, file_size);

  constexpr double kEverywhere = std::numeric_limits<double>::infinity();
  const bool wraps = extent_.wrap != 0;
  touched_west_ = wraps ? -kEverywhere : west_ - 1.0;
  touched_east_ = wraps ? kEverywhere : west_ + static_cast<double>(extent_.columns);
  touched_south_ = south_ - 1.0;
  touched_north_ = south_ + static_cast<double>(extent_.rows);
  if (!is_whole_) return;

  const auto needed = static_cast<std::size_t>(last + storage.value_bytes);
  if (needed > memory_->MappedLength()) memory_->Remap(needed);
  inner_columns_ = InnerCells(extent_.west, extent_.columns, grid.lon);
  inner_rows_ = InnerCells(extent_.south, extent_.rows, grid.lat);
  first_value_ = memory_->FileBase() + offset_({0, 0});
  per_column_ = offset_.per_column;
  per_row_ = offset_.per_row;
}

const unsigned char* MappedTile::Find(int lon_index, int lat_index) const {
  const TileIndex at{extent_.ColumnOf(lon_index), extent_.RowOf(lat_index)};
  if (!extent_.HasColumn(at.column) || !extent_.HasRow(at.row)) return nullptr;
  const std::int64_t offset = offset_(at);
  return offset <= last_offset_ ? memory_->FileBase() + offset : nullptr;
}

}  // namespace quellmark::dem
