// Compares the results of scenes with tables that a solver with 50 digits has made.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/files.h"
#include <quellmark/error.h>
#include <quellmark/pool.h>
#include <quellmark/scene.h>

namespace quellmark {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

constexpr const char* kNames[] = {"s1b_iw_grd_alps", "s1a_s3_slc_comoros", "s1a_iw1_slc_quebec"};

std::string PathOf(const std::string& name) { return std::string(QM_SCENES "/") + name; }

std::map<std::string, double> ResultsTable(const std::string& name) {
  std::istringstream file(test::ReadFile(PathOf(name) + ".results.csv"));
  std::map<std::string, double> table;
  std::string line;
  std::getline(file, line);
  while (std::getline(file, line)) {
    const std::size_t comma = line.find(',');
    table[line.substr(0, comma)] = std::stod(line.substr(comma + 1));
  }
  return table;
}

TEST(Scene, ResultsAreThoseOfTheTables) {
  for (const char* name : kNames) {
    SCOPED_TRACE(name);
    const auto table = ResultsTable(name);
    const SceneResults results = Scene::Open(PathOf(name) + ".pool").Results();
    ASSERT_EQ(table.size(), kResultFields.size());
    for (const ResultField& field : kResultFields) {
      SCOPED_TRACE(field.key);
      const double expected = table.at(std::string(field.key));
      // The zero-Doppler velocity is less accurate: it is the difference of two points, divided by
      // 0.01 s.
      const bool is_velocity = field.key.starts_with("zero");
      EXPECT_NEAR(results.*field.value, expected, is_velocity ? 1e-6 : 1e-9 * std::fabs(expected));
    }
  }
}

TEST(Scene, ValuesMakeTheSameSceneAsThePool) {
  for (const char* name : kNames) {
    const Scene pool_scene = Scene::Open(PathOf(name) + ".pool");
    const SceneParameters& p = pool_scene.Parameters();
    const Pool pool = Pool::Open(PathOf(name) + ".pool");
    EXPECT_EQ(p.prf_hz, pool.Get<double>("prf"));
    EXPECT_EQ(p.radar_frequency_hz, pool.Get<double>("radar_frequency"));
    EXPECT_EQ(p.samples, pool.Get<std::int32_t>("n_samples"));
    const Scene scene(p, pool_scene.SensorOrbit());
    const SceneResults a = pool_scene.Results();
    const SceneResults b = scene.Results();
    for (const ResultField& field : kResultFields) EXPECT_EQ(a.*field.value, b.*field.value);
    EXPECT_EQ(scene.AzimuthTimeOf(0), p.first_azimuth_time_s);
    EXPECT_EQ(scene.SlantRangeOf(0), 0.5 * 299792458.0 * p.first_range_time_s);
    EXPECT_EQ(scene.Locate(p.samples / 2, p.lines / 2).longitude_deg, a.center_longitude);
  }
}

TEST(Scene, RefusesWhatIsNoScene) {
  const Scene scene = Scene::Open(PathOf(kNames[0]) + ".pool");
  for (double SceneParameters::*member :
       {&SceneParameters::prf_hz, &SceneParameters::range_sampling_frequency_hz,
        &SceneParameters::radar_frequency_hz, &SceneParameters::first_range_time_s}) {
    for (const double value : {0.0, -1.0, kNan, kInfinity}) {
      SceneParameters p = scene.Parameters();
      p.*member = value;
      EXPECT_THROW(Scene(p, scene.SensorOrbit()), SceneError);
    }
  }
  SceneParameters p = scene.Parameters();
  p.lines = 0;
  EXPECT_THROW(Scene(p, scene.SensorOrbit()), SceneError);

  EXPECT_THROW(static_cast<void>(scene.Locate(0, 1e7)), OrbitError);
  EXPECT_THROW(static_cast<void>(scene.Locate(-1e7, 0)), SceneError);
  EXPECT_THROW(static_cast<void>(scene.Locate(kNan, 0)), ArgumentError);

  const test::TempDir directory;
  const std::string path = directory / "scene.pool";
  std::string text = test::ReadFile(PathOf(kNames[0]) + ".pool");
  const std::size_t prf = text.find("\nprf ");
  text.replace(prf, 5, "\nprf_ ");
  test::WriteFile(path, text);
  try {
    static_cast<void>(Scene::Open(path));
    ADD_FAILURE() << "nothing was thrown";
  } catch (const PoolError& error) {
    EXPECT_EQ(error.Class(), ErrorClass::kPoolKeyNotFound);
    EXPECT_EQ(error.File(), path);
    EXPECT_EQ(error.Key(), "prf");
  }
  text.replace(prf, 15, "\nprf INT_32 1\n#");
  test::WriteFile(path, text);
  try {
    static_cast<void>(Scene::Open(path));
    ADD_FAILURE() << "nothing was thrown";
  } catch (const PoolError& error) {
    EXPECT_EQ(error.Class(), ErrorClass::kPoolWrongType);
    EXPECT_EQ(error.Line(),
              1 + static_cast<std::size_t>(
                      std::count(text.begin(), text.begin() + static_cast<long>(prf) + 1, '\n')));
  }
}

}  // namespace
}  // namespace quellmark
