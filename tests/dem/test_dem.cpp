#include "tests/dem/test_dem.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <regex>

namespace quellmark::test {

namespace {

int ValueBytes(const TestDem& dem) { return dem.value_type == 2 ? 2 : 4; }

// The table of docs/dem-format.md, repeated here on purpose.
long OffsetInGrid(const TestDem& dem, long columns, long rows, long c, long r) {
  const long s = ValueBytes(dem);
  const long h = dem.record_header;
  if (dem.line_wise && !dem.north_first) return (columns * r + c) * s + (r + 1) * h;
  if (dem.line_wise) return (columns * (rows - 1 - r) + c) * s + (rows - 1 - r) * h;
  if (!dem.north_first) return (rows * c + r) * s + (c + 1) * h;
  return (rows * (c + 1) - r) * s + (c + 1) * h;
}

template <class T>
void Put(std::string& bytes, std::size_t offset, T value) {
  if (bytes.size() < offset + sizeof value) bytes.resize(offset + sizeof value, '\x55');
  std::memcpy(bytes.data() + offset, &value, sizeof value);
}

}  // namespace

int TestDem::Columns(const TestTile& tile) const {
  return tile.east + 1 - tile.west + (tile.east < tile.west ? LonCount() : 0);
}

int TerrainAt(int lon_index, int lat_index) {
  const int x = std::abs(lon_index) % 1009;
  const int y = std::abs(lat_index) % 997;
  return (x * 7 + y * 13) % 5 - (x * y) % 7 + (lon_index < 0 ? -2 : 1);
}

double TerrainHeight(const TestDem& dem, double longitude_deg, double latitude_deg) {
  const long double step = static_cast<long double>(dem.resolution_arcsec) / 3600;
  const long double shift = dem.annotation == "PIXEL_EDGE" ? 0.5L : 0.0L;
  const long double u = static_cast<long double>(longitude_deg) / step - shift;
  const long double lat_step = static_cast<long double>(dem.lat_resolution_arcsec) / 3600;
  const long double v = static_cast<long double>(latitude_deg) / lat_step - shift;
  const long i = static_cast<long>(std::floor(u));
  const long j = static_cast<long>(std::floor(v));
  const long count = dem.LonCount();
  long double height = 0;
  for (const long x : {i, i + 1}) {
    for (const long y : {j, j + 1}) {
      // Longitude indices wrap around.
      const long wrapped = ((x + count / 2) % count + count) % count - count / 2;
      const long double weight = (1 - std::abs(u - static_cast<long double>(x))) *
                                 (1 - std::abs(v - static_cast<long double>(y)));
      height += weight * dem.terrain(static_cast<int>(wrapped), static_cast<int>(y));
    }
  }
  return static_cast<double>(height);
}

std::string SrfHeaderBytes(std::uint32_t width, std::uint32_t height, std::uint32_t type,
                           std::uint32_t colormap_length, std::uint32_t magic) {
  std::string bytes;
  for (const std::uint32_t word :
       {magic, width, height, 16U, 2 * width * height, type, 0U, colormap_length}) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(word >> shift);
  }
  return bytes;
}

std::string TileBytes(const TestDem& dem, const TestTile& tile,
                      const std::vector<std::pair<int, int>>& missing) {
  const int columns = dem.Columns(tile);
  const int rows = tile.north + 1 - tile.south;
  std::string bytes =
      SrfHeaderBytes(static_cast<std::uint32_t>(columns), static_cast<std::uint32_t>(rows),
                     dem.value_type == 5 ? 99 : 1, dem.colormap_length);
  bytes.resize(dem.has_header ? bytes.size() + dem.colormap_length : TestDem::kRawOffset, '\x33');
  const std::size_t start = bytes.size();
  bytes.resize(start + static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) * 2);
  for (int c = 0; c < columns; ++c) {
    for (int r = 0; r < rows; ++r) {
      int x = tile.west + c;
      if (tile.east < tile.west && x >= dem.LonCount() / 2) x -= dem.LonCount();
      const int y = tile.south + r;
      const bool is_missing = std::count(missing.begin(), missing.end(), std::pair(x, y)) > 0;
      const int value = is_missing ? dem.special_coding.value() : dem.terrain(x, y);
      const auto at = start + static_cast<std::size_t>(OffsetInGrid(dem, columns, rows, c, r));
      if (dem.value_type == 2) Put(bytes, at, static_cast<std::int16_t>(value));
      if (dem.value_type == 3) Put(bytes, at, static_cast<std::int32_t>(value));
      if (dem.value_type == 5) Put(bytes, at, static_cast<float>(value));
    }
  }
  return bytes;
}

std::string DescriptorText(const TestDem& dem) {
  const auto corners = [&](const char* key, int TestTile::*x, int TestTile::*y) {
    // A corner vector may start at any index, here 3.
    std::string text = key + (" INT_32_INT_32_V 3 " + std::to_string(dem.tiles.size())) + "\n  {\n";
    for (const TestTile& tile : dem.tiles) {
      text += "    " + std::to_string(tile.*x) + "\t" + std::to_string(tile.*y) + "\n";
    }
    return text + "  }\n";
  };
  const auto boolean = [](bool value) { return value ? " BOL TRUE\n" : " BOL FALSE\n"; };
  const auto resolution = [](double arcsec) { return " FLT_15 " + std::to_string(arcsec) + "\n"; };
  std::string text = "dem_files INT_16 " + std::to_string(dem.tiles.size()) + "\n";
  for (std::size_t k = 0; k < dem.tiles.size(); ++k) {
    text += "dem_fname" + std::to_string(k) + " STR \"tile" + std::to_string(k) + ".srf\"\n";
  }
  if (!dem.has_header) text += "dem_first_offset INT_32 " + std::to_string(dem.kRawOffset) + "\n";
  if (dem.special_coding) {
    text += "dem_special_coding INT_32 " + std::to_string(*dem.special_coding) + "\n";
  }
  return text + "dem_type INT_16 2\ndem_header" + boolean(dem.has_header) +
         "dem_value_type INT_16 " + std::to_string(dem.value_type) + "\ndem_line_wise" +
         boolean(dem.line_wise) + "dem_record_header INT_32 " + std::to_string(dem.record_header) +
         "\ndem_y_origin_north" + boolean(dem.north_first) + "dem_tile_annotation STR \"" +
         dem.annotation + "\"\ndem_lon_res" + resolution(dem.resolution_arcsec) + "dem_lat_res" +
         resolution(dem.lat_resolution_arcsec) +
         corners("dem_upper_left", &TestTile::west, &TestTile::north) +
         corners("dem_lower_right", &TestTile::east, &TestTile::south);
}

std::string WriteDem(const TempDir& directory, const TestDem& dem,
                     const std::vector<std::pair<int, int>>& missing) {
  for (std::size_t k = 0; k < dem.tiles.size(); ++k) {
    WriteFile(directory / ("tile" + std::to_string(k) + ".srf"),
              TileBytes(dem, dem.tiles[k], missing));
  }
  WriteFile(directory / "dem.pool", DescriptorText(dem));
  return directory / "dem.pool";
}

std::string WithLine(const std::string& text, const std::string& key, const std::string& line) {
  const std::regex entry(key + " [^\n]*\n( [^\n]*\n)*");
  return std::regex_replace(text, entry, line.empty() ? "" : line + "\n");
}

}  // namespace quellmark::test
