// Compares real scenes with results that other programs have computed for them.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <string>
#include <utility>

#include "app/sar_scene.h"
#include "tests/app/example_scene.h"
#include "tests/support/scoped_log.h"

namespace quellmark::test {
namespace {

constexpr double kRadPerDeg = std::numbers::pi / 180.0;
constexpr double kMeterPerDeg = 111'320.0;

// Half a step of single precision at this value.
double HalfStep(double value) {
  const auto narrow = static_cast<float>(std::abs(value));
  const float next = std::nextafter(narrow, std::numeric_limits<float>::infinity());
  return 0.5 * (static_cast<double>(next) - static_cast<double>(narrow));
}

struct Accuracy {
  const char* scene;
  const char* interpolation;
  double position_m;     // accuracy of a correct solver; see the notes of the example scenes
  double incidence_deg;  // against the ellipsoid normal
  double fm_rate;        // relative, for rows where the product's polynomial is accurate
};

// The velocities of a quick-look orbit do not quite match the slope of its positions, so the
// positions of the first two scenes are worse than those of the third. The figures are those of a
// separate solver plus up to 0.01 m.
constexpr Accuracy kAccuracies[] = {
    {"s1b_iw_grd_alps", "localhermite_7_4", 0.38, 9e-7, 1.4e-4},
    {"s1b_iw_grd_alps", "localpolynom_7_8", 0.28, 6e-7, 1.4e-4},
    {"s1a_s3_slc_comoros", "localhermite_7_4", 1.45, 3e-6, 2.7e-4},
    {"s1a_s3_slc_comoros", "localpolynom_7_8", 0.91, 3e-6, 2.7e-4},
    {"s1a_iw1_slc_quebec", "localhermite_7_4", 0.015, 8e-8, 3.2e-5},
    {"s1a_iw1_slc_quebec", "localpolynom_7_8", 0.015, 8e-8, 3.2e-5},
};

// Locates one point: the scene is reduced to one sample and one line there.
app::PointLocation LocateRow(const TempDir& directory, const std::string& base,
                             const TableRow& row) {
  const std::string path = directory / "point.pool";
  WriteFile(path,
            Overridden(base, {Entry("first_az_time", "FLT_15", row.at("azimuth_s")),
                              Entry("first_rg_time", "FLT_15", row.at("slant_range_time_s")),
                              Entry("local_height", "FLT_15", row.at("height_m")),
                              Entry("n_samples", "INT_32", "1"), Entry("n_lines", "INT_32", "1")}));
  PARAMETER_POOL pool;
  static_cast<void>(pool.Open(path));
  SAR_SCENE scene;
  scene.ReadFromParameterPool(pool);
  return scene.Locate(0.0, 0.0);
}

void ExpectAccuracy(const Accuracy& accuracy) {
  const TempDir directory;
  const std::string base =
      Overridden(ScenePool(accuracy.scene),
                 {Entry("orbit_interpolation", "STR", Quoted(accuracy.interpolation))});
  // Beyond this range the FM rate polynomial of the ground-range product is not accurate.
  const double fm_rate_limit_s = std::string(accuracy.scene) == "s1b_iw_grd_alps" ? 5.70e-3 : 1.0;

  const std::vector<TableRow> rows = SceneTruth(accuracy.scene);
  ASSERT_GE(rows.size(), 210U);
  for (const TableRow& row : rows) {
    SCOPED_TRACE("row " + row.at("index"));
    const app::PointLocation p = LocateRow(directory, base, row);
    const double latitude = std::stod(row.at("latitude_deg"));
    const double longitude = std::stod(row.at("longitude_deg"));
    const double positive_longitude = longitude < 0.0 ? longitude + 360.0 : longitude;
    const double east_scale = kMeterPerDeg * std::cos(latitude * kRadPerDeg);
    const double north_m = (p.latitude_deg - latitude) * kMeterPerDeg;
    const double east_m = (p.longitude_deg - positive_longitude) * east_scale;
    EXPECT_LE(std::hypot(north_m, east_m), accuracy.position_m);
    EXPECT_NEAR(p.incidence_deg, std::stod(row.at("incidence_normal_deg")), accuracy.incidence_deg);
    if (std::stod(row.at("slant_range_time_s")) < fm_rate_limit_s) {
      EXPECT_NEAR(p.fm_rate / std::stod(row.at("abs_fm_rate_hz_per_s")), 1.0, accuracy.fm_rate);
    }
    if (testing::Test::HasFailure()) break;  // one point is enough
  }
}

TEST(SceneTruth, EveryGridPoint) {
  const ScopedLog quiet(LOG::Level::kWarning);
  for (const Accuracy& accuracy : kAccuracies) {
    SCOPED_TRACE(std::string(accuracy.scene) + " " + accuracy.interpolation);
    ExpectAccuracy(accuracy);
  }
}

// Results in double precision must agree to a relative 1e-9, floats to their rounding, and
// velocities to 1e-6 m/s. The last bit of a ground position, 1e-9 m, divided by the time step of
// 0.01 s makes 1e-7 m/s.
TEST(SceneTruth, WholeScenesAgreeWithHighPrecisionSolver) {
  for (const char* name : kSceneNames) {
    SCOPED_TRACE(name);
    SceneRun scene(ScenePool(name));
    ASSERT_EQ(scene.Run().exit_status, 0) << scene.Log();
    const std::string pool = scene.Pool();
    std::size_t place = 0;
    for (const auto& [key, expected] : SceneResultsTable(name)) {
      SCOPED_TRACE(key);
      const std::size_t before = std::exchange(place, pool.find("\n" + key + " "));
      EXPECT_LT(before, place) << "not in the documented order";
      const std::string text = ValueOf(pool, key);
      ASSERT_NE(text, "");
      const double value = std::stod(text);
      if (key.starts_with("zero_doppler")) {
        EXPECT_NEAR(value, expected, 1e-6);
      } else if (key.starts_with("b_param") || key.starts_with("fm_rate")) {
        EXPECT_NEAR(value / expected, 1.0, 1e-9);
      } else {
        const bool is_wrapped = key.find("lon") != std::string::npos && expected < 0.0;
        // The table has ten digits after the decimal point, which is 5e-11 of the value.
        const double printed = 5e-11 * std::abs(expected);
        EXPECT_NEAR(value, expected, HalfStep(is_wrapped ? expected + 360.0 : expected) + printed);
      }
    }
  }
}

}  // namespace
}  // namespace quellmark::test
