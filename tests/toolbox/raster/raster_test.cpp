#include <gdal_priv.h>
#include <gtest/gtest.h>
#include <ogr_spatialref.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <random>

#include "dem/height_reader.h"
#include "dem/srf_document.h"
#include "imaging/locate.h"
#include "imaging/terrain_grid.h"
#include "tests/imaging/many_points.h"
#include "tests/support/files.h"
#include "tests/support/scoped_log.h"
#include "toolbox/raster/dem_grid.h"
#include "toolbox/raster/dem_import.h"
#include <quellmark/dem.h>

namespace quellmark::raster {
namespace {

constexpr double kArcSecond = 1.0 / 3600.0;

TEST(DemGrid, PixelsOnAndBesideTheGrid) {
  struct Case {
    const char* what;
    PixelPlaces pixels;
    bool fits;
    Annotation annotation;
    std::int64_t west_index;
    std::int64_t north_index;
  };
  const double d = 3.0 * kArcSecond;
  for (const Case& row : std::initializer_list<Case>{
           {"posts",
            {9.0 - d / 2, 46.0 + d / 2, d, d, 1201, 1201},
            true,
            Annotation::kPixelCentre,
            10800,
            55200},
           {"areas", {9.0, 46.0, d, d, 1200, 1200}, true, Annotation::kPixelEdge, 10800, 55199},
           {"posts in one axis alone", {9.0, 46.0 + d / 2, d, d, 10, 10}, false, {}, 0, 0},
           {"a third beside", {9.0 + d / 3, 46.0 + d / 3, d, d, 10, 10}, false, {}, 0, 0},
           {"a step that divides nothing", {9.0, 46.0, 0.0071, 0.0071, 10, 10}, false, {}, 0, 0},
           {"a drifting step", {9.0, 46.0, d * (1 + 1e-6), d, 2000, 10}, false, {}, 0, 0},
           {"no step", {9.0, 46.0, 0.0, d, 10, 10}, false, {}, 0, 0},
           {"NaN", {9.0, 46.0, std::nan(""), d, 10, 10}, false, {}, 0, 0},
       }) {
    SCOPED_TRACE(row.what);
    const auto grid = PlaceInGrid(row.pixels);
    ASSERT_EQ(grid.has_value(), row.fits);
    if (!grid) continue;
    EXPECT_EQ(grid->annotation, row.annotation);
    EXPECT_EQ(grid->west_index, row.west_index);
    EXPECT_EQ(grid->north_index, row.north_index);
    const PixelPlaces back = PlacesOf(*grid);
    EXPECT_NEAR(back.west_deg, row.pixels.west_deg, 1e-9);
    EXPECT_NEAR(back.north_deg, row.pixels.north_deg, 1e-9);
  }
}

TEST(DemGrid, TilesCoverEveryPixelOnce) {
  GridPlacement grid;
  grid.lon_count = 360;
  grid.columns = 10;
  grid.rows = 7;
  for (const std::int64_t size : {0, 1, 3, 7, 10, 100}) {
    std::int64_t pixels = 0;
    for (const TileArea& tile : TilesOf(grid, size)) pixels += tile.columns * tile.rows;
    EXPECT_EQ(pixels, 70) << size;
  }
  EXPECT_EQ(WrappedLongitudeIndex(grid, 180), -180);
  EXPECT_EQ(WrappedLongitudeIndex(grid, -181), 179);
  EXPECT_EQ(WrappedLongitudeIndex(grid, 179), 179);
}

// A raster of 12 x 9 heights as a GeoTIFF.
struct TestRaster {
  double west_deg = 9.0;
  double north_deg = 46.0;
  double step_deg = 30.0 * kArcSecond;
  GDALDataType type = GDT_Int16;
  int missing_column = -1;
  const char* coordinates = "EPSG:4326";

  static constexpr int kColumns = 12;
  static constexpr int kRows = 9;
  static double HeightAt(int column, int row) { return 100.0 + 7.0 * column - 3.0 * row * row; }

  void Write(const std::string& path) const {
    GDALAllRegister();
    GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    GDALDataset* const dataset = driver->Create(path.c_str(), kColumns, kRows, 1, type, nullptr);
    double transform[6] = {west_deg, step_deg, 0.0, north_deg, 0.0, -step_deg};
    dataset->SetGeoTransform(transform);
    if (coordinates != nullptr) {
      OGRSpatialReference reference;
      reference.SetFromUserInput(coordinates);
      reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
      dataset->SetSpatialRef(&reference);
    }
    GDALRasterBand* const band = dataset->GetRasterBand(1);
    if (missing_column >= 0) band->SetNoDataValue(-9999);
    for (int row = 0; row < kRows; ++row) {
      for (int column = 0; column < kColumns; ++column) {
        double height = column == missing_column ? -9999 : HeightAt(column, row);
        ASSERT_EQ(
            band->RasterIO(GF_Write, column, row, 1, 1, &height, 1, 1, GDT_Float64, 0, 0, nullptr),
            CE_None);
      }
    }
    GDALClose(dataset);
  }

