// Measures terrain heights at random points of a mapped tile. The floor is the same bilinear
// formula, written by hand on the mapping for one layout and without any check.
#include <benchmark/benchmark.h>
#include <fcntl.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "bench/hills.h"
#include "dem/height_reader.h"
#include "dem/srf_document.h"

namespace {

using quellmark::bench::HillTile;

constexpr int kSize = HillTile::kSize;
constexpr int kWest = HillTile::kWest;
constexpr int kSouth = HillTile::kSouth;
constexpr double kStep_deg = HillTile::kStep_deg;
constexpr std::size_t kHeaderBytes = 32;

struct Point {
  double longitude_deg;
  double latitude_deg;
};

std::vector<Point> RandomPoints() {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  std::vector<Point> points(1 << 16);
  for (Point& point : points) point = {9.0 + unit(random), 45.0 + unit(random)};
  return points;
}

void BM_HandWrittenBilinear(benchmark::State& state) {
  const HillTile tile;
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
  const HillTile tile;
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

// Measures the reader that the threads of a whole image use. It neither logs nor throws.
void BM_HeightReader(benchmark::State& state) {
  const HillTile tile;
  const quellmark::dem::HeightReader reader(SRF_DOCUMENT(tile.Descriptor(), false));
  const std::vector<Point> points = RandomPoints();
  std::size_t n = 0;
  for (auto _ : state) {
    const Point& point = points[n++ % points.size()];
    benchmark::DoNotOptimize(reader.At(point.longitude_deg, point.latitude_deg));
  }
}
BENCHMARK(BM_HeightReader);

}  // namespace
