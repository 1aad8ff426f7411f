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
#include <utility>

#include "basic/errors.h"
#include "dem/pixel_type.h"
#include "dem/raster_file.h"
#include "runtime/log.h"

using namespace quellmark::dem;

namespace {

using quellmark::runtime::Fail;
using quellmark::runtime::LogLevel;
using quellmark::runtime::LogLine;

int NearestIndex(double value) { return FloorIndex(std::rint(value)); }

double LoadValue(const unsigned char* bytes, short value_type) {
  switch (value_type) {
    case kPixelInt2:
      return LoadAs<std::int16_t>(bytes);
    case kPixelInt4:
      return LoadAs<std::int32_t>(bytes);
    case kPixelFloat4:
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
  if (value_type == kPixelInt2) return HexAs<std::int16_t>(value);
  if (value_type == kPixelInt4) return HexAs<std::int32_t>(value);
  return HexAs<float>(value);
}

int ValueBytesOf(short value_type) {
  const PixelType* type = FindPixelType(value_type);
  if (type == nullptr) {
    Fail<ERROR_NOT_SUPPORTED_PIXEL_TYPE>("DEM_DOCUMENT: value type ", value_type,
                                         " is not supported\n");
  }
  return type->size_bytes;
}

// Prints enough digits to read back the same double.
std::string Digits(double value) {
  std::array<char, 32> text;
  std::snprintf(text.data(), text.size(), "%.17g", value);
  return text.data();
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
    : descriptor_(descriptor),
      storage_{.line_wise = descriptor.line_wise,
               .y_origin_north = descriptor.y_origin_north,
               .value_bytes = ValueBytesOf(descriptor.value_type),
               .record_header_bytes = descriptor.record_header} {
  descriptor_.Check();
  grid_.lon_res_deg = descriptor_.lon_res_deg;
  grid_.lat_res_deg = descriptor_.lat_res_deg;
  if (descriptor_.annotation == TileAnnotation::kPixelEdge) {
    grid_.lon_offset_deg = grid_.lon_res_deg * 0.5;
    grid_.lat_offset_deg = grid_.lat_res_deg * 0.5;
  }
  grid_.lon = BoundsOf(360.0, grid_.lon_res_deg);
  grid_.lat = BoundsOf(180.0, grid_.lat_res_deg);
  if (descriptor_.special_coding) {
    missing_value_ = missing_int2_ = *descriptor_.special_coding;
    if (descriptor_.value_type == kPixelFloat4) {  // a file of floats has the rounded value
      missing_value_ = static_cast<double>(static_cast<float>(missing_value_));
    }
  }
  PlaceTiles();
  SetDescriptor(fast);
}

DEM_DOCUMENT::~DEM_DOCUMENT() = default;

void DEM_DOCUMENT::PlaceTiles() {
  // Check() guarantees that only a single file may lack corners; it then holds the whole grid.
  const auto corner = [](const ARRAY<TUPLE<int>>& corners, int file, const TUPLE<int>& otherwise) {
    return corners.Length() == 0 ? otherwise : corners[corners.First() + file];
  };
  tiles_.reserve(static_cast<std::size_t>(descriptor_.FileCount()));
  for (int file = 0; file < descriptor_.FileCount(); ++file) {
    const TUPLE<int> upper_left =
        corner(descriptor_.upper_left, file, {grid_.lon.min, grid_.lat.max});
    const TUPLE<int> lower_right =
        corner(descriptor_.lower_right, file, {grid_.lon.max, grid_.lat.min});
    const TileExtent extent =
        TileExtent::Between(upper_left.First(), upper_left.Second(), lower_right.First(),
                            lower_right.Second(), grid_.lon_res_deg);
    if (!DimensionsAreUsable(extent, storage_)) {
      Fail<ERROR_DESCRIPTOR_VALUE>("DEM_DOCUMENT: the corners of file ", file, " make a tile of ",
                                   extent.columns, " x ", extent.rows, " values\n");
    }
    tiles_.push_back({extent, OffsetsOf(extent, storage_)});
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
  if (descriptor_.type != kDocumentSrf) {
    LogLine(LogLevel::kWarning,
            "DEM_DOCUMENT::CheckDescriptor: Non SRF DEM. Memmory mapping not implemented yet. "
            "Please turn off multithreading if on.\n");
    return false;
  }
  if (descriptor_.value_type != kPixelInt2) {
    LogLine(LogLevel::kWarning,
            "DEM_DOCUMENT::CheckDescriptor: Non INT_2 DEM. Memmory mapping not implemented yet. "
            "Please turn off multithreading if on.\n");
    return false;
  }
  return true;
}

void DEM_DOCUMENT::SetDescriptor(bool fast) {
  mapped_ = MappedTile();
  mapping_.reset();
  if (!CheckDescriptor(fast)) return;
  const std::string path = PathOf(0);
  LogLine(LogLevel::kInfo, "DEM_DOCUMENT::SetDescriptor: Mapping file ", path, "\n");
  mapping_ = std::make_shared<MEM_MGR>();
  mapping_->MapSrf(path, O_RDONLY, descriptor_.value_type);
}

void DEM_DOCUMENT::EnableFastMode() {
  if (!mapping_) return;
  MappedTile tile(std::exchange(mapping_, nullptr), tiles_.front(), storage_,
                  descriptor_.first_offset, grid_);
  if (tile.IsWhole()) {
    mapped_ = std::move(tile);
    return;
  }
  LogLine(LogLevel::kWarning, "DEM_DOCUMENT::SetDescriptor: ", PathOf(0),
          " ends before its last grid value. Memory mapping not possible. Please turn off "
          "multithreading if on.\n");
}

std::string DEM_DOCUMENT::PathOf(int file) const {
  std::string path(descriptor_.directory.View());
  path += descriptor_.file_names[descriptor_.file_names.First() + file].View();
  return path;
}

CellPoint DEM_DOCUMENT::PlaceInCell(double x, double y) const {
  const CellPoint point = grid_.Place(x, y);
  if (point.at_pole) LogLine(LogLevel::kWarning, "pole grid cell: no interpolation\n");
  return point;
}

GridCell DEM_DOCUMENT::CellOf(double longitude_deg, double latitude_deg) const {
  return PlaceInCell(grid_.X(longitude_deg), grid_.Y(latitude_deg)).cell;
}

// Nearly all look-ups in fast mode end here. Special points, NaN included, go the general way.
double DEM_DOCUMENT::GetElevationInterpolated(double longitude_deg, double latitude_deg) {
  double height_m = 0.0;
  if (mapped_.Interpolate<std::int16_t>(grid_.X(longitude_deg), grid_.Y(latitude_deg),
                                        missing_int2_, height_m)) {
    return height_m;
  }
  return InterpolateAt(longitude_deg, latitude_deg);
}

double DEM_DOCUMENT::InterpolateAt(double longitude_deg, double latitude_deg) {
  const CellPoint point = PlaceInCell(grid_.X(longitude_deg), grid_.Y(latitude_deg));
  const GridCell& cell = point.cell;
  const CornerValues corners = {DEM_DOCUMENT::GetGridValue(cell.west, cell.south),
                                DEM_DOCUMENT::GetGridValue(cell.east, cell.south),
                                DEM_DOCUMENT::GetGridValue(cell.west, cell.north),
                                DEM_DOCUMENT::GetGridValue(cell.east, cell.north)};
  const auto height_m = InterpolateCell(point, corners, missing_value_);
  if (height_m) return *height_m;
  LogLine(LogLevel::kException,
          "GetElevationInterpolated: Fatal DEM interpolation error for lat=", Digits(latitude_deg),
          " lon=", Digits(longitude_deg), "\n");
  DumpMissingCell(cell, corners);
  throw ERROR_SPECIAL_CODING_INTERPOLATION();
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
  LogLine(LogLevel::kDebug, "special_coding=", Digits(missing_value_), "\n");
  LogLine(LogLevel::kDebug, "DEM values are=", Digits(corners[0]), " ", Digits(corners[1]), " ",
          Digits(corners[2]), " ", Digits(corners[3]), "\n");
}

double DEM_DOCUMENT::GetElevationNearest(double longitude_deg, double latitude_deg) {
  int i = NearestIndex(grid_.X(longitude_deg));
  int j = NearestIndex(grid_.Y(latitude_deg));
  if (i > grid_.lon.max) {
    i = grid_.lon.min;
  } else if (i < grid_.lon.min) {
    i = grid_.lon.max;
  }
  if (j > grid_.lat.max) {
    --j;
  } else if (j < grid_.lat.min) {
    ++j;
  }
  return DEM_DOCUMENT::GetGridValue(i, j);
}

double DEM_DOCUMENT::GetGridValue(int lon_index, int lat_index) {
  const int file = SelectSubdocument(lon_index, lat_index);
  return ReadValue(FileOffsetOf(file, LocalIndexOf(file, lon_index, lat_index)));
}

int DEM_DOCUMENT::TileHolding(int lon_index, int lat_index) const {
  const auto found = std::find_if(tiles_.begin(), tiles_.end(), [&](const TilePlace& tile) {
    return tile.extent.Contains(lon_index, lat_index);
  });
  return found == tiles_.end() ? -1 : static_cast<int>(found - tiles_.begin());
}

int DEM_DOCUMENT::SelectSubdocument(int lon_index, int lat_index) {
  const int file = TileHolding(lon_index, lat_index);
  // In fast mode the document must not change, because other threads may be reading.
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
  quellmark::basic::UniqueFd fd = OpenRaster(path, O_RDONLY);
  if (!fd.IsOpen()) {
    const int error = errno;
    Fail<ERROR_CANNOT_OPEN_SUBDOC>("DEM_DOCUMENT: can not open ", path, ": ",
                                   std::generic_category().message(error), "\n");
  }
  const auto size = RegularFileSize(fd.Get());
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
  if (IsFast()) return LoadAs<std::int16_t>(mapped_.FileBase() + offset);
  if (offset > current_.size_bytes - storage_.value_bytes)
    FailTooLarge(offset, current_.size_bytes);
  if (::lseek(current_.fd.Get(), offset, SEEK_SET) < 0) FailSeek(offset);
  std::array<unsigned char, 4> bytes;
  const auto wanted = static_cast<std::size_t>(storage_.value_bytes);
  if (::read(current_.fd.Get(), bytes.data(), wanted) != storage_.value_bytes) {
    Fail<ERROR_CANNOT_READ_SUBDOC>("DEM_DOCUMENT: can not read ", PathOf(current_.file),
                                   " at offset ", offset, "\n");
  }
  return LoadValue(bytes.data(), descriptor_.value_type);
}