  [[nodiscard]] double Longitude(int column) const { return west_deg + (column + 0.5) * step_deg; }
  [[nodiscard]] double Latitude(int row) const { return north_deg - (row + 0.5) * step_deg; }
};

TEST(DemImport, EveryHeightOfARasterIsKept) {
  const test::ScopedLog quiet(LOG::Level::kSilent);
  const test::TempDir folder;
  const double d = 30.0 * kArcSecond;
  struct Case {
    const char* what;
    TestRaster raster;
    std::int64_t tile_size;
  };
  const std::vector<Case> cases = {
      {"areas", {}, 0},
      {"posts", {9.0 - d / 2, 46.0 + d / 2}, 0},
      {"tiles", {9.0, 46.0, d, GDT_Int16, 3}, 4},
      {"floats", {9.0, 46.0, d, GDT_Float32, 3}, 0},
      {"doubles in tiles", {9.0, 46.0, d, GDT_Float64}, 5},
      {"bytes", {9.0, 46.0, d, GDT_Byte}, 0},
      {"large integers", {9.0, 46.0, d, GDT_Int32, 0}, 0},
      {"over the antimeridian", {180.0 - 5 * d, 1.0, d}, 0},
      {"over the antimeridian in tiles", {180.0 - 5 * d, 1.0, d}, 4},
      {"beyond 180 degrees", {359.0, 1.0, d}, 0},
      {"without coordinates", {9.0, 46.0, d, GDT_Int16, -1, nullptr}, 0},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.what);
    row.raster.Write(folder / "raster.tif");
    const DemImportResult result =
        ImportDem({{folder / "raster.tif"}, folder / "test.dem", row.tile_size, ""}, {});
    const Dem dem = Dem::Open(folder / "test.dem");
    EXPECT_EQ(result.tiles, dem.Tiles().size());
    // The step maps one tile of 16-bit heights.
    SRF_DOCUMENT step_dem(DEM_DESCRIPTOR::ReadFromFile(STRING(folder / "test.dem")), true);
    EXPECT_EQ(step_dem.IsFast(), result.type == HeightType::kInt16 && result.tiles == 1);
    EXPECT_EQ(result.missing, row.raster.missing_column < 0 ? 0 : TestRaster::kRows);
    // The outermost grid points are left out, because they have no cell on their outer side.
    for (int j = 1; j + 1 < TestRaster::kRows; ++j) {
      for (int i = 1; i + 1 < TestRaster::kColumns; ++i) {
        if (std::abs(i - row.raster.missing_column) <= 1 && row.raster.missing_column >= 0)
          continue;
        const double expected = row.raster.type == GDT_Byte
                                    ? std::max(0.0, TestRaster::HeightAt(i, j))
                                    : TestRaster::HeightAt(i, j);
        const double longitude = std::remainder(row.raster.Longitude(i), 360.0);
        const double latitude = row.raster.Latitude(j);
        EXPECT_NEAR(dem.HeightAt(longitude, latitude), expected, 1e-6) << i << ' ' << j;
        EXPECT_NEAR(step_dem.GetElevationInterpolated(longitude, latitude), expected, 1e-6);
      }
    }
  }
}

TEST(DemImport, OthersAreResampledOrRefused) {
  const test::TempDir folder;
  const double d = 30.0 * kArcSecond;
  TestRaster beside{9.0 + d / 3, 46.0 + d / 3, d, GDT_Float32};
  beside.Write(folder / "raster.tif");
  const DemImportResult result =
      ImportDem({{folder / "raster.tif"}, folder / "test.dem", 0, ""}, {});
  ASSERT_EQ(result.notes.size(), 1U);
  EXPECT_NE(result.notes[0].find("resampled"), std::string::npos);
  const Dem dem = Dem::Open(folder / "test.dem");
  // The surface is nearly linear between pixels, and the two grids are a third of a pixel apart.
  EXPECT_NEAR(dem.HeightAt(beside.Longitude(5), beside.Latitude(4)), TestRaster::HeightAt(5, 4),
              3.0);

  struct Case {
    const char* coordinates;
    const char* message;
  };
  for (const Case& row :
       std::initializer_list<Case>{{"EPSG:4326+5773", "--geoid"}, {"EPSG:9518", "--geoid"}}) {
    TestRaster{9.0, 46.0, d, GDT_Int16, -1, row.coordinates}.Write(folder / "geoid.tif");
    try {
      static_cast<void>(ImportDem({{folder / "geoid.tif"}, folder / "no.dem", 0, ""}, {}));
      ADD_FAILURE() << row.coordinates;
    } catch (const std::runtime_error& error) {
      EXPECT_NE(std::string(error.what()).find(row.message), std::string::npos) << error.what();
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "no.dem"));
  }
  // A second raster of the same heights is used as the geoid, so every height is the sum of both.
  TestRaster{9.0, 46.0, d, GDT_Float32}.Write(folder / "undulation.tif");
  static_cast<void>(
      ImportDem({{folder / "geoid.tif"}, folder / "sum.dem", 0, folder / "undulation.tif"}, {}));
  const TestRaster places{9.0, 46.0, d};
  EXPECT_NEAR(Dem::Open(folder / "sum.dem").HeightAt(places.Longitude(5), places.Latitude(4)),
              2.0 * TestRaster::HeightAt(5, 4), 1e-3);

