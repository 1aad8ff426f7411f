// GDAL reads the same tiles, as independent truth for byte offsets and interpolation.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "tests/dem/test_dem.h"
#include "tests/support/child.h"
#include "tests/support/scoped_log.h"

namespace quellmark::test {
namespace {

constexpr int kSize = 40;    // grid values along each side, 0.01 degrees apart
constexpr int kWest = 1000;  // global indices of the south-west value
constexpr int kSouth = -2000;
constexpr int kFiner = 8;  // heights per grid step
constexpr int kFineSize = (kSize - 1) * kFiner;

// The tile as a raw raster: rows from north to south, after the 32 bytes of the header.
constexpr const char* kRawRaster =
    "<VRTDataset rasterXSize='40' rasterYSize='40'><SRS>EPSG:4326</SRS>"
    "<GeoTransform>9.995,0.01,0,-19.605,0,-0.01</GeoTransform>"
    "<VRTRasterBand dataType='Int16' band='1' subClass='VRTRawRasterBand'>"
    "<SourceFilename relativetoVRT='1'>tile0.srf</SourceFilename><ImageOffset>32</ImageOffset>"
    "<PixelOffset>2</PixelOffset><LineOffset>80</LineOffset><ByteOrder>LSB</ByteOrder>"
    "</VRTRasterBand></VRTDataset>";
// Heights at the centres of a finer raster between the outermost grid values.
constexpr const char* kWarp =
    "gdalwarp -q -r bilinear -et 0 -ot Float64 -of ENVI -te 10 -20 10.39 -19.61 -ts 312 312 "
    "raw.vrt fine.raw";

TEST(GdalWitness, HeightsAgree) {
  const TempDir directory;
  if (RunProgram("/usr/bin/env", {"gdalwarp", "--version"}, directory.Path()).exit_status != 0) {
    GTEST_SKIP() << "gdalwarp is not installed";
  }
  const ScopedLog quiet;
  const TestDem dem{.tiles = {{kWest, kSouth + kSize - 1, kWest + kSize - 1, kSouth}},
                    .resolution_arcsec = 36.0,
                    .north_first = true};
  SRF_DOCUMENT document(DEM_DESCRIPTOR::ReadFromFile(WriteDem(directory, dem)), true);
  WriteFile(directory / "raw.vrt", kRawRaster);
  const ProgramRun run = RunProgram("/bin/sh", {"-c", kWarp}, directory.Path());
  ASSERT_EQ(run.exit_status, 0) << run.output;
  const std::string bytes = ReadFile(directory / "fine.raw");
  std::vector<double> theirs(kFineSize * kFineSize);
  ASSERT_EQ(bytes.size(), sizeof(double) * theirs.size());
  std::memcpy(theirs.data(), bytes.data(), bytes.size());
  double worst = 0.0;
  for (int i = 0; i < kFineSize * kFineSize; ++i) {
    const double ours = document.GetElevationInterpolated(
        0.01 * (kWest + (i % kFineSize + 0.5) / kFiner),
        0.01 * (kSouth + kSize - 1 - (i / kFineSize + 0.5) / kFiner));
    worst = std::max(worst, std::abs(ours - theirs[static_cast<std::size_t>(i)]));
  }
  // Both compute in double; the largest difference seen is 5e-12 m.
  EXPECT_LT(worst, 1e-9);
}

}  // namespace
}  // namespace quellmark::test
