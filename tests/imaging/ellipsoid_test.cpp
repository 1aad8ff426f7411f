// Compares image to ground on the ellipsoid with solvers that share no code with it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <vector>

#include "imaging/image_geometry.h"
#include "tests/geolocation/geometry.h"
#include "tests/imaging/many_points.h"

namespace quellmark::test {
namespace {

using imaging::HeightModel;
using imaging::LookSide;
using imaging::PointStatus;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Sensors of one look side and the points that they see. Line i is sensor i; a sample is the range
// time itself.
struct Batch {
  imaging::ImageGeometry image;
  ListedStates states;
  std::vector<Geometry> geometries;
  std::vector<double> sample, line, height;

  Batch(LookSide side, std::size_t count, double lowest, double highest) {
    RandomGeometries random(5);
    while (geometries.size() < count) {
      Geometry g = random();
      g.doppler = 0.0;
      g.look = static_cast<double>(static_cast<int>(side));
      g.height = random.Uniform(lowest, highest);
      line.push_back(static_cast<double>(geometries.size()));
      sample.push_back(g.fast_time);
      height.push_back(g.height);
      geometries.push_back(g);
      states.states.push_back({g.sat_pos, g.sat_vel, {}});
    }
    states.states.push_back(states.states.back());
    image = {.first_range_time_s = 0.0,
             .range_sampling_frequency_hz = 1.0,
             .prf_hz = 1.0,
             .look_side = side,
             .radar_frequency_hz = 1.0,
             .states = &states};
  }
};

double Turned(double a, double b) { return std::remainder(a - b, 360.0); }

// The single-point solver rounds the sensor's radius, and that error grows with the cotangent of
// the look angle.
double Steepness(double look_deg) { return std::max(1.0, 1.0 / std::tan(look_deg * kDegree)); }

TEST(Ellipsoid, AgreesWithTheSolverOfSinglePoints) {
  for (const LookSide side : {LookSide::kRight, LookSide::kLeft}) {
    Batch batch(side, 500'000, -100.0, 100.0);
    Ground ground(batch.geometries.size());
    const auto summary = LocateOnGround(
        batch.image, {batch.sample, batch.line},
        {.per_point_m = batch.height, .model = HeightModel::kRaisedEllipsoid}, ground.Outputs());
    ASSERT_EQ(summary.Of(PointStatus::kFound), batch.geometries.size());
    for (std::size_t i = 0; i < batch.geometries.size(); ++i) {
      SCOPED_TRACE(i);
      const Located one = Locate(batch.geometries[i]);
      const double steepness = Steepness(ground.look[i]);
      ASSERT_LE(Length(ground.Position(i) - one.ground), 2e-9 * (1.0 + steepness));
      const double east = std::cos(one.latitude * kDegree);
      ASSERT_LE(std::abs(Turned(ground.longitude[i], one.longitude)) * east, 1e-12);
      ASSERT_NEAR(ground.latitude[i], one.latitude, 1e-12);
      ASSERT_NEAR(ground.incidence[i], one.incidence, 1e-12 * steepness);
      ASSERT_LE(std::abs(Turned(ground.heading[i], one.heading)), 1e-12);
    }
  }
}

using Wide = long double;
struct WideVector {
  Wide x, y, z;
  explicit WideVector(const VECTOR_3D<double>& v)
      : x(static_cast<Wide>(v.x)), y(static_cast<Wide>(v.y)), z(static_cast<Wide>(v.z)) {}
  WideVector(Wide a, Wide b, Wide c) : x(a), y(b), z(c) {}
  friend WideVector operator-(const WideVector& a, const WideVector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
  }
  friend Wide Dot(const WideVector& a, const WideVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
  }
};

// Longitude, latitude [rad] and height by the iteration of the textbooks, in extended precision.
struct Geodetic {
  Wide longitude, latitude, height;
};
Geodetic ToGeodetic(const WideVector& g, Wide a, Wide b) {
  const Wide e2 = (a - b) * (a + b) / (a * a);
  const Wide rho = std::sqrt(g.x * g.x + g.y * g.y);
  Wide latitude = std::atan2(g.z, rho * (1 - e2));
  Wide normal = a;
  for (int i = 0; i < 30; ++i) {
    const Wide s = std::sin(latitude);
    normal = a / std::sqrt(1 - e2 * s * s);
    latitude = std::atan2(g.z + e2 * normal * s, rho);
  }
  const Wide s = std::sin(latitude), c = std::cos(latitude);
  return {std::atan2(g.y, g.x), latitude, rho * c + g.z * s - a * a / normal};
}

// The points fulfil the equations, at geodetic heights up to above the highest mountains.
TEST(Ellipsoid, PointsFulfilTheEquations) {
  for (const LookSide side : {LookSide::kRight, LookSide::kLeft}) {
    Batch batch(side, 30'000, -500.0, 9000.0);
    Ground ground(batch.geometries.size());
    LocateOnGround(batch.image, {batch.sample, batch.line}, {.per_point_m = batch.height},
                   ground.Outputs());
    for (std::size_t i = 0; i < batch.geometries.size(); ++i) {
      SCOPED_TRACE(i);
      const Geometry& g = batch.geometries[i];
      const WideVector s(g.sat_pos), v(g.sat_vel), p(ground.Position(i));
      const WideVector look = p - s;
      const auto range = static_cast<Wide>(0.5 * kSpeedOfLight * g.fast_time);
      // The rounding is 5e-10 m in each coordinate of the point, and as much in the sensor's frame.
      const double rounding_m = 2e-9;
      ASSERT_NEAR(static_cast<double>(std::sqrt(Dot(look, look)) - range), 0.0, rounding_m);
      ASSERT_NEAR(static_cast<double>(Dot(look, v) / std::sqrt(Dot(v, v))), 0.0, rounding_m);
      const Geodetic at = ToGeodetic(p, static_cast<Wide>(g.requator), static_cast<Wide>(g.rpole));
      ASSERT_NEAR(static_cast<double>(at.height - static_cast<Wide>(g.height)), 0.0, rounding_m);
      const Wide degrees = 180 / std::numbers::pi_v<Wide>;
      ASSERT_NEAR(static_cast<double>(at.latitude * degrees), ground.latitude[i], 1e-13);
      ASSERT_NEAR(static_cast<double>(at.longitude * degrees), ground.longitude[i], 1e-13);
      const WideVector normal(std::cos(at.latitude) * std::cos(at.longitude),
                              std::cos(at.latitude) * std::sin(at.longitude),
                              std::sin(at.latitude));
      const Wide incidence = std::acos(-Dot(normal, look) / std::sqrt(Dot(look, look)));
      ASSERT_NEAR(static_cast<double>(incidence * degrees), ground.incidence[i], 1e-12);
      const Wide nadir = std::acos(-Dot(s, look) / std::sqrt(Dot(look, look) * Dot(s, s)));
      ASSERT_NEAR(static_cast<double>(nadir * degrees), ground.look[i], 1e-12);
      const double to_right = Dot(ground.Position(i) - g.sat_pos, Cross(g.sat_vel, g.sat_pos));
      ASSERT_GT(to_right * g.look, 0.0);
    }
  }
}

// Near the nadir the points of both look sides meet, and Newton's method does not converge. The
// points must still fulfil their equations. Ranges that do not reach the ground or go beyond the
// horizon must be reported.
TEST(Ellipsoid, NadirAndHorizon) {
  int found = 0;
  for (const LookSide side : {LookSide::kRight, LookSide::kLeft}) {
    for (const double latitude : {0.0, 44.0, -89.9, 90.0}) {
      SCOPED_TRACE(latitude);
      Batch batch(side, 1, 0.0, 0.0);
      const LocalAxes axes(20.0 * kDegree, latitude * kDegree);
      const VECTOR_3D<double> s = 6878e3 * axes.up;
      batch.states.states[0] = {s, 7500.0 * axes.east, {}};
      batch.states.states[1] = batch.states.states[0];
      const Geodetic sensor = ToGeodetic(WideVector(s), 6378137.0L, 6356752.315L);
      const double height = static_cast<double>(sensor.height);
      std::vector<double> ranges, lines;
      for (const double beyond : {1e-3, 0.1, 1.0, 10.0, 100.0, 1e3, 1e4, 1e5, 1e6}) {
        ranges.push_back(height + beyond);
      }
      const std::size_t good = ranges.size();
      for (const double none : {height - 1e-3, height * 0.5, 0.0, -height, 3.2e6, 1.2e7, 1e9}) {
        ranges.push_back(none);
      }
      for (double& range : ranges) range /= 0.5 * kSpeedOfLight;
      lines.resize(ranges.size());
      Ground ground(ranges.size());
      LocateOnGround(batch.image, {ranges, lines}, {.per_point_m = {}}, ground.Outputs());
      for (std::size_t i = 0; i < ranges.size(); ++i) {
        SCOPED_TRACE(i);
        if (i >= good) {
          EXPECT_EQ(ground.status[i], PointStatus::kNoIntersection);
          EXPECT_TRUE(std::isnan(ground.latitude[i]) && std::isnan(ground.velocity[i]));
          continue;
        }
        // The nadir is up to 4 mrad, or 3 m of range, away from the direction to the earth's
        // centre.
        if (i < 3 && ground.status[i] == PointStatus::kNoIntersection) continue;
        ASSERT_EQ(ground.status[i], PointStatus::kFound);
        ++found;
        const WideVector p(ground.Position(i));
        const WideVector look = p - WideVector(s);
        EXPECT_NEAR(static_cast<double>(std::sqrt(Dot(look, look))),
                    ranges[i] * 0.5 * kSpeedOfLight, 5e-9);
        EXPECT_NEAR(static_cast<double>(ToGeodetic(p, 6378137.0L, 6356752.315L).height), 0.0, 5e-9);
      }
    }
  }
  EXPECT_GE(found, 8 * 6 + 8);
}

// All outputs must have the same bits if a call is cut into pieces in any way.
TEST(Ellipsoid, BitsDependOnThePointAlone) {
  Batch batch(LookSide::kRight, 5003, -500.0, 9000.0);
  const std::size_t n = batch.geometries.size();
  for (std::size_t i = 0; i < n; i += 97) batch.sample[i] = i % 2 == 0 ? kNaN : 1e-4;
  Ground expected(n);
  LocateOnGround(
      batch.image, {batch.sample, batch.line}, {.per_point_m = batch.height}, expected.Outputs(),
      {.threads = 1, .instruction_set = imaging::InstructionSet::kBaseline, .progress = {}});
  InImage back(n);
  const imaging::GroundPoints targets{expected.longitude, expected.latitude, expected.height};
  LocateInImage(
      batch.image, targets, back.Outputs(),
      {.threads = 1, .instruction_set = imaging::InstructionSet::kBaseline, .progress = {}});
  using Set = imaging::InstructionSet;
  for (const Set set : {Set::kBest, Set::kBaseline, Set::kAvx2, Set::kAvx512}) {
    if (!IsAvailable(set)) continue;
    for (const unsigned threads : {1U, 2U, 7U}) {
      SCOPED_TRACE(static_cast<int>(set));
      const imaging::Execution execution{
          .threads = threads, .instruction_set = set, .progress = {}};
      Ground ground(n);
      LocateOnGround(batch.image, {batch.sample, batch.line}, {.per_point_m = batch.height},
                     ground.Outputs(), execution);
      EXPECT_TRUE(expected == ground);
      InImage again(n);
      LocateInImage(batch.image, targets, again.Outputs(), execution);
      EXPECT_TRUE(back == again);
    }
  }
  // In reverse order, and with one call for each point.
  std::vector<double> sample(batch.sample.rbegin(), batch.sample.rend());
  std::vector<double> line(batch.line.rbegin(), batch.line.rend());
  std::vector<double> height(batch.height.rbegin(), batch.height.rend());
  Ground reversed(n);
  LocateOnGround(batch.image, {sample, line}, {.per_point_m = height}, reversed.Outputs());
  for (std::size_t i = 0; i < n; ++i) {
    ASSERT_TRUE(expected.SameBits(i, reversed, n - 1 - i)) << i;
    if (i % 50 != 0) continue;
    Ground one(1);
    LocateOnGround(batch.image, {{&batch.sample[i], 1}, {&batch.line[i], 1}},
                   {.constant_m = batch.height[i], .per_point_m = {}}, one.Outputs());
    ASSERT_TRUE(expected.SameBits(i, one, 0)) << i;
  }
}

// The lines of a grid are solved together. The result must have the same bits as point by point.
TEST(Ellipsoid, GridsAreTheirPoints) {
  Batch batch(LookSide::kLeft, 40, 0.0, 0.0);
  const double middle = batch.sample[7];
  for (const std::size_t width : {1U, 5U, 33U, 100U}) {
    const imaging::ImageGrid grid{.first_sample = middle * 0.9,
                                  .sample_step = 1e-7,
                                  .n_samples = width,
                                  .first_line = 3.0,
                                  .line_step = 1.0,
                                  .n_lines = 30};
    Ground whole(width * 30);
    LocateOnGround(batch.image, grid, {.constant_m = 250.0, .per_point_m = {}}, whole.Outputs());
    std::vector<double> sample, line;
    for (std::size_t i = 0; i < width * 30; ++i) {
      sample.push_back(middle * 0.9 + static_cast<double>(i % width) * 1e-7);
      line.push_back(3.0 + static_cast<double>(i / width));
    }
    Ground points(width * 30);
    LocateOnGround(batch.image, {sample, line}, {.constant_m = 250.0, .per_point_m = {}},
                   points.Outputs());
    EXPECT_TRUE(whole == points) << width;
  }
}

TEST(Ellipsoid, HostileInput) {
  Batch batch(LookSide::kRight, 10, 0.0, 0.0);
  struct Row {
    double sample, line, height;
    PointStatus status;
  };
  const double tau = batch.sample[0];
  const Row rows[] = {{tau, 0.0, 0.0, PointStatus::kFound},
                      {kNaN, 0.0, 0.0, PointStatus::kBadInput},
                      {kInfinity, 0.0, 0.0, PointStatus::kBadInput},
                      {tau, kNaN, 0.0, PointStatus::kBadInput},
                      {tau, -kInfinity, 0.0, PointStatus::kBadInput},
                      {tau, 0.0, kNaN, PointStatus::kBadInput},
                      {tau, 0.0, kInfinity, PointStatus::kBadInput},
                      {tau, 0.0, -7e6, PointStatus::kBadInput},
                      {tau, 0.0, 1e8, PointStatus::kNoIntersection},
                      {tau, -1e-9, 0.0, PointStatus::kBeyondOrbit},
                      {tau, 10.5, 0.0, PointStatus::kBeyondOrbit},
                      {1e300, 0.0, 0.0, PointStatus::kNoIntersection},
                      {-tau, 0.0, 0.0, PointStatus::kNoIntersection}};
  std::vector<double> sample, line, height;
  for (const Row& row : rows) {
    sample.push_back(row.sample);
    line.push_back(row.line);
    height.push_back(row.height);
  }
  Ground ground(std::size(rows));
  const auto summary =
      LocateOnGround(batch.image, {sample, line}, {.per_point_m = height}, ground.Outputs());
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    EXPECT_EQ(ground.status[i], rows[i].status) << i;
    EXPECT_EQ(std::isnan(ground.x[i]), rows[i].status != PointStatus::kFound) << i;
  }
  EXPECT_EQ(summary.Of(PointStatus::kBadInput), 7U);
  const imaging::ImagePoints none;
  EXPECT_EQ(LocateOnGround(batch.image, none, {.per_point_m = {}}, {}).count[0], 0U);
}

}  // namespace
}  // namespace quellmark::test
