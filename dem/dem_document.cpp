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
double LoadAs(const unsigned char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return static_cast<double>(value);
}

double LoadValue(const unsigned char* bytes, short value_type) {
  switch (value_type) {
    case quellmark::dem::kPixelInt2:
      return LoadAs<std::int16_t>(bytes);
    case quellmark::dem::kPixelInt4:
      return LoadAs<std::int32_t>(bytes);
    case quellmark::dem::kPixelFloat4:
      return LoadAs<float>(bytes);
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
  const auto corner = [](const ARRAY<TUPLE<int>>& corners, int file, TUPLE<int> otherwise) {
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
  mapped_base_ = nullptr;
  mapping_.reset();
  if (!CheckDescriptor(fast)) return;
  const std::string path = PathOf(0);
  LogLine(LogLevel::kInfo, "DEM_DOCUMENT::SetDescriptor: Mapping file ", path, "\n");
  mapping_ = std::make_shared<MEM_MGR>();
  mapping_->MapSrf(path, O_RDONLY, descriptor_.value_type);
  current_.file = 0;
}

void DEM_DOCUMENT::SettleMapping() {
  if (!mapping_) return;
  Tile tile = tiles_.front();
  tile.offset.origin += descriptor_.first_offset;
  // Offsets are linear in column and row: the smallest and the largest stand at grid corners.
  const TileExtent& extent = tile.extent;
  const auto [first, last] = std::minmax({tile.offset({0, 0}), tile.offset({extent.columns - 1, 0}),
                                          tile.offset({0, extent.rows - 1}),
                                          tile.offset({extent.columns - 1, extent.rows - 1})});
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
    current_.file = -1;
    return;
  }
  const auto needed = static_cast<std::size_t>(last + value_bytes_);
  if (needed > mapping_->MappedLength()) mapping_->Remap(needed);
  mapped_tile_ = tile;
  mapped_base_ = mapping_->FileBase();
}

std::string DEM_DOCUMENT::PathOf(int file) const {
  std::string path(descriptor_.directory.View());
  path += descriptor_.file_names[descriptor_.file_names.First() + file].View();
  return path;
}

DEM_DOCUMENT::CellPoint DEM_DOCUMENT::PlaceInCell(double longitude_deg, double latitude_deg) const {
  const double x = (longitude_deg - lon_offset_deg_) / lon_res_deg_;
  const double y = (latitude_deg - lat_offset_deg_) / lat_res_deg_;
  const int i = FloorIndex(x);
  const int j = FloorIndex(y);
  CellPoint point{.cell = {.west = i < lon_bounds_.min ? lon_bounds_.max : i,
                           .east = i + 1 > lon_bounds_.max ? lon_bounds_.min : i + 1,
                           .south = j,
                           .north = j + 1},
                  .east_fraction = x - i,
                  .north_fraction = y - j};
  GridCell& cell = point.cell;
  if (cell.north > lat_bounds_.max || cell.south < lat_bounds_.min) [[unlikely]] {
    LogLine(LogLevel::kWarning, "pole grid cell: no interpolation\n");
    if (cell.north > lat_bounds_.max) {
      cell.north = cell.south;
    } else {
      cell.south = cell.north;
    }
    cell.east = cell.west;
  }
  return point;
}

GridCell DEM_DOCUMENT::CellOf(double longitude_deg, double latitude_deg) const {
  return PlaceInCell(longitude_deg, latitude_deg).cell;
}

double DEM_DOCUMENT::GetElevationInterpolated(double longitude_deg, double latitude_deg) {
  const CellPoint point = PlaceInCell(longitude_deg, latitude_deg);
  const CornerValues corners =
      mapped_base_ != nullptr ? MappedCorners(point.cell) : FileCorners(point.cell);
  const auto& [south_west, south_east, north_west, north_east] = corners;
  const int missing = (south_west == missing_value_) + (south_east == missing_value_) +
                      (north_west == missing_value_) + (north_east == missing_value_);
  if (missing == 0) [[likely]] {
    const double south = south_west + point.east_fraction * (south_east - south_west);
    const double north = north_west + point.east_fraction * (north_east - north_west);
    return south + point.north_fraction * (north - south);
  }
  if (missing < 4) return InterpolateAroundMissing(point, corners);
  DumpMissingCell(point.cell, corners, longitude_deg, latitude_deg);
  throw ERROR_SPECIAL_CODING_INTERPOLATION();
}

DEM_DOCUMENT::CornerValues DEM_DOCUMENT::MappedCorners(const GridCell& cell) const {
  const auto& [extent, offset] = mapped_tile_;
  const std::int64_t west = extent.ColumnOf(cell.west);
  const std::int64_t east = extent.ColumnOf(cell.east);
  const std::int64_t south = extent.RowOf(cell.south);
  const std::int64_t north = extent.RowOf(cell.north);
  if (!extent.HasColumn(west) || !extent.HasColumn(east) || !extent.HasRow(south) ||
      !extent.HasRow(north)) [[unlikely]] {
    FailOutsideMapping(cell);
  }
  const auto value = [&](std::int64_t column, std::int64_t row) {
    return LoadAs<std::int16_t>(mapped_base_ + offset({column, row}));
  };
  return {value(west, south), value(east, south), value(west, north), value(east, north)};
}

void DEM_DOCUMENT::FailOutsideMapping(const GridCell& cell) const {
  for (const int y : {cell.south, cell.north}) {
    for (const int x : {cell.west, cell.east}) {
      if (!mapped_tile_.extent.Contains(x, y)) FailNoSubdocument(x, y);
    }
  }
  FailNoSubdocument(cell.east, cell.north);
}

DEM_DOCUMENT::CornerValues DEM_DOCUMENT::FileCorners(const GridCell& cell) {
  return {DEM_DOCUMENT::GetGridValue(cell.west, cell.south),
          DEM_DOCUMENT::GetGridValue(cell.east, cell.south),
          DEM_DOCUMENT::GetGridValue(cell.west, cell.north),
          DEM_DOCUMENT::GetGridValue(cell.east, cell.north)};
}

double DEM_DOCUMENT::InterpolateAroundMissing(const CellPoint& point,
                                              const CornerValues& corners) const {
  const double east = point.east_fraction;
  const double north = point.north_fraction;
  const std::array<double, 4> values = {corners.south_west, corners.south_east, corners.north_west,
                                        corners.north_east};
  const std::array<double, 4> weights = {(1.0 - east) * (1.0 - north), east * (1.0 - north),
                                         (1.0 - east) * north, east * north};
  double weight_sum = 0.0;
  double value_sum = 0.0;
  double nearest = 0.0;
  double nearest_squared = std::numeric_limits<double>::infinity();
  for (std::size_t corner = 0; corner < values.size(); ++corner) {
    if (values[corner] == missing_value_) continue;
    weight_sum += weights[corner];
    value_sum += weights[corner] * values[corner];
    const double to_east = static_cast<double>(corner % 2) - east;
    const double to_north = static_cast<double>(corner / 2) - north;
    const double squared = to_east * to_east + to_north * to_north;
    if (squared < nearest_squared) {
      nearest_squared = squared;
      nearest = values[corner];
    }
  }
  return weight_sum > 0.0 ? value_sum / weight_sum : nearest;
}

void DEM_DOCUMENT::DumpMissingCell(const GridCell& cell, const CornerValues& corners,
                                   double longitude_deg, double latitude_deg) const {
  struct Corner {
    int x;
    int y;
    double value;
  };
  const std::array<Corner, 4> listed = {{{cell.west, cell.south, corners.south_west},
                                         {cell.east, cell.south, corners.south_east},
                                         {cell.west, cell.north, corners.north_west},
                                         {cell.east, cell.north, corners.north_east}}};
  LogLine(LogLevel::kException,
          "GetElevationInterpolated: Fatal DEM interpolation error for lat=", latitude_deg,
          " lon=", longitude_deg, "\n");
  LogLine(LogLevel::kDebug, "cellRect.upper_left=", cell.west, "/", cell.north,
          " lower_right=", cell.east, "/", cell.south, " (X/Y)\n");
  for (const auto& [x, y, value] : listed) {
    const int file = TileHolding(x, y);
    LogLine(LogLevel::kDebug, "grid_idx=", x, "/", y,
            " HexValue=", HexOf(value, descriptor_.value_type), " tile_idx=", file,
            " FileOffset=", FileOffsetOf(file, LocalIndexOf(file, x, y)), "\n");
  }
  LogLine(LogLevel::kDebug, "last grid_idx=", listed.back().x, "/", listed.back().y, "\n");
  LogLine(LogLevel::kDebug, "special_coding=", missing_value_, "\n");
  LogLine(LogLevel::kDebug, "DEM values are=", corners.south_west, " ", corners.south_east, " ",
          corners.north_west, " ", corners.north_east, "\n");
}

double DEM_DOCUMENT::GetElevationNearest(double longitude_deg, double latitude_deg) {
  int i = NearestIndex((longitude_deg - lon_offset_deg_) / lon_res_deg_);
  int j = NearestIndex((latitude_deg - lat_offset_deg_) / lat_res_deg_);
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

void DEM_DOCUMENT::FailNoSubdocument(int lon_index, int lat_index) const {
  LogLine(LogLevel::kDebug, "Could not allocate location lat=", lat_index, ", lon=", lon_index,
          IsFast() ? " in subdocument (fastmode)\n" : " in subdocument\n");
  throw ERROR_NO_SUBDOC();
}

int DEM_DOCUMENT::SelectSubdocument(int lon_index, int lat_index) {
  const int file = TileHolding(lon_index, lat_index);
  if (file < 0) FailNoSubdocument(lon_index, lat_index);
  if (file != current_.file) OpenTile(file);
  return file;
}

void DEM_DOCUMENT::OpenTile(int file) {
  current_ = CurrentTile();
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
  if (IsFast()) return LoadAs<std::int16_t>(mapped_base_ + offset);
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
