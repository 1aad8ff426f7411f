#include "tests/toolbox/product/pool_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <sstream>

#include "app/sar_scene.h"
#include "tests/support/files.h"
#include "tests/support/rows.h"
#include "tests/support/scoped_log.h"

namespace quellmark::product {

namespace {

constexpr double kRadPerDeg = std::numbers::pi / 180.0;
constexpr double kEquator_m = 6378137.0;
constexpr double kEccentricity2 = 0.00669437999;

std::string Unquoted(std::string word) {
  std::erase(word, '"');
  return word;
}

}  // namespace

std::string PoolOf(const SceneDescription& scene) {
  std::ostringstream stream;
  WritePool(scene, stream);
  return stream.str();
}

PoolValues ValuesOf(const std::string& pool) {
  PoolValues values;
  std::vector<std::string>* body = nullptr;
  std::istringstream lines(pool);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string key, type, value;
    if (line.empty() || line[0] == '#') continue;
    if (line[0] != ' ') {
      words >> key >> type >> value;
      body = &values[key];
      if (!type.ends_with("_V")) body->push_back(Unquoted(value));
    } else if (words >> value && value != "{" && value != "}") {
      body->push_back(Unquoted(value));
    }
  }
  return values;
}

void ExpectSameValues(const PoolValues& values, const PoolValues& expected, double relative,
                      const std::vector<std::string>& others) {
  ASSERT_EQ(values.size(), expected.size());
  for (const auto& [key, list] : expected) {
    SCOPED_TRACE(key);
    ASSERT_TRUE(values.contains(key));
    const std::vector<std::string>& ours = values.at(key);
    ASSERT_EQ(ours.size(), list.size());
    if (std::ranges::find(others, key) != others.end()) continue;
    for (std::size_t i = 0; i < list.size(); ++i) {
      const bool is_number = list[i].find('E') != std::string::npos && list[i].find('.') <= 2;
      if (!is_number) {
        EXPECT_EQ(ours[i], list[i]);
      } else {
        const double number = std::stod(list[i]);
        EXPECT_NEAR(std::stod(ours[i]), number, relative * std::abs(number));
      }
    }
  }
}

double LargestDistance(const std::string& pool, const std::string& truth_path) {
  const test::ScopedLog quiet(LOG::Level::kWarning);
  const test::TempDir directory;
  test::WriteFile(directory / "scene.pool", pool);
  PARAMETER_POOL opened;
  static_cast<void>(opened.Open(directory / "scene.pool"));
  SAR_SCENE scene;
  scene.ReadFromParameterPool(opened);

  const std::vector<test::Row> rows = test::ReadRows(truth_path, ",");
  const auto column = [&](const char* name) {
    return static_cast<std::size_t>(std::ranges::find(rows[0], name) - rows[0].begin());
  };
  const std::size_t azimuth = column("azimuth_s"), range = column("slant_range_time_s");
  const std::size_t latitude = column("latitude_deg"), longitude = column("longitude_deg");
  const std::size_t height = column("height_m");
  double largest_m = 0.0;
  for (std::size_t i = 1; i < rows.size(); ++i) {
    app::SceneParameters parameters = scene.Parameters();
    parameters.local_height_m = std::stod(rows[i][height]);
    parameters.first_azimuth_time_s = std::stod(rows[i][azimuth]);
    parameters.first_range_time_s = std::stod(rows[i][range]);
    scene.SetParameters(parameters);
    const app::PointLocation located = scene.Locate(0.0, 0.0);
    const double latitude_rad = std::stod(rows[i][latitude]) * kRadPerDeg;
    const double north_rad = located.latitude_deg * kRadPerDeg - latitude_rad;
    const double east_rad =
        std::remainder(located.longitude_deg - std::stod(rows[i][longitude]), 360.0) * kRadPerDeg;
    // The radii of curvature of WGS84.
    const double w2 = 1.0 - kEccentricity2 * std::pow(std::sin(latitude_rad), 2);
    const double north_m = north_rad * kEquator_m * (1.0 - kEccentricity2) / std::pow(w2, 1.5);
    const double east_m = east_rad * kEquator_m / std::sqrt(w2) * std::cos(latitude_rad);
    largest_m = std::max(largest_m, std::hypot(north_m, east_m));
  }
  return rows.size() > 1 ? largest_m : std::nan("");
}

}  // namespace quellmark::product
