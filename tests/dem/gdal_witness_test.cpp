// GDAL reads the same tiles: an independent witness of byte offsets and of the interpolation.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/dem/test_dem.h"
#include "tests/support/child.h"
#include "tests/support/scoped_log.h"

namespace quellmark::test {
namespace {

constexpr int kSize = 40;    // grid values along each side
constexpr int kWest = 1000;  // global indices of the south-west value
constexpr int kSouth = -2000;
constexpr int kFiner = 8;  // heights per grid step

bool IsInstalled(const char* tool) {
  return RunProgram("/usr/bin/env", {tool, "--version"}, "/").exit_status == 0;
}

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}

// The tile as a raw raster: rows from north to south, behind the 32 bytes of the header.
std::string RawRaster(double step_deg) {
  return "<VRTDataset rasterXSize='40' rasterYSize='40'><SRS>EPSG:4326</SRS><GeoTransform>" +
         Number((kWest - 0.5) * step_deg) + "," + Number(step_deg) + ",0," +
         Number((kSouth + kSize - 0.5) * step_deg) + ",0," + Number(-step_deg) +
         "</GeoTransform><VRTRasterBand dataType='Int16' band='1' subClass='VRTRawRasterBand'>"
         "<SourceFilename relativetoVRT='1'>tile0.srf</SourceFilename><ImageOffset>32</ImageOffset>"
         "<PixelOffset>2</PixelOffset><LineOffset>80</LineOffset><ByteOrder>LSB</ByteOrder></"
         "VRTRasterBand></VRTDataset>";
}

TEST(GdalWitness, HeightsAgree) {
  if (!IsInstalled("gdalwarp")) GTEST_SKIP() << "gdalwarp is not installed";
  const TempDir directory;
  const ScopedLog quiet;
  const TestDem dem{.tiles = {{kWest, kSouth + kSize - 1, kWest + kSize - 1, kSouth}},
                    .resolution_arcsec = 30.0,
                    .north_first = true};
  const double step = dem.resolution_arcsec / 3600.0;
  SRF_DOCUMENT document(DEM_DESCRIPTOR::ReadFromFile(WriteDem(directory, dem)), true);
  WriteFile(directory / "raw.vrt", RawRaster(step));
  // Heights at the centres of a finer raster between the outermost grid values.
  const int fine = (kSize - 1) * kFiner;
  const ProgramRun run = RunProgram(
      "/bin/sh",
      {"-c", "gdalwarp -q -r bilinear -et 0 -ot Float64 -of ENVI -te " + Number(kWest * step) +
                 " " + Number(kSouth * step) + " " + Number((kWest + kSize - 1) * step) + " " +
                 Number((kSouth + kSize - 1) * step) + " -ts " + std::to_string(fine) + " " +
                 std::to_string(fine) + " raw.vrt fine.raw"},
      directory.Path());
  ASSERT_EQ(run.exit_status, 0) << run.output;
  const std::string bytes = ReadFile(directory / "fine.raw");
  ASSERT_EQ(bytes.size(), sizeof(double) * static_cast<std::size_t>(fine * fine));
  double worst = 0.0;
  for (int line = 0; line < fine; ++line) {
    for (int sample = 0; sample < fine; ++sample) {
      double theirs;
      std::memcpy(&theirs,
                  bytes.data() + sizeof theirs * static_cast<std::size_t>(line * fine + sample),
                  sizeof theirs);
      const double ours =
          document.GetElevationInterpolated((kWest + (sample + 0.5) / kFiner) * step,
                                            (kSouth + kSize - 1 - (line + 0.5) / kFiner) * step);
      worst = std::max(worst, std::abs(ours - theirs));
    }
  }
  // Both compute in double; the largest difference seen is 7e-12 m.
  EXPECT_LT(worst, 1e-9);
}

}  // namespace
}  // namespace quellmark::test
