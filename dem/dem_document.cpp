#include "dem/dem_document.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "basic/errors.h"
#include "dem/pixel_type.h"
#include "dem/raster_file.h"
#include "runtime/log.h"

namespace {

using quellmark::dem::FindPixelType;
using quellmark::dem::GridCell;
using quellmark::dem::IndexBounds;
using quellmark::dem::OffsetFunction;
using quellmark::dem::Storage;
using quellmark::dem::TileAnnotation;
using quellmark::dem::TileExtent;
using quellmark::dem::TileIndex;
using quellmark::runtime::Fail;
using quellmark::runtime::LogLevel;
using quellmark::runtime::LogLine;

// Beyond every index of every grid, and with room for one more step in 32 bits.
constexpr double kIndexLimit = 2147483000.0;

// The integer at or below `value`; what is no index of any grid (NaN too) stays none.
int FloorIndex(double value) {
  if (!(value > -kIndexLimit)) return static_cast<int>(-kIndexLimit);
  if (!(value < kIndexLimit)) return static_cast<int>(kIndexLimit);
  const int truncated = static_cast<int>(value);
  return truncated - (value < truncated ? 1 : 0);
}

int NearestIndex(double value) { return FloorIndex(std::rint(value)); }

template <class T>
T LoadAs(const unsigned char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

double LoadValue(const unsigned char* bytes, short value_type) {
  switch (value_type) {
    case quellmark::dem::kPixelInt2:
      return LoadAs<std::int16_t>(bytes);
    case quellmark::dem::kPixelInt4:
      return LoadAs<std::int32_t>(bytes);
    case quellmark::dem::kPixelFloat4:
      return static_cast<double>(LoadAs<float>(bytes));
    default:
      LogLine(LogLevel::kDebug, "read error\n");
      throw ERROR_NOT_SUPPORTED_PIXEL_TYPE();
  }
}

template <class T>
std::string HexAs(double value) {
  const T written = static_cast<T>(value);
  std::array<unsigned char, sizeof(T)> bytes;
  std::memcpy(bytes.data(), &written, sizeof written);
  std::string text;
  for (const unsigned char byte : bytes) {
    std::array<char, 3> digits;
    std::snprintf(digits.data(), digits.size(), "%02x", byte);
    text += digits.data();
  }
  return text;
}

std::string HexOf(double value, short value_type) {
  if (value_type == quellmark::dem::kPixelInt2) return HexAs<std::int16_t>(value);
  if (value_type == quellmark::dem::kPixelInt4) return HexAs<std::int32_t>(value);
  return HexAs<float>(value);
}

int ValueBytesOf(short value_type) {
  const quellmark::dem::PixelType* type = FindPixelType(value_type);
  if (type == nullptr) {
    Fail<ERROR_NOT_SUPPORTED_PIXEL_TYPE>("DEM_DOCUMENT: value type ", value_type,
                                         " is not supported\n");
  }
  return type->size_bytes;
}

double Bilinear(double south_west, double south_east, double north_west, double north_east,
                double east_fraction, double north_fraction) {
  const double south = south_west + east_fraction * (south_east - south_west);
  const double north = north_west + east_fraction * (north_east - north_west);
  return south + north_fraction * (north - south);
}

// How many cells of a tile, from its first index on, lie within it and within the global grid.
double InnerCells(int first_index, std::int64_t count, IndexBounds bounds) {
  if (first_index < bounds.min) return 0.0;
  const std::int64_t last = std::min(first_index + count - 1, std::int64_t{bounds.max});
  return static_cast<double>(std::max(last - first_index, std::int64_t{0}));
}

[[noreturn]] void FailTooLarge(std::int64_t offset, std::int64_t file_size) {
  LogLine(LogLevel::kDebug, "offset ", offset, " too large (filesize is ", file_size, ").\n");
  throw ERROR_CANNOT_READ_SUBDOC();
}

[[noreturn]] void FailSeek(std::int64_t offset) {
  LogLine(LogLevel::kDebug, "seek error offset ", offset);
  throw ERROR_CANNOT_READ_SUBDOC();
}

}  // namespace

DEM_DOCUMENT::CurrentTile& DEM_DOCUMENT::CurrentTile::operator=(const CurrentTile& other) {
  if (this == &other) return *this;
  file = -1;
  fd.Reset();
  size_bytes = -1;
  return *this;
}

DEM_DOCUMENT::DEM_DOCUMENT(const DEM_DESCRIPTOR& descriptor, bool fast)
    : descriptor_(descriptor), value_bytes_(ValueBytesOf(descriptor.value_type)) {
  descriptor_.Check();
  lon_res_deg_ = descriptor_.lon_res_deg;
  lat_res_deg_ = descriptor_.lat_res_deg;
  if (descriptor_.annotation == TileAnnotation::kPixelEdge) {
    lon_offset_deg_ = lon_res_deg_ * 0.5;
    lat_offset_deg_ = lat_res_deg_ * 0.5;
  }
  lon_bounds_ = quellmark::dem::BoundsOf(360.0, lon_res_deg_);
  lat_bounds_ = quellmark::dem::BoundsOf(180.0, lat_res_deg_);
  if (descriptor_.special_coding) {
    missing_value_ = *descriptor_.special_coding;
    if (descriptor_.value_type == quellmark::dem::kPixelFloat4) {  // rounded when it was written
      missing_value_ = static_cast<double>(static_cast<float>(missing_value_));
    }
  }
  PlaceTiles();
  SetDescriptor(fast);
}

DEM_DOCUMENT::~DEM_DOCUMENT() = default;

void DEM_DOCUMENT::PlaceTiles() {
  const Storage storage{.line_wise = descriptor_.line_wise,
                        .y_origin_north = descriptor_.y_origin_north,
                        .value_bytes = value_bytes_,
                        .record_header_bytes = descriptor_.record_header};
  // Check() has seen to it that only a single file goes without corners: it holds the whole grid.
  const auto corner = [](const ARRAY<TUPLE<int>>& corners, int file, const TUPLE<int>& otherwise) {
    return corners.Length() == 0 ? otherwise : corners[corners.First() + file];
  };
  tiles_.reserve(static_cast<std::size_t>(descriptor_.FileCount()));
  for (int file = 0; file < descriptor_.FileCount(); ++file) {
    const TUPLE<int> upper_left =
        corner(descriptor_.upper_left, file, {lon_bounds_.min, lat_bounds_.max});
    const TUPLE<int> lower_right =
        corner(descriptor_.lower_right, file, {lon_bounds_.max, lat_bounds_.min});
    const TileExtent extent =
        TileExtent::Between(upper_left.First(), upper_left.Second(), lower_right.First(),
                            lower_right.Second(), lon_res_deg_);
    if (!quellmark::dem::DimensionsAreUsable(extent, storage)) {
      Fail<ERROR_DESCRIPTOR_VALUE>("DEM_DOCUMENT: the corners of file ", file, " make a tile of ",
                                   extent.columns, " x ", extent.rows, " values\n");
    }
    tiles_.push_back({extent, quellmark::dem::OffsetsOf(extent, storage)});
  }
}

bool DEM_DOCUMENT::CheckDescriptor(bool fast) const {
  if (!fast || descriptor_.FileCount() == 0) return false;
  // "Memmory": kept exactly, do not correct.
  if (descriptor_.FileCount() > 1) {
    LogLine(LogLevel::kWarning,
            "DEM_DOCUMENT::CheckDescriptor: More than one bitmap file. Memmory mapping not "
            "implemented yet. Please turn off multithreading if on.\n");
    return false;
  }
  if (descriptor_.type != quellmark::dem::kDocumentSrf) {
    LogLine(LogLevel::kWarning,
            "DEM_DOCUMENT::CheckDescriptor: Non SRF DEM. Memmory mapping not implemented yet. "
            "Please turn off multithreading if on.\n");
    return false;
  }
  if (descriptor_.value_type != quellmark::dem::kPixelInt2) {
    LogLine(LogLevel::kWarning,
            "DEM_DOCUMENT::CheckDescriptor: Non INT_2 DEM. Memmory mapping not implemented yet. "
            "Please turn off multithreading if on.\n");
    return false;
  }
  return true;
}

void DEM_DOCUMENT::SetDescriptor(bool fast) {
  mapped_ = Mapping();
  mapping_.reset();
  if (!CheckDescriptor(fast)) return;
  const std::string path = PathOf(0);
  LogLine(LogLevel::kInfo, "DEM_DOCUMENT::SetDescriptor: Mapping file ", path, "\n");
  mapping_ = std::make_shared<MEM_MGR>();
  mapping_->MapSrf(path, O_RDONLY, descriptor_.value_type);
}

void DEM_DOCUMENT::SettleMapping() {
  if (!mapping_) return;
  const TileExtent& extent = tiles_.front().extent;
  OffsetFunction offset = tiles_.front().offset;
  offset.origin += descriptor_.first_offset;
  // Offsets are linear in column and row: the smallest and the largest stand at grid corners.
  const auto [first, last] =
      std::minmax({offset({0, 0}), offset({extent.columns - 1, 0}), offset({0, extent.rows - 1}),
                   offset({extent.columns - 1, extent.rows - 1})});
  const auto file_size = static_cast<std::int64_t>(mapping_->FileSize());
  if (first < 0) FailSeek(first);
  if (last > file_size - value_bytes_) {
    // North-first columns start one value late: of a file without room for that one more value all
    // the others can still be read, but not unchecked.
    const bool starts_late = !descriptor_.line_wise && descriptor_.y_origin_north;
    if (!starts_late || last > file_size) FailTooLarge(last, file_size);
    LogLine(LogLevel::kWarning, "DEM_DOCUMENT::SetDescriptor: ", PathOf(0),
            " ends before its last grid value. Memory mapping not possible. Please turn off "
            "multithreading if on.\n");
    mapping_.reset();
    return;
  }
  const auto needed = static_cast<std::size_t>(last + value_bytes_);
  if (needed > mapping_->MappedLength()) mapping_->Remap(needed);
  mapped_ = {.west = static_cast<double>(extent.west),
             .south = static_cast<double>(extent.south),
             .inner_columns = InnerCells(extent.west, extent.columns, lon_bounds_),
             .inner_rows = InnerCells(extent.south, extent.rows, lat_bounds_),
             .first_value = mapping_->FileBase() + offset({0, 0}),
             .per_column = offset.per_column,
             .per_row = offset.per_row,
             .missing = descriptor_.special_coding.value_or(mapped_.missing)};
}

std::string DEM_DOCUMENT::PathOf(int file) const {
  std::string path(descriptor_.directory.View());
  path += descriptor_.file_names[descriptor_.file_names.First() + file].View();
  return path;
}

DEM_DOCUMENT::CellPoint DEM_DOCUMENT::PlaceInCell(double x, double y) const {
  const int i = FloorIndex(x);
  const int j = FloorIndex(y);
  CellPoint point{.cell = {.west = i < lon_bounds_.min ? lon_bounds_.max : i,
                           .east = i + 1 > lon_bounds_.max ? lon_bounds_.min : i + 1,
                           .south = j,
                           .north = j + 1},
                  .east_fraction = x - i,
                  .north_fraction = y - j};
  GridCell& cell = point.cell;
  if (cell.north > lat_bounds_.max) {
    LogLine(LogLevel::kWarning, "pole grid cell: no interpolation\n");
    cell.north = cell.south;
    cell.east = cell.west;
  } else if (cell.south < lat_bounds_.min) {
    LogLine(LogLevel::kWarning, "pole grid cell: no interpolation\n");
    cell.south = cell.north;
    cell.east = cell.west;
  }
  return point;
}

GridCell DEM_DOCUMENT::CellOf(double longitude_deg, double latitude_deg) const {
  return PlaceInCell(GridX(longitude_deg), GridY(latitude_deg)).cell;
}

// The way of nearly all look-ups in fast mode; whatever is special about a point, NaN included,
// goes the general way.
double DEM_DOCUMENT::GetElevationInterpolated(double longitude_deg, double latitude_deg) {
  const double x = GridX(longitude_deg);
  const double y = GridY(latitude_deg);
  const double from_west = x - mapped_.west;
  const double from_south = y - mapped_.south;
  if (!(from_west >= 0.0 && from_west < mapped_.inner_columns && from_south >= 0.0 &&
        from_south < mapped_.inner_rows)) {
    return InterpolateAt(x, y);
  }
  const auto column = static_cast<std::int64_t>(from_west);
  const auto row = static_cast<std::int64_t>(from_south);
  const std::int64_t per_column = mapped_.per_column;
  const std::int64_t per_row = mapped_.per_row;
  const unsigned char* const at = mapped_.first_value + column * per_column + row * per_row;
  const int south_west = LoadAs<std::int16_t>(at);
  const int south_east = LoadAs<std::int16_t>(at + per_column);
  const int north_west = LoadAs<std::int16_t>(at + per_row);
  const int north_east = LoadAs<std::int16_t>(at + per_row + per_column);
  const int missing = mapped_.missing;
  if ((south_west == missing) | (south_east == missing) | (north_west == missing) |
      (north_east == missing)) {
    return InterpolateAt(x, y);
  }
  return Bilinear(south_west, south_east, north_west, north_east,
                  from_west - static_cast<double>(column), from_south - static_cast<double>(row));
}

double DEM_DOCUMENT::InterpolateAt(double x, double y) {
  const CellPoint point = PlaceInCell(x, y);
  const GridCell& cell = point.cell;
  const CornerValues corners = {DEM_DOCUMENT::GetGridValue(cell.west, cell.south),
                                DEM_DOCUMENT::GetGridValue(cell.east, cell.south),
                                DEM_DOCUMENT::GetGridValue(cell.west, cell.north),
                                DEM_DOCUMENT::GetGridValue(cell.east, cell.north)};
  const auto missing = std::count(corners.begin(), corners.end(), missing_value_);
  if (missing == 0) {
    return Bilinear(corners[0], corners[1], corners[2], corners[3], point.east_fraction,
                    point.north_fraction);
  }
  if (missing < 4) return InterpolateAroundMissing(point, corners);
  const double longitude_deg = x * lon_res_deg_ + lon_offset_deg_;
  const double latitude_deg = y * lat_res_deg_ + lat_offset_deg_;
  LogLine(LogLevel::kException,
          "GetElevationInterpolated: Fatal DEM interpolation error for lat=", latitude_deg,
          " lon=", longitude_deg, "\n");
  DumpMissingCell(cell, corners);
  throw ERROR_SPECIAL_CODING_INTERPOLATION();
}

double DEM_DOCUMENT::InterpolateAroundMissing(const CellPoint& point,
                                              const CornerValues& corners) const {
  const double east = point.east_fraction;
  const double north = point.north_fraction;
  const CornerValues weights = {(1.0 - east) * (1.0 - north), east * (1.0 - north),
                                (1.0 - east) * north, east * north};
  double weight_sum = 0.0;
  double value_sum = 0.0;
  double nearest = 0.0;
  double nearest_squared = std::numeric_limits<double>::infinity();
  for (std::size_t corner = 0; corner < corners.size(); ++corner) {
    if (corners[corner] == missing_value_) continue;
    weight_sum += weights[corner];
    value_sum += weights[corner] * corners[corner];
    const double to_east = (corner % 2 == 0 ? 0.0 : 1.0) - east;
    const double to_north = (corner < 2 ? 0.0 : 1.0) - north;
    const double squared = to_east * to_east + to_north * to_north;
    if (squared < nearest_squared) {
      nearest_squared = squared;
      nearest = corners[corner];
    }
  }
  return weight_sum > 0.0 ? value_sum / weight_sum : nearest;
}

void DEM_DOCUMENT::DumpMissingCell(const GridCell& cell, const CornerValues& corners) const {
  LogLine(LogLevel::kDebug, "cellRect.upper_left=", cell.west, "/", cell.north,
          " lower_right=", cell.east, "/", cell.south, " (X/Y)\n");
  for (std::size_t corner = 0; corner < corners.size(); ++corner) {
    const int x = corner % 2 == 0 ? cell.west : cell.east;
    const int y = corner / 2 == 0 ? cell.south : cell.north;
    const int file = TileHolding(x, y);
    LogLine(LogLevel::kDebug, "grid_idx=", x, "/", y,
            " HexValue=", HexOf(corners[corner], descriptor_.value_type), " tile_idx=", file,
            " FileOffset=", FileOffsetOf(file, LocalIndexOf(file, x, y)), "\n");
  }
  LogLine(LogLevel::kDebug, "last grid_idx=", cell.east, "/", cell.north, "\n");
  LogLine(LogLevel::kDebug, "special_coding=", missing_value_, "\n");
  LogLine(LogLevel::kDebug, "DEM values are=", corners[0], " ", corners[1], " ", corners[2], " ",
          corners[3], "\n");
}

double DEM_DOCUMENT::GetElevationNearest(double longitude_deg, double latitude_deg) {
  int i = NearestIndex(GridX(longitude_deg));
  int j = NearestIndex(GridY(latitude_deg));
  if (i > lon_bounds_.max) {
    i = lon_bounds_.min;
  } else if (i < lon_bounds_.min) {
    i = lon_bounds_.max;
  }
  if (j > lat_bounds_.max) {
    --j;
  } else if (j < lat_bounds_.min) {
    ++j;
  }
  return DEM_DOCUMENT::GetGridValue(i, j);
}

double DEM_DOCUMENT::GetGridValue(int lon_index, int lat_index) {
  const int file = SelectSubdocument(lon_index, lat_index);
  return ReadValue(FileOffsetOf(file, LocalIndexOf(file, lon_index, lat_index)));
}

int DEM_DOCUMENT::TileHolding(int lon_index, int lat_index) const {
  const auto found = std::find_if(tiles_.begin(), tiles_.end(), [&](const Tile& tile) {
    return tile.extent.Contains(lon_index, lat_index);
  });
  return found == tiles_.end() ? -1 : static_cast<int>(found - tiles_.begin());
}

int DEM_DOCUMENT::SelectSubdocument(int lon_index, int lat_index) {
  const int file = TileHolding(lon_index, lat_index);
  // In fast mode nothing of the document changes: other threads may be reading.
  const bool leaves_tile = !IsFast() && file != current_.file;
  if (leaves_tile) current_ = CurrentTile();
  if (file < 0) {
    LogLine(LogLevel::kDebug, "Could not allocate location lat=", lat_index, ", lon=", lon_index,
            IsFast() ? " in subdocument (fastmode)\n" : " in subdocument\n");
    throw ERROR_NO_SUBDOC();
  }
  if (leaves_tile) OpenTile(file);
  return file;
}

void DEM_DOCUMENT::OpenTile(int file) {
  const std::string path = PathOf(file);
  quellmark::basic::UniqueFd fd = quellmark::dem::OpenRaster(path, O_RDONLY);
  if (!fd.IsOpen()) {
    const int error = errno;
    Fail<ERROR_CANNOT_OPEN_SUBDOC>("DEM_DOCUMENT: can not open ", path, ": ",
                                   std::generic_category().message(error), "\n");
  }
  const auto size = quellmark::dem::RegularFileSize(fd.Get());
  if (!size) {
    LogLine(LogLevel::kDebug, "Cannot select subdocument.\n");
    throw ERROR_CANNOT_READ_SUBDOC();
  }
  current_.file = file;
  current_.fd = std::move(fd);
  current_.size_bytes = *size;
}

TileIndex DEM_DOCUMENT::LocalIndexOf(int file, int lon_index, int lat_index) const {
  const TileExtent& extent = tiles_[static_cast<std::size_t>(file)].extent;
  const TileIndex at{extent.ColumnOf(lon_index), extent.RowOf(lat_index)};
  if (!extent.HasColumn(at.column)) {
    Fail<ERROR_ARGUMENTS>("Too large longitude index ", lon_index, " (lat index ", lat_index,
                          " might be OK)\n");
  }
  if (!extent.HasRow(at.row)) {
    Fail<ERROR_ARGUMENTS>("Too large latitude index ", lat_index, " (lon index ", lon_index,
                          " is OK)\n");
  }
  return at;
}

std::int64_t DEM_DOCUMENT::FileOffsetOf(int file, TileIndex at) const {
  return tiles_[static_cast<std::size_t>(file)].offset(at) + descriptor_.first_offset;
}

double DEM_DOCUMENT::ReadValue(std::int64_t offset) {
  if (IsFast()) return LoadAs<std::int16_t>(mapping_->FileBase() + offset);
  if (offset > current_.size_bytes - value_bytes_) FailTooLarge(offset, current_.size_bytes);
  if (::lseek(current_.fd.Get(), offset, SEEK_SET) < 0) FailSeek(offset);
  std::array<unsigned char, 4> bytes;
  const auto wanted = static_cast<std::size_t>(value_bytes_);
  if (::read(current_.fd.Get(), bytes.data(), wanted) != value_bytes_) {
    Fail<ERROR_CANNOT_READ_SUBDOC>("DEM_DOCUMENT: can not read ", PathOf(current_.file),
                                   " at offset ", offset, "\n");
  }
  return LoadValue(bytes.data(), descriptor_.value_type);
}
