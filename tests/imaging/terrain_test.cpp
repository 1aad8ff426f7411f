// Compares meeting points with the terrain with dense searches, and with places on the terrain.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "basic/errors.h"
#include "dem/height_reader.h"
#include "dem/srf_document.h"
#include "imaging/terrain_grid.h"
#include "tests/dem/test_dem.h"
#include "tests/geolocation/geometry.h"
#include "tests/imaging/many_points.h"
#include "tests/support/files.h"
#include "tests/support/scoped_log.h"

namespace quellmark::test {
namespace {

using imaging::GridLayout;
using imaging::PointStatus;
using imaging::TerrainGrid;

constexpr double kStep_deg = 1.0 / 3600.0;
constexpr float kVoid = std::numeric_limits<float>::quiet_NaN();

TerrainGrid MakeGrid(double west, double south, std::size_t size,
                     const std::function<double(double, double)>& height) {
  std::vector<float> heights;
  for (std::size_t j = 0; j < size; ++j) {
    for (std::size_t i = 0; i < size; ++i) {
      heights.push_back(static_cast<float>(height(static_cast<double>(i), static_cast<double>(j))));
    }
  }
  return {{.west_deg = west,
           .south_deg = south,
           .longitude_step_deg = kStep_deg,
           .latitude_step_deg = kStep_deg,
           .columns = size,
           .rows = size},
          std::move(heights)};
}

double Hills(double i, double j, double relief, double length) {
  return 800.0 + relief * (std::sin(i * 6.2832 / length) * std::cos(j * 6.2832 / length * 0.9) +
                           0.3 * std::sin(i * 0.7 + 1.0) * std::sin(j * 0.9));
}

struct Place {
  double longitude, latitude;
};

// The place in the middle of the image at about the terrain's height.
Place MiddleOf(const View& view) {
  Ground middle(1);
  const std::vector<double> sample = {150.0}, line = {0.0};
  LocateOnGround(view.image, {sample, line}, {.constant_m = 700.0, .per_point_m = {}},
                 middle.Outputs());
  return {middle.longitude[0], middle.latitude[0]};
}

struct Meeting {
  double height = 0.0;
  int count = 0;       // number of meeting points
  bool clear = false;  // false if the ray nearly touches the terrain: steps might miss that
};

// Tries all heights from top to bottom in small steps, by the routine that takes a height for each
// point.
Meeting SearchDensely(const View& view, const TerrainGrid& grid, double sample, double line) {
  constexpr double kStep_m = 0.5;
  const auto [low, high] = grid.Range();
  std::vector<double> heights;
  for (double h = static_cast<double>(high) + 1.0; h > static_cast<double>(low) - 1.0;
       h -= kStep_m) {
    heights.push_back(h);
  }
  const std::vector<double> samples(heights.size(), sample), lines(heights.size(), line);
  Ground ground(heights.size());
  LocateOnGround(view.image, {samples, lines}, {.per_point_m = heights}, ground.Outputs());
  Meeting meeting;
  meeting.clear = true;
  double before = 1.0, before_that = 1.0;
  for (std::size_t i = 0; i < heights.size(); ++i) {
    const double difference = heights[i] - grid.HeightAt(ground.longitude[i], ground.latitude[i]);
    if (std::isnan(difference)) continue;
    const bool is_turn = (before - before_that) * (difference - before) < 0.0;
    if (is_turn && std::abs(before) < 2.0) meeting.clear = false;
    if (difference * before < 0.0 && meeting.count++ == 0) {
      meeting.height = heights[i] + kStep_m * difference / (difference - before);
    }
    before_that = before;
    before = difference;
  }
  return meeting;
}

struct Case {
  const char* name;
  double incidence, relief, length;
  int least_layover;  // of 400 points, to show that the case has layover
};

TEST(Terrain, TheHighestMeetingPointIsFound) {
  constexpr Case kCases[] = {{"smooth", 38.0, 100.0, 150.0, 0},
                             {"steep", 38.0, 500.0, 100.0, 20},
                             {"overfolded", 25.0, 900.0, 60.0, 200},
                             {"shallow view", 70.0, 600.0, 60.0, 0}};
  for (const Case& c : kCases) {
    for (const auto side : {imaging::LookSide::kRight, imaging::LookSide::kLeft}) {
      SCOPED_TRACE(c.name);
      const View view(10.0, 46.0, 77.0, c.incidence, side);
      const Place middle = MiddleOf(view);
      const double west = middle.longitude - 300 * kStep_deg;
      const double south = middle.latitude - 300 * kStep_deg;
      const TerrainGrid grid = MakeGrid(
          west, south, 601, [&c](double i, double j) { return Hills(i, j, c.relief, c.length); });
      std::mt19937_64 random(3);
      std::vector<double> sample(400), line(400);
      for (double& s : sample) s = std::uniform_real_distribution(100.0, 200.0)(random);
      for (double& l : line) l = std::uniform_real_distribution(-300.0, 300.0)(random);
      Ground ground(sample.size());
      LocateOnGround(view.image, {sample, line}, {.per_point_m = {}, .terrain = &grid},
                     ground.Outputs());
      int layovers = 0;
      for (std::size_t k = 0; k < sample.size(); ++k) {
        SCOPED_TRACE(k);
        const double terrain = grid.HeightAt(ground.longitude[k], ground.latitude[k]);
        ASSERT_LE(std::abs(ground.height[k] - terrain), 1e-3);
        const Meeting meeting = SearchDensely(view, grid, sample[k], line[k]);
        if (!meeting.clear) continue;
        ASSERT_NEAR(ground.height[k], meeting.height, 0.1);
        ASSERT_EQ(ground.status[k],
                  meeting.count > 1 ? PointStatus::kLayover : PointStatus::kFound);
        layovers += meeting.count > 1 ? 1 : 0;
      }
      EXPECT_GE(layovers, c.least_layover);
    }
  }
}

// Places on the terrain are located in the image and on the ground again. The result is the same
// place, or in layover a higher one.
TEST(Terrain, PlacesOnTheTerrainComeBack) {
  const View view(10.0, 46.0, 77.0, 38.0);
  const Place middle = MiddleOf(view);
  const TerrainGrid grid = MakeGrid(middle.longitude - 0.1, middle.latitude - 0.1, 721,
                                    [](double i, double j) { return Hills(i, j, 120.0, 120.0); });
  std::mt19937_64 random(8);
  std::vector<double> longitude(3000), latitude(3000), height(3000);
  for (std::size_t i = 0; i < longitude.size(); ++i) {
    longitude[i] = middle.longitude + std::uniform_real_distribution(-0.03, 0.03)(random);
    latitude[i] = middle.latitude + std::uniform_real_distribution(-0.03, 0.03)(random);
    height[i] = grid.HeightAt(longitude[i], latitude[i]);
  }
  InImage in(longitude.size());
  LocateInImage(view.image, {longitude, latitude, height}, in.Outputs());
  Ground expected(longitude.size());
  int came_back = 0;
  for (const auto set : {imaging::InstructionSet::kBaseline, imaging::InstructionSet::kBest}) {
    Ground ground(longitude.size());
    LocateOnGround(view.image, {in.sample, in.line}, {.per_point_m = {}, .terrain = &grid},
                   ground.Outputs(), {.threads = 2, .instruction_set = set, .progress = {}});
    for (std::size_t i = 0; i < longitude.size(); ++i) {
      SCOPED_TRACE(i);
      ASSERT_TRUE(IsAnswer(ground.status[i]));
      ASSERT_GE(ground.height[i], height[i] - 1e-3);
      if (ground.status[i] == PointStatus::kLayover) continue;
      ASSERT_NEAR(ground.height[i], height[i], 1e-3);
      ++came_back;
    }
    if (set == imaging::InstructionSet::kBaseline) {
      expected = ground;
    } else {
      EXPECT_TRUE(expected == ground);
    }
  }
  EXPECT_GE(came_back, 2000);
}

// Flat ground with a void and an edge. Points in the void or beyond the edge must be
// reported and located at the local height.
TEST(Terrain, VoidsAndEdges) {
  View view(10.0, 46.0, 77.0, 38.0);
  view.image.local_height_m = 123.0;
  const Place middle = MiddleOf(view);
  const TerrainGrid grid = MakeGrid(
      middle.longitude - 100 * kStep_deg, middle.latitude - 100 * kStep_deg, 201,
      [](double i, double) { return static_cast<double>(i > 60.0 && i < 90.0 ? kVoid : 500.0F); });
  std::vector<double> sample, line;
  for (int i = 0; i < 600; ++i) {
    sample.push_back(150.0 - 300.0 + 1.0 * i);
    line.push_back(0.0);
  }
  Ground ground(sample.size()), flat(sample.size());
  LocateOnGround(view.image, {sample, line}, {.per_point_m = {}, .terrain = &grid},
                 ground.Outputs());
  LocateOnGround(view.image, {sample, line}, {.constant_m = 500.0, .per_point_m = {}},
                 flat.Outputs());
  int found = 0, lost = 0;
  for (std::size_t i = 0; i < sample.size(); ++i) {
    SCOPED_TRACE(i);
    const double terrain = grid.HeightAt(flat.longitude[i], flat.latitude[i]);
    const bool has_terrain = terrain == terrain;
    ASSERT_EQ(ground.status[i], has_terrain ? PointStatus::kFound : PointStatus::kNoTerrain);
    ASSERT_NEAR(ground.height[i], has_terrain ? 500.0 : 123.0, has_terrain ? 1e-5 : 0.0);
    ++(has_terrain ? found : lost);
  }
  EXPECT_GE(found, 50);
  EXPECT_GE(lost, 50);
}

// Reads a part of a DEM with several files, a gap between two of them and a missing value.
TEST(Terrain, ReadsTilesOfADem) {
  const ScopedLog quiet(LOG::Level::kSilent);
  const TempDir directory;
  TestDem dem;
  dem.tiles = {{-100, 50, -1, -50}, {0, 50, 100, -50}, {150, 50, 250, -50}};
  SRF_DOCUMENT document(DEM_DESCRIPTOR::ReadFromFile(STRING(WriteDem(directory, dem, {{5, 5}}))));
  const imaging::GeoBox box{
      .west_deg = 359.95, .east_deg = 0.2, .south_deg = -0.03, .north_deg = 0.03};
  const dem::HeightReader heights(document);
  const TerrainGrid grid = TerrainGrid::Read(document, heights, box);
  for (const double column : {-55.3, -0.5, 0.0, 60.7, 99.9, 160.2}) {
    for (const double row : {-30.1, 0.0, 17.25}) {
      const double longitude = column / 1200.0, latitude = row / 1200.0;
      EXPECT_NEAR(grid.HeightAt(longitude, latitude), TerrainHeight(dem, longitude, latitude),
                  1e-6);
    }
  }
  // There is no height beyond the tiles, nor in a cell of which the tiles have only two corners.
  for (const double column : {120.0, 100.25, 149.75}) {
    EXPECT_TRUE(std::isnan(grid.HeightAt(column / 1200.0, 0.0))) << column;
  }
  // Beside a missing value the other corners of the cell count.
  EXPECT_NEAR(grid.HeightAt(5.25 / 1200.0, 5.75 / 1200.0),
              document.GetElevationInterpolated(5.25 / 1200.0, 5.75 / 1200.0), 1e-6);
  EXPECT_TRUE(std::isnan(grid.HeightAt(5.0, 0.0)));
  EXPECT_THROW(
      static_cast<void>(TerrainGrid::Read(document, heights, {.south_deg = 2.0, .north_deg = 1.0})),
      ERROR_ARGUMENT);
  EXPECT_THROW(static_cast<void>(TerrainGrid::Read(document, heights, {30.0, 31.0, 0.0, 1.0})),
               ERROR_ARGUMENT);
  EXPECT_THROW(TerrainGrid({.columns = 2, .rows = 2}, std::vector<float>(4)), ERROR_ARGUMENT);
}

}  // namespace
}  // namespace quellmark::test
