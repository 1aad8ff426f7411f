// Meeting points with the terrain against dense searches, and places that were put on it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "imaging/terrain_grid.h"
#include "tests/geolocation/geometry.h"
#include "tests/imaging/many_points.h"

namespace quellmark::test {
namespace {

using imaging::GridLayout;
using imaging::PointStatus;
using imaging::TerrainGrid;

constexpr double kStep_deg = 1.0 / 3600.0;
constexpr float kVoid = std::numeric_limits<float>::quiet_NaN();

// A circular orbit over a longitude and latitude, with the image's line 0 at time 0.
class CircularStates final : public imaging::StateSource {
 public:
  explicit CircularStates(const Geometry& g)
      : position_(g.sat_pos), velocity_(g.sat_vel), omega_(Length(g.sat_vel) / Length(g.sat_pos)) {}
  void StatesAt(std::span<const double> times_s,
                std::span<imaging::SensorState> out) const override {
    for (std::size_t i = 0; i < times_s.size(); ++i) {
      const double c = std::cos(omega_ * times_s[i]), s = std::sin(omega_ * times_s[i]);
      out[i] = {c * position_ + (s / omega_) * velocity_, c * velocity_ - (s * omega_) * position_,
                (-omega_ * omega_ * c) * position_ - (s * omega_) * velocity_};
    }
  }
  [[nodiscard]] imaging::TimeInterval Covered() const override { return {-300.0, 300.0}; }

 private:
  VECTOR_3D<double> position_, velocity_;
  double omega_;
};

struct View {
  View(double longitude, double latitude, double bearing, double incidence,
       imaging::LookSide side = imaging::LookSide::kRight)
      : geometry(MakeGeometry(longitude * kDegree, latitude * kDegree, bearing * kDegree,
                              incidence * kDegree)),
        states(geometry) {
    image = {.first_range_time_s = geometry.fast_time - 1.5e-5,
             .range_sampling_frequency_hz = 1e7,
             .prf_hz = 500.0,
             .n_samples = 300,
             .n_lines = 1000,
             .look_side = side,
             .radar_frequency_hz = 5.4e9,
             .states = &states};
  }
  Geometry geometry;
  CircularStates states;
  imaging::ImageGeometry image;
};

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

struct Meeting {
  double height = 0.0;
  int count = 0;       // of meeting points
  bool clear = false;  // not nearly touching anywhere, which a search in steps can not tell
};

// All heights from top to bottom in small steps, through the routine for heights per point.
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
  int least_layover;  // of 400 points: the case is what its name says
};

TEST(Terrain, TheHighestMeetingPointIsFound) {
  constexpr Case kCases[] = {{"smooth", 38.0, 100.0, 150.0, 0},
                             {"steep", 38.0, 500.0, 100.0, 20},
                             {"overfolded", 25.0, 900.0, 60.0, 200},
                             {"shallow view", 70.0, 600.0, 60.0, 0}};
  for (const Case& c : kCases) {
    for (const auto side : {imaging::LookSide::kRight, imaging::LookSide::kLeft}) {
      SCOPED_TRACE(c.name);
      // The left sensor looks at a point of its own to the other side of the track.
      View view(10.0, 46.0, 77.0, c.incidence, side);
      Ground middle(1);
      const std::vector<double> one_sample = {150.0}, one_line = {0.0};
      LocateOnGround(view.image, {one_sample, one_line}, {.constant_m = 800.0, .per_point_m = {}},
                     middle.Outputs());
      const double west = middle.longitude[0] - 300 * kStep_deg;
      const double south = middle.latitude[0] - 300 * kStep_deg;
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

}  // namespace
}  // namespace quellmark::test
