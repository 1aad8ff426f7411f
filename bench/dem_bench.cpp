// Terrain heights at random points of a mapped tile, beside the least that such a read can cost:
// the same bilinear formula written by hand on the mapping, for one layout and without any check.
#include <benchmark/benchmark.h>
#include <fcntl.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "dem/srf_document.h"

namespace {

constexpr int kSize = 1201;      // values along each side of the tile
constexpr int kWest = 9 * 1200;  // global indices of its south-west value: 9 E, 45 N
constexpr int kSouth = 45 * 1200;
constexpr double kStep_deg = 1.0 / 1200.0;
constexpr std::size_t kHeaderBytes = 32;

struct Point {
  double longitude_deg;
  double latitude_deg;
};

// A tile of 1201 x 1201 values, rows from north to south, in a directory of its own.
class Tile {
 public:
  Tile() {
    std::filesystem::create_directories(directory_);
    std::ofstream file(directory_ / "tile.srf", std::ios::binary);
    for (const std::uint32_t word : {0x59A66A95U, 1201U, 1201U, 16U, 2884802U, 1U, 0U, 0U}) {
      for (int shift = 24; shift >= 0; shift -= 8) file.put(static_cast<char>(word >> shift));
    }
    std::mt19937 random(7);
    std::uniform_int_distribution<int> height(0, 4000);
    for (int n = 0; n < kSize * kSize; ++n) {
      const auto value = static_cast<std::int16_t>(height(random));
      file.write(reinterpret_cast<const char*>(&value), sizeof value);
    }
  }
  Tile(const Tile&) = delete;
  Tile& operator=(const Tile&) = delete;
  ~Tile() {
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }

  [[nodiscard]] std::string Path() const { return directory_ / "tile.srf"; }

  [[nodiscard]] DEM_DESCRIPTOR Descriptor() const {
    DEM_DESCRIPTOR d;
    d.directory = STRING(directory_.string() + "/");
    d.file_names = ARRAY<STRING>(0, {"tile.srf"});
    d.has_header = true;
    d.value_type = 2;
    d.y_origin_north = true;
    d.upper_left = ARRAY<TUPLE<int>>(0, {{kWest, kSouth + kSize - 1}});
    d.lower_right = ARRAY<TUPLE<int>>(0, {{kWest + kSize - 1, kSouth}});
    d.special_coding = -32767;
    d.lon_res_deg = d.lat_res_deg = kStep_deg;
    return d;
  }

 private:
  std::filesystem::path directory_ =
      std::filesystem::temp_directory_path() / ("dem_bench." + std::to_string(::getpid()));
};

std::vector<Point> RandomPoints() {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  std::vector<Point> points(1 << 16);
  for (Point& point : points) point = {9.0 + unit(random), 45.0 + unit(random)};
  return points;
}

void BM_HandWrittenBilinear(benchmark::State& state) {
  const Tile tile;
  MEM_MGR mapping;
  mapping.MapSrf(tile.Path(), O_RDONLY);
  const unsigned char* data = mapping.FileBase() + kHeaderBytes;
  const auto value = [&](int column, int row) {
    std::int16_t height;
    std::memcpy(&height, data + 2 * (static_cast<long>(row) * kSize + column), sizeof height);
    return static_cast<double>(height);
  };
  const std::vector<Point> points = RandomPoints();
  std::size_t n = 0;
  for (auto _ : state) {
    const Point& point = points[n++ % points.size()];
    const double u = point.longitude_deg / kStep_deg - kWest;
    const double v = kSouth + kSize - 1 - point.latitude_deg / kStep_deg;
    const int column = static_cast<int>(u);
    const int row = static_cast<int>(v);
    const double east = u - column;
    const double south = v - row;
    const double upper = value(column, row) * (1.0 - east) + value(column + 1, row) * east;
    const double lower = value(column, row + 1) * (1.0 - east) + value(column + 1, row + 1) * east;
    benchmark::DoNotOptimize(upper * (1.0 - south) + lower * south);
  }
}
BENCHMARK(BM_HandWrittenBilinear);

void BM_Interpolated(benchmark::State& state) {
  const Tile tile;
  const bool fast = state.range(0) != 0;
  SRF_DOCUMENT document(tile.Descriptor(), fast);
  const std::vector<Point> points = RandomPoints();
  std::size_t n = 0;
  for (auto _ : state) {
    const Point& point = points[n++ % points.size()];
    benchmark::DoNotOptimize(
        document.GetElevationInterpolated(point.longitude_deg, point.latitude_deg));
  }
}
BENCHMARK(BM_Interpolated)->ArgName("fast")->Arg(1)->Arg(0);

}  // namespace
