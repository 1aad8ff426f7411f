#include "dem/srf_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>

#include "basic/errors.h"
#include "dem/height_reader.h"
#include "tests/dem/test_dem.h"
#include "tests/support/expect_fails.h"
#include "tests/support/rows.h"

namespace quellmark::test {
namespace {

using quellmark::dem::GridCell;
using quellmark::dem::HeightReader;
using quellmark::dem::HeightStatus;
using ::testing::HasSubstr;

// Near 180 degrees a double has steps of 2.8e-14 degrees, which is 3.4e-11 cells of 3 arc seconds.
// The tolerance is a few of these steps on slopes of up to 13 m per cell. The largest difference
// seen is 1.6e-10 m.
constexpr double kHeightTolerance_m = 1e-9;

const TestDem kSmall{.tiles = {{100, 58, 110, 50}}};

class SrfDocument : public ::testing::Test {
 protected:
  SRF_DOCUMENT Open(const TestDem& dem, bool fast,
                    const std::vector<std::pair<int, int>>& missing = {}) {
    return Reopen(WriteDem(directory_, dem, missing), fast);
  }
  static SRF_DOCUMENT Reopen(const std::string& path, bool fast) {
    return SRF_DOCUMENT(DEM_DESCRIPTOR::ReadFromFile(path), fast);
  }
  std::string TilePath(int k = 0) const {
    return directory_ / ("tile" + std::to_string(k) + ".srf");
  }
  // Opens a DEM after one line of its descriptor was replaced or left out.
  SRF_DOCUMENT OpenWithLine(const std::string& key, const std::string& line,
                            const TestDem& dem = kSmall) {
    const std::string path = WriteDem(directory_, dem);
    WriteFile(path, WithLine(ReadFile(path), key, line));
    return Reopen(path, true);
  }

