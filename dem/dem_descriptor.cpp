#include "dem/dem_descriptor.h"

#include <unistd.h>

#include <array>
#include <string>

#include "basic/errors.h"
#include "dem/grid.h"
#include "pool/parameter_pool.h"
#include "runtime/log.h"

using namespace quellmark::dem;

namespace {

using quellmark::pool::ValueType;
using quellmark::runtime::Fail;

// A path without "/" is in the working directory. If the name of the working directory cannot be
// found, "./" is returned.
STRING DirectoryOf(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  if (slash != std::string_view::npos) return STRING(path.substr(0, slash + 1));
  std::array<char, 1024> working_directory;
  if (::getcwd(working_directory.data(), working_directory.size()) == nullptr) return "./";
  return STRING(std::string(working_directory.data()) + "/");
}

ARRAY<STRING> ReadFileNames(PARAMETER_POOL& pool) {
  const short count = pool.Read<ValueType::kInt16>("dem_files");
  if (count < 0) Fail<ERROR_DESCRIPTOR_VALUE>("DEM descriptor: dem_files is ", count, "\n");
  ARRAY<STRING> names(RANGE<int>(0, count));
  for (int file = 0; file < count; ++file) {
    names[file] = pool.Read<ValueType::kStr>("dem_fname" + std::to_string(file));
  }
  return names;
}

TileAnnotation ReadAnnotation(PARAMETER_POOL& pool) {
  const STRING text = pool.Read<ValueType::kStr>("dem_tile_annotation");
  if (text == "PIXEL_EDGE") return TileAnnotation::kPixelEdge;
  if (text == "PIXEL_CENTRE") return TileAnnotation::kPixelCentre;
  Fail<ERROR_DESCRIPTOR_VALUE>("DEM descriptor: dem_tile_annotation is ", text, "\n");
}

// The file has arc seconds; the result is in degrees.
double ReadResolution(PARAMETER_POOL& pool, const char* key) {
  constexpr double kArcSecondsPerDegree = 3600.0;
  if (!pool.Has(key)) Fail<ERROR_DESCRIPTOR_VALUE>("DEM descriptor: no ", key, "\n");
  return pool.Read<ValueType::kFlt15>(key) / kArcSecondsPerDegree;
}

// Reads in the order of the format's table, so that the first fault in this order is reported.
DEM_DESCRIPTOR ReadKeys(PARAMETER_POOL& pool) {
  DEM_DESCRIPTOR d;
  d.file_names = ReadFileNames(pool);
  d.type = pool.Read<ValueType::kInt16>("dem_type");
  d.has_header = pool.Read<ValueType::kBol>("dem_header");
  d.value_type = pool.Read<ValueType::kInt16>("dem_value_type");
  d.line_wise = pool.Read<ValueType::kBol>("dem_line_wise");
  d.record_header = pool.Read<ValueType::kInt32>("dem_record_header");
  d.y_origin_north = pool.Read<ValueType::kBol>("dem_y_origin_north");
  d.annotation = ReadAnnotation(pool);
  if (pool.Has("dem_first_offset")) {
    d.first_offset = pool.Read<ValueType::kInt32>("dem_first_offset");
  }
  if (pool.Has("dem_upper_left")) {
    d.upper_left = pool.Read<ValueType::kInt32Int32V>("dem_upper_left");
  }
  if (pool.Has("dem_lower_right")) {
    d.lower_right = pool.Read<ValueType::kInt32Int32V>("dem_lower_right");
  }
  if (pool.Has("dem_special_coding")) {
    d.special_coding = pool.Read<ValueType::kInt32>("dem_special_coding");
  }
  d.lon_res_deg = ReadResolution(pool, "dem_lon_res");
  d.lat_res_deg = ReadResolution(pool, "dem_lat_res");
  return d;
}

void CheckResolution(const char* key, double full_deg, double resolution_deg) {
  if (!ResolutionIsUsable(full_deg, resolution_deg)) {
    Fail<ERROR_DESCRIPTOR_VALUE>("DEM descriptor: ", key, " makes no grid of ", full_deg,
                                 " degrees with steps of ", resolution_deg, " degrees\n");
  }
}

void CheckCorners(const char* key, const ARRAY<TUPLE<int>>& corners, int file_count) {
  const bool whole_grid = corners.Length() == 0 && file_count == 1;
  if (corners.Length() < file_count && !whole_grid) {
    Fail<ERROR_DESCRIPTOR_VALUE>("DEM descriptor: ", key, " has ", corners.Length(),
                                 " corners for ", file_count, " files\n");
  }
}

}  // namespace

DEM_DESCRIPTOR DEM_DESCRIPTOR::ReadFromFile(const STRING& path) {
  PARAMETER_POOL pool;
  static_cast<void>(pool.Open(path.Text()));
  return ReadFromPool(pool);
}

DEM_DESCRIPTOR DEM_DESCRIPTOR::ReadFromPool(PARAMETER_POOL& pool) {
  DEM_DESCRIPTOR descriptor;
  try {
    const quellmark::pool::DoubleKeyCheck check(pool);
    descriptor = ReadKeys(pool);
  } catch (const ERROR_PARAMETER_POOL&) {  // its line is in the log already
    throw ERROR_DESCRIPTOR_VALUE();
  }
  descriptor.directory = DirectoryOf(pool.Path());
  descriptor.Check();
  return descriptor;
}

void DEM_DESCRIPTOR::Check() const {
  CheckResolution("dem_lon_res", 360.0, lon_res_deg);
  CheckResolution("dem_lat_res", 180.0, lat_res_deg);
  CheckCorners("dem_upper_left", upper_left, FileCount());
  CheckCorners("dem_lower_right", lower_right, FileCount());
}