  test::WriteFile(folder / "junk.tif", "II*\x00junk");
  for (const std::string& path : {folder / "junk.tif", folder / "none.tif"}) {
    EXPECT_THROW(static_cast<void>(ImportDem({{path}, folder / "no.dem", 0, ""}, {})),
                 std::runtime_error);
  }
  EXPECT_THROW(
      static_cast<void>(ImportDem({{folder / "raster.tif"}, "/no/such/folder/x.dem", 0, ""}, {})),
      std::runtime_error);
}

TEST(DemImport, ARealRaster) {
  const char* const products = std::getenv("QM_PRODUCTS");
  if (products == nullptr) GTEST_SKIP() << "QM_PRODUCTS names no products";
  const std::string path = std::string(products) + "/dem/SanAnd_dem.tif";
  const test::TempDir folder;
  const DemImportResult result = ImportDem({{path}, folder / "san.dem", 100, ""}, {});
  EXPECT_GT(result.tiles, 1U);
  const Dem dem = Dem::Open(folder / "san.dem");
  GDALDataset* const raster = GDALDataset::Open(path.c_str());
  double t[6];
  raster->GetGeoTransform(t);
  for (int row = 1; row + 1 < raster->GetRasterYSize(); ++row) {
    for (int column = 1; column + 1 < raster->GetRasterXSize(); ++column) {
      double height = 0.0;
      ASSERT_EQ(raster->GetRasterBand(1)->RasterIO(GF_Read, column, row, 1, 1, &height, 1, 1,
                                                   GDT_Float64, 0, 0, nullptr),
                CE_None);
      ASSERT_NEAR(dem.HeightAt(t[0] + (column + 0.5) * t[1], t[3] + (row + 0.5) * t[5]), height,
                  1e-3);
    }
  }
  GDALClose(raster);
}

// Places on imported heights are located in images and then on the terrain again. Every result must
// lie on the library's heights, and must be the place itself unless a higher one hides it.
TEST(DemImport, PointsOnARealTerrain) {
  const char* const products = std::getenv("QM_PRODUCTS");
  if (products == nullptr) GTEST_SKIP() << "QM_PRODUCTS names no products";
  const test::TempDir folder;
  const std::string path = folder / "san.dem";
  static_cast<void>(
      ImportDem({{std::string(products) + "/dem/SanAnd_dem.tif"}, path, 100, ""}, {}));
  const Dem dem = Dem::Open(path);
  SRF_DOCUMENT document(DEM_DESCRIPTOR::ReadFromFile(STRING(path)));
  const imaging::GeoBox box{
      .west_deg = -118.44, .east_deg = -118.4103, .south_deg = 34.1404, .north_deg = 34.21};
  const imaging::TerrainGrid grid =
      imaging::TerrainGrid::Read(document, dem::HeightReader(document), box);

  constexpr std::size_t kPlaces = 2000;
  std::mt19937_64 random(3);
  std::vector<double> longitude(kPlaces), latitude(kPlaces), height(kPlaces);
  for (std::size_t i = 0; i < kPlaces; ++i) {
    longitude[i] = std::uniform_real_distribution(-118.436, -118.415)(random);
    latitude[i] = std::uniform_real_distribution(34.145, 34.205)(random);
    height[i] = dem.HeightAt(longitude[i], latitude[i]);
  }
  for (const double incidence_deg : {18.0, 30.0, 45.0}) {
    for (const double bearing_deg : {80.0, 260.0}) {
      SCOPED_TRACE(testing::Message() << incidence_deg << " at " << bearing_deg);
      const test::View view(-118.425, 34.175, bearing_deg, incidence_deg);
      test::InImage in(kPlaces);
      LocateInImage(view.image, {longitude, latitude, height}, in.Outputs());
      test::Ground ground(kPlaces);
      LocateOnGround(view.image, {in.sample, in.line}, {.per_point_m = {}, .terrain = &grid},
                     ground.Outputs());
      for (std::size_t i = 0; i < kPlaces; ++i) {
        ASSERT_TRUE(imaging::IsAnswer(ground.status[i])) << i;
        ASSERT_NEAR(ground.height[i], dem.HeightAt(ground.longitude[i], ground.latitude[i]), 1e-3);
        ASSERT_GE(ground.height[i], height[i] - 1e-3);
        if (ground.status[i] == imaging::PointStatus::kLayover) continue;
        ASSERT_NEAR(ground.longitude[i], longitude[i], 1e-7);
        ASSERT_NEAR(ground.latitude[i], latitude[i], 1e-7);
      }
    }
  }
}

}  // namespace
}  // namespace quellmark::raster