  TempDir directory_;
  ScopedLog quiet_;
};

// Compares heights with the closed form at random points. Their cells have south-west corners in
// `columns` x `rows` global indices from (west, south).
void ExpectTerrain(SRF_DOCUMENT& document, const TestDem& dem, int west, int columns, int south,
                   int rows) {
  std::mt19937 random(20240611);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  const HeightReader reader(document);
  const double step = dem.resolution_arcsec / 3600.0;
  const double lat_step = dem.lat_resolution_arcsec / 3600.0;
  const double shift = dem.annotation == "PIXEL_EDGE" ? 0.5 : 0.0;
  for (int n = 0; n < 200; ++n) {
    double longitude = (west + shift + columns * unit(random)) * step;
    const double latitude = (south + shift + rows * unit(random)) * lat_step;
    if (longitude > 180.0) longitude -= 360.0;
    const double height = document.GetElevationInterpolated(longitude, latitude);
    ASSERT_NEAR(height, TerrainHeight(dem, longitude, latitude), kHeightTolerance_m)
        << longitude << " " << latitude;
    ASSERT_EQ(reader.At(longitude, latitude).height_m, height);
    if (longitude < 0.0) longitude += 360.0;
    ASSERT_NEAR(reader.At(longitude, latitude).height_m, height, kHeightTolerance_m);
  }
}

TEST_F(SrfDocument, EveryLayoutGivesTheBilinearSurface) {
  for (int choice = 0; choice < 3 * 32; ++choice) {
    TestDem dem{.tiles = {{-1005, -50, -995, -58}},
                .value_type = std::array{2, 3, 5}[static_cast<std::size_t>(choice / 32)],
                .line_wise = (choice & 1) != 0,
                .north_first = (choice & 2) != 0,
                .record_header = (choice & 4) != 0 ? 7 : 0,
                .colormap_length = (choice & 8) != 0 ? 768U : 0U,
                .annotation = (choice & 16) != 0 ? "PIXEL_EDGE" : "PIXEL_CENTRE"};
    SCOPED_TRACE(DescriptorText(dem));
    for (const bool fast : {false, true}) {
      SRF_DOCUMENT document = Open(dem, fast);
      EXPECT_EQ(document.IsFast(), fast && dem.value_type == 2);
      ExpectTerrain(document, dem, -1005, 10, -58, 8);
    }
  }
}

TEST_F(SrfDocument, CellsThatAreNotSquareWithoutHeaderAndCoding) {
  // 0.701 by 0.69875 degrees: 513.6 by 257.6 steps make 514 by 258 grid values.
  for (const int type : {2, 3, 5}) {
    const TestDem dem{.tiles = {{-9, 31, 40, 17}},
                      .resolution_arcsec = 2523.6,
                      .lat_resolution_arcsec = 2515.5,
                      .value_type = type,
                      .has_header = false,
                      .special_coding = {}};
    for (const bool fast : {false, true}) {
      SRF_DOCUMENT document = Open(dem, fast);
      EXPECT_EQ(document.IsFast(), fast && type == 2);
      EXPECT_EQ(document.LongitudeBounds().min, -257);
      EXPECT_EQ(document.LongitudeBounds().max, 256);
      EXPECT_EQ(document.LatitudeBounds().min, -129);
      EXPECT_EQ(document.LatitudeBounds().max, 128);
      ExpectTerrain(document, dem, -9, 49, 17, 14);
    }
  }
}

TEST_F(SrfDocument, BoundsAndCells) {
  SRF_DOCUMENT document = Open(kSmall, true);
  EXPECT_EQ(document.LongitudeBounds().min, -216000);
  EXPECT_EQ(document.LongitudeBounds().max, 215999);
  EXPECT_EQ(document.LatitudeBounds().min, -108000);
  EXPECT_EQ(document.LatitudeBounds().max, 107999);
  EXPECT_EQ(document.DocumentType(), 2);
  EXPECT_EQ(document.CellOf(0.0001, -0.0001), (GridCell{0, 1, -1, 0}));
  EXPECT_EQ(document.CellOf(179.9999, 0.0), (GridCell{215999, -216000, 0, 1}));
  TestDem edge = kSmall;
  edge.annotation = "PIXEL_EDGE";
  EXPECT_EQ(Open(edge, true).CellOf(-179.9999, 0.0), (GridCell{215999, -216000, -1, 0}));
  ScopedLog log;
  EXPECT_EQ(document.CellOf(0.0, 89.9999), (GridCell{0, 0, 107999, 107999}));
  EXPECT_EQ(document.CellOf(0.0, -90.0001), (GridCell{0, 0, -108000, -108000}));
  EXPECT_EQ(log.Text(),
            "WARN  : pole grid cell: no interpolation\nWARN  : pole grid cell: no interpolation\n");
}

TEST_F(SrfDocument, TileAcrossTheAntimeridian) {
  for (const std::string annotation : {"PIXEL_CENTRE", "PIXEL_EDGE"}) {
    const TestDem dem{.tiles = {{215995, 4, -215996, -4}}, .annotation = annotation};
    for (const bool fast : {false, true}) {
      SRF_DOCUMENT document = Open(dem, fast);
      ExpectTerrain(document, dem, 215995, 9, -4, 8);
      EXPECT_THROW(static_cast<void>(document.GetGridValue(-215995, 0)), ERROR_NO_SUBDOC);
      EXPECT_THROW(static_cast<void>(document.GetGridValue(215994, 0)), ERROR_NO_SUBDOC);
    }
  }
}

TEST_F(SrfDocument, WholeGlobeWithoutCorners) {
  // One file of 36 x 18 values, whose descriptor has no corners.
  const TestDem dem{.tiles = {{-18, 8, 17, -9}}, .resolution_arcsec = 36000};
  WriteDem(directory_, dem);
  const std::string path = directory_ / "dem.pool";
  WriteFile(path, WithLine(WithLine(ReadFile(path), "dem_upper_left", ""), "dem_lower_right", ""));
  for (const bool fast : {false, true}) {
    SRF_DOCUMENT document = Reopen(path, fast);
    ExpectTerrain(document, dem, -18, 36, -9, 17);
    // At a pole the height is the western value of the last row, and the nearest value is in that
    // row too.
    EXPECT_EQ(document.GetElevationInterpolated(-175.0, 89.9), TerrainAt(-18, 8));
    EXPECT_NEAR(document.GetElevationInterpolated(14.0, -90.0), TerrainHeight(dem, 14.0, -90.0),
                kHeightTolerance_m);
    EXPECT_EQ(document.GetElevationNearest(14.0, 90.0), TerrainAt(1, 8));
    EXPECT_EQ(document.GetElevationNearest(179.0, 6.0), TerrainAt(-18, 1));
    EXPECT_EQ(document.GetElevationNearest(-186.0, 6.0), TerrainAt(17, 1));
    const HeightReader reader(document);
    ScopedLog log;
    EXPECT_EQ(reader.At(-175.0, 89.9).height_m, TerrainAt(-18, 8));
    EXPECT_EQ(log.Text(), "") << "poles are silent here";
  }
}

TEST_F(SrfDocument, NearestStaysInTheGridAtTheSouthPole) {
  // The pole is 5 degrees beyond the last value, which is half a step: it rounds to the even index,
  // -10.
  const TestDem dem{
      .tiles = {{-18, 8, 17, -9}}, .resolution_arcsec = 36000, .annotation = "PIXEL_EDGE"};
  EXPECT_EQ(Open(dem, true).GetElevationNearest(14.0, -90.0), TerrainAt(1, -9));
}

TEST_F(SrfDocument, SeveralTilesAreReadOneAfterTheOther) {
  const TestDem dem{.tiles = {{0, 10, 10, 0}, {10, 10, 20, 0}}};
  SRF_DOCUMENT document = Open(dem, true);
  EXPECT_FALSE(document.IsFast());
  EXPECT_THAT(quiet_.Text(),
              HasSubstr("WARN  : DEM_DOCUMENT::CheckDescriptor: More than one bitmap file. Memmory "
                        "mapping not implemented yet. Please turn off multithreading if on.\n"));
  ExpectTerrain(document, dem, 0, 20, 0, 10);
  EXPECT_EQ(document.SelectSubdocument(10, 5), 0);  // the first one in the descriptor's order
  EXPECT_EQ(document.SelectSubdocument(11, 5), 1);
  SRF_DOCUMENT copy = document;  // it opens its own tiles
  EXPECT_EQ(copy.GetGridValue(11, 5), TerrainAt(11, 5));
  // Where tiles overlap and differ, the first one supplies each corner of a cell.
  TestDem other = dem;
  other.terrain = [](int x, int y) { return 1000 + TerrainAt(x, y); };
  const TestDem overlapping{.tiles = {{0, 10, 10, 0}, {5, 10, 20, 0}}};
  SRF_DOCUMENT both = Open(overlapping, true);
  WriteFile(TilePath(1), TileBytes(other, overlapping.tiles[1]));
  const HeightReader reader(both);
  for (const double x : {4.5, 9.5, 10.0, 10.25, 10.75, 11.5}) {
    const double expected = x <= 10.0 ? 0.0 : x >= 11.0 ? 1000.0 : 1000.0 * (x - 10.0);
    const double height = both.GetElevationInterpolated(x / 1200, 5.5 / 1200);
    EXPECT_NEAR(height, expected + TerrainHeight(dem, x / 1200, 5.5 / 1200), kHeightTolerance_m);
    EXPECT_EQ(reader.At(x / 1200, 5.5 / 1200).height_m, height);
  }
  // A look-up that fails leaves no tile open.
  EXPECT_EQ(document.SelectSubdocument(3, 3), 0);
  EXPECT_THROW(document.SelectSubdocument(21, 5), ERROR_NO_SUBDOC);
  std::filesystem::remove(TilePath(0));
  EXPECT_THAT(LogOfFailure<ERROR_CANNOT_OPEN_SUBDOC>([&] { document.SelectSubdocument(3, 3); }),
              HasSubstr("No such file"));
  std::filesystem::create_directory(TilePath(0));
  EXPECT_THAT(LogOfFailure<ERROR_CANNOT_READ_SUBDOC>([&] { document.SelectSubdocument(3, 3); }),
              HasSubstr("DEBUG : Cannot select subdocument.\n"));
}

TEST_F(SrfDocument, OutsideOfAllTiles) {
  // A DEM may have no files and therefore no heights.
  SRF_DOCUMENT empty = Open(TestDem{}, true);
  EXPECT_FALSE(empty.IsFast());
  EXPECT_EQ(HeightReader(empty).At(1.0, 1.0).status, HeightStatus::kOutside);
  EXPECT_THROW(static_cast<void>(empty.GetElevationInterpolated(1.0, 1.0)), ERROR_NO_SUBDOC);
  for (const bool fast : {false, true}) {
    SRF_DOCUMENT document = Open(kSmall, fast);
    const std::string end = fast ? " in subdocument (fastmode)\n" : " in subdocument\n";
    EXPECT_THAT(LogOfFailure<ERROR_NO_SUBDOC>([&] {
                  static_cast<void>(document.GetElevationInterpolated(110.5 / 1200, 55.5 / 1200));
                }),
                HasSubstr("DEBUG : Could not allocate location lat=55, lon=111" + end));
    const HeightReader reader(document);
    for (const double bad : {std::nan(""), 1e300, -1e300, 0.0, -180.0}) {
      ScopedLog log;
      for (const auto& found : {reader.At(bad, 55.5 / 1200), reader.At(105.5 / 1200, bad)}) {
        EXPECT_EQ(found.status, HeightStatus::kOutside);
        EXPECT_TRUE(std::isnan(found.height_m));
      }
      EXPECT_EQ(log.Text(), "");
      EXPECT_THROW(static_cast<void>(document.GetElevationInterpolated(bad, 55.5 / 1200)),
                   ERROR_NO_SUBDOC);
      EXPECT_THROW(static_cast<void>(document.GetElevationNearest(105.5 / 1200, bad)),
                   ERROR_NO_SUBDOC);
    }
    EXPECT_FAILS(document.LocalIndexOf(0, 111, 55), ERROR_ARGUMENTS,
                 "Too large longitude index 111 (lat index 55 might be OK)\n");
    EXPECT_FAILS(document.LocalIndexOf(0, 99, 55), ERROR_ARGUMENTS,
                 "Too large longitude index 99 (lat index 55 might be OK)\n");
    EXPECT_FAILS(document.LocalIndexOf(0, 110, 59), ERROR_ARGUMENTS,
                 "Too large latitude index 59 (lon index 110 is OK)\n");
  }
}

TEST_F(SrfDocument, MissingCornersLeaveTheHeightToTheOthers) {
  const double lon = 104.25 / 2;
  const double lat = 54.75 / 2;
  const std::vector<std::pair<int, int>> corners = {{104, 54}, {105, 54}, {104, 55}, {105, 55}};
  for (const int type : {2, 3, 5}) {
    TestDem dem = kSmall;
    dem.resolution_arcsec = dem.lat_resolution_arcsec = 1800.0;  // half degrees are exact
    dem.value_type = type;
    // In a file of floats the special coding is rounded like the heights.
    if (type == 5) dem.special_coding = -16777217;
    for (const std::pair<int, int>& missing : corners) {
      double sum = 0.0, weights = 0.0;
      for (const auto& [x, y] : corners) {
        if (missing == std::pair(x, y)) continue;
        const double weight = (x == 104 ? 0.75 : 0.25) * (y == 54 ? 0.25 : 0.75);
        sum += weight * TerrainAt(x, y);
        weights += weight;
      }
      SRF_DOCUMENT document = Open(dem, true, {missing});
      const double height = document.GetElevationInterpolated(lon, lat);
      EXPECT_NEAR(height, sum / weights, kHeightTolerance_m);
      EXPECT_EQ(HeightReader(document).At(lon, lat).height_m, height);
    }
    // At the place of a missing grid point, all other points have weight 0. The height is then that
    // of the nearest one.
    SRF_DOCUMENT three = Open(dem, true, {{104, 54}, {105, 54}});
    EXPECT_EQ(three.GetElevationInterpolated(52.0, 27.0), TerrainAt(104, 55));

    // The same is true if the rounding of a coordinate gives the other points weights of 1e-14.
    EXPECT_EQ(Open(dem, true, {{104, 54}})
                  .GetElevationInterpolated(std::nextafter(52.0, 53.0), std::nextafter(27.0, 28.0)),
              TerrainAt(105, 54));

    SRF_DOCUMENT none = Open(dem, true, corners);
    EXPECT_EQ(HeightReader(none).At(lon, lat).status, HeightStatus::kMissing);
    const std::string log = LogOfFailure<ERROR_SPECIAL_CODING_INTERPOLATION>(
        [&] { static_cast<void>(none.GetElevationInterpolated(lon, lat)); });
    EXPECT_THAT(log,
                HasSubstr("EXCEP : GetElevationInterpolated: Fatal DEM interpolation error for "
                          "lat=27.375 lon=52.125\n"));
    EXPECT_THAT(log, HasSubstr("cellRect.upper_left=104/55 lower_right=105/54 (X/Y)\n"));
    EXPECT_THAT(log, HasSubstr(type == 2   ? " HexValue=0180 "
                               : type == 3 ? " HexValue=0180ffff "
                                           : " HexValue=000080cb "));
    EXPECT_THAT(log,
                HasSubstr(type == 5 ? "special_coding=-16777216\n" : "special_coding=-32767\n"));
    EXPECT_THAT(log, HasSubstr(type == 5 ? "DEM values are=-16777216 -16777216 "
                                         : "DEM values are=-32767 -32767 "));
    const std::string digits = LogOfFailure<ERROR_SPECIAL_CODING_INTERPOLATION>(
        [&] { static_cast<void>(none.GetElevationInterpolated(52.1, 27.3)); });
    EXPECT_THAT(digits, HasSubstr("lat=27.300000000000001 lon=52.100000000000001\n"));
  }
}

TEST_F(SrfDocument, FastModeFallsBackOrMapsWhatTheGridNeeds) {
  TestDem floats = kSmall;
  floats.value_type = 5;
  EXPECT_FALSE(Open(floats, true).IsFast());
  EXPECT_THAT(quiet_.Text(),
              HasSubstr("WARN  : DEM_DOCUMENT::CheckDescriptor: Non INT_2 DEM. Memmory mapping not "
                        "implemented yet. Please turn off multithreading if on.\n"));

  // North-first columns start one value late. A file without that one more value is read with
  // checks, and only that grid point fails.
  TestDem late = kSmall;
  late.line_wise = false;
  late.north_first = true;
  WriteDem(directory_, late);
  const std::string bytes = ReadFile(TilePath());
  for (const std::size_t size : {bytes.size() - 2, bytes.size() - 1}) {
    WriteFile(TilePath(), bytes.substr(0, size));
    SRF_DOCUMENT document = Reopen(directory_ / "dem.pool", true);
    EXPECT_FALSE(document.IsFast());
    EXPECT_EQ(document.GetGridValue(110, 51), TerrainAt(110, 51));
    const HeightReader reader(document);
    EXPECT_EQ(reader.At(109.5 / 1200, 51.5 / 1200).height_m,
              document.GetElevationInterpolated(109.5 / 1200, 51.5 / 1200));
    EXPECT_EQ(reader.At(109.5 / 1200, 50.5 / 1200).status, HeightStatus::kOutside);
    EXPECT_THAT(LogOfFailure<ERROR_CANNOT_READ_SUBDOC>(
                    [&] { static_cast<void>(document.GetGridValue(110, 50)); }),
                HasSubstr("offset 230 too large (filesize is " + std::to_string(size) + ").\n"));
  }

  // A copy of a mapped document outlives it.
  auto original = std::make_unique<SRF_DOCUMENT>(Open(kSmall, true));
  EXPECT_THAT(quiet_.Text(),
              HasSubstr("DEM_DOCUMENT::SetDescriptor: Mapping file " + TilePath() + "\n"));
  SRF_DOCUMENT copy = *original;
  original.reset();
  std::filesystem::remove(TilePath());
  EXPECT_EQ(copy.GetGridValue(110, 58), TerrainAt(110, 58));
}

TEST_F(SrfDocument, HeadersThatDoNotFit) {
  const TestDem two{.tiles = {{0, 1, 1, 0}, {2, 1, 3, 0}}};
  const std::pair<std::string, std::string> rows[] = {
      {SrfHeaderBytes(2, 2, 2), "Not supported SRF type !\n"},
      {SrfHeaderBytes(2, 2, 1, 0, 0x956AA659), "Not supported SRF type !\n"},
      {SrfHeaderBytes(2, 2, 99), "Header and descriptor type information don't match !\n"},
      {SrfHeaderBytes(2, 2, 1, 3), "DEM subfiles have different colormap lengths !\n"},
      {SrfHeaderBytes(2, 2, 1).substr(1),
       "SRF_DOCUMENT: can not read header from: " + TilePath(1) + "\n"},
  };
  for (const auto& row : rows) {
    const std::string path = WriteDem(directory_, two);
    WriteFile(TilePath(1), row.first);
    EXPECT_FAILS(Reopen(path, true), ERROR_CANNOT_OPEN_SUBDOC, row.second);
  }
}

TEST_F(SrfDocument, DescriptorsThatAreRefused) {
  const std::vector<Row> rows = ReadRows(QM_DEM_TEST_DATA "/bad_descriptors.txt");
  EXPECT_EQ(rows.size(), 32U);
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0]);
    const std::string key = row[0].substr(0, row[0].find(' '));
    ScopedLog log;
    try {
      OpenWithLine(key, key == row[0] ? "" : row[0]);
      ADD_FAILURE() << "accepted";
    } catch (const ERROR_EXCEPTION& error) {
      EXPECT_EQ(error.Message(), row[1]);
    }
    EXPECT_THAT(log.Text(), HasSubstr(row[2]));
  }
  EXPECT_THROW(OpenWithLine("dem_upper_left", "", {.tiles = {{0, 1, 1, 0}, {2, 1, 3, 0}}}),
               ERROR_DESCRIPTOR_VALUE);
  EXPECT_THROW(static_cast<void>(DEM_DESCRIPTOR::ReadFromFile("")), std::out_of_range);
}

TEST_F(SrfDocument, TheCornersAloneSayHowLargeTheGridIs) {
  // The width and height in the header are not examined. The tile is larger than a page of memory.
  const TestDem large{.tiles = {{0, 99, 99, 0}}};
  const std::string path = WriteDem(directory_, large);
  WriteFile(TilePath(), SrfHeaderBytes(0, 0, 1) + ReadFile(TilePath()).substr(32));
  SRF_DOCUMENT document = Reopen(path, true);
  EXPECT_TRUE(document.IsFast());
  ExpectTerrain(document, large, 0, 99, 0, 99);
}

}  // namespace
}  // namespace quellmark::test
