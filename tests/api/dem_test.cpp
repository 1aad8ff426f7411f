// Compares heights of the library with the closed form from which the test's DEMs are made.
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "basic/unique_fd.h"
#include "tests/dem/test_dem.h"
#include <quellmark/dem.h>
#include <quellmark/error.h>

namespace quellmark {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

using test::TempDir;
using test::TestDem;

// Two tiles on the two sides of the antimeridian, one degree from it, and one tile across it.
TestDem Across() {
  TestDem dem;
  dem.resolution_arcsec = 36.0;
  dem.lat_resolution_arcsec = 36.0;
  dem.tiles = {{17900, 100, -17950, 0}, {-17949, 100, -17800, 0}};
  return dem;
}

TEST(Dem, GivesTheHeightsOfItsTerrain) {
  const TempDir directory;
  const TestDem terrain = Across();
  const Dem dem = Dem::Open(test::WriteDem(directory, terrain, {{17950, 50}}));
  std::vector<double> longitudes;
  std::vector<double> latitudes;
  for (int i = 0; i < 3000; ++i) {
    longitudes.push_back(179.1 + 2.8 * i / 3000.0);
    latitudes.push_back(std::fmod(0.37 * i, 0.48));
  }
  std::vector<double> heights(longitudes.size());
  std::vector<HeightStatus> status(longitudes.size());
  dem.HeightsAt(longitudes, latitudes, heights, status);
  for (std::size_t i = 0; i < heights.size(); ++i) {
    ASSERT_EQ(status[i], HeightStatus::kFound) << longitudes[i];
    const double expected = test::TerrainHeight(terrain, longitudes[i], latitudes[i]);
    EXPECT_NEAR(heights[i], expected, 1e-9);
    // A single look-up returns the same bits. Whole turns of the longitude change only
    // the rounding.
    EXPECT_EQ(dem.HeightAt(longitudes[i], latitudes[i]), heights[i]);
    EXPECT_NEAR(dem.HeightAt(longitudes[i] + 360.0, latitudes[i]), expected, 1e-7);
    EXPECT_NEAR(dem.HeightAt(longitudes[i] - 720.0, latitudes[i]), expected, 1e-7);
  }
}

TEST(Dem, SaysWhereItIs) {
  const TempDir directory;
  const Dem dem = Dem::Open(test::WriteDem(directory, Across()));
  ASSERT_EQ(dem.Tiles().size(), 2U);
  const DemTile& tile = dem.Tiles()[0];
  EXPECT_EQ(tile.path, directory / "tile0.srf");
  EXPECT_DOUBLE_EQ(tile.box.west_deg, 179.0);
  EXPECT_DOUBLE_EQ(tile.box.east_deg, -179.5);
  EXPECT_DOUBLE_EQ(tile.box.south_deg, 0.0);
  EXPECT_DOUBLE_EQ(tile.box.north_deg, 1.0);
  EXPECT_EQ(tile.columns, 151);
  EXPECT_EQ(tile.rows, 101);
  EXPECT_DOUBLE_EQ(dem.LongitudeSpacing(), 0.01);
  EXPECT_DOUBLE_EQ(dem.LatitudeSpacing(), 0.01);
  EXPECT_EQ(dem.VoidValue(), -32767.0);
}

TEST(Dem, PlacesWithoutHeightAreTold) {
  const TempDir directory;
  const Dem dem = Dem::Open(
      test::WriteDem(directory, Across(), {{17950, 50}, {17951, 50}, {17950, 51}, {17951, 51}}));
  struct Row {
    double longitude;
    double latitude;
    HeightStatus status;
    ErrorClass error_class;
  };
  for (const Row& row : {Row{179.505, 0.505, HeightStatus::kVoid, ErrorClass::kDemOnlyVoids},
                         Row{170.0, 0.5, HeightStatus::kOutside, ErrorClass::kDemNoTile},
                         Row{179.5, 1.5, HeightStatus::kOutside, ErrorClass::kDemNoTile}}) {
    double height = 0.0;
    HeightStatus status{};
    dem.HeightsAt({&row.longitude, 1}, {&row.latitude, 1}, {&height, 1}, {&status, 1});
    EXPECT_EQ(status, row.status);
    EXPECT_TRUE(std::isnan(height));
    try {
      static_cast<void>(dem.HeightAt(row.longitude, row.latitude));
      ADD_FAILURE() << "nothing was thrown";
    } catch (const DemError& error) {
      EXPECT_EQ(error.Class(), row.error_class);
      EXPECT_EQ(error.File(), dem.Path());
    }
  }
  EXPECT_THROW(static_cast<void>(dem.HeightAt(kNan, 0.0)), ArgumentError);
  double height = 0.0;
  EXPECT_THROW(dem.HeightsAt({}, {}, {&height, 1}), ArgumentError);
  EXPECT_THROW(static_cast<void>(Dem::Open(directory / "none.dem")), DemError);
  EXPECT_FALSE(std::filesystem::exists(directory / "none.dem"));
  test::WriteFile(directory / "empty.dem", "");
  EXPECT_THROW(static_cast<void>(Dem::Open(directory / "empty.dem")), DemError);
}

TEST(Dem, OpensItsFilesForReadingAlone) {
  const TempDir directory;
  const std::string path = test::WriteDem(directory, Across());
  const basic::UniqueFd watch(::inotify_init1(IN_NONBLOCK));
  const std::string folder = directory / "";
  ASSERT_GE(::inotify_add_watch(watch.Get(), folder.c_str(), IN_CLOSE_WRITE | IN_CREATE), 0);
  static_cast<void>(Dem::Open(path).HeightAt(179.5, 0.5));
  inotify_event event;
  EXPECT_LT(::read(watch.Get(), &event, sizeof event), 0);
  EXPECT_EQ(errno, EAGAIN);
}

}  // namespace
}  // namespace quellmark
