// Image to ground on the ellipsoid against solvers that share nothing with it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "tests/geolocation/geometry.h"
#include "tests/imaging/many_points.h"

namespace quellmark::test {
namespace {

using imaging::HeightModel;
using imaging::PointStatus;

// Sensors of one look side with the points that they see.
struct Batch {
  imaging::ImageGeometry image;
  ListedStates states;
  std::vector<Geometry> geometries;
  std::vector<double> sample, line, height;

  void Add(const Geometry& g) {
    line.push_back(static_cast<double>(geometries.size()));
    sample.push_back(g.fast_time);
    height.push_back(g.height);
    geometries.push_back(g);
    states.states.push_back({g.sat_pos, g.sat_vel, {}});
  }
  void Close(imaging::LookSide side) {
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

// The bound grows with the cotangent of the look angle, as the rounding of the sensor's radius
// does.
TEST(Ellipsoid, AgreesWithTheSolverOfSinglePoints) {
  for (const auto side : {imaging::LookSide::kRight, imaging::LookSide::kLeft}) {
    Batch batch;
    RandomGeometries random(5);
    while (batch.geometries.size() < 500'000) {
      Geometry g = random();
      g.doppler = 0.0;
      g.look = static_cast<double>(static_cast<int>(side));
      batch.Add(g);
    }
    batch.Close(side);
    Ground ground(batch.geometries.size());
    const auto summary = LocateOnGround(
        batch.image, {batch.sample, batch.line},
        {.per_point_m = batch.height, .model = HeightModel::kRaisedEllipsoid}, ground.Outputs());
    ASSERT_EQ(summary.Of(PointStatus::kFound), batch.geometries.size());
    for (std::size_t i = 0; i < batch.geometries.size(); ++i) {
      SCOPED_TRACE(i);
      const Located one = Locate(batch.geometries[i]);
      const double steepness = std::max(1.0, 1.0 / std::tan(ground.look[i] * kDegree));
      ASSERT_LE(Length(ground.Position(i) - one.ground), 3e-9 * steepness);
      const double east = std::cos(one.latitude * kDegree);
      ASSERT_LE(std::abs(Turned(ground.longitude[i], one.longitude)) * east, 1e-12);
      ASSERT_NEAR(ground.latitude[i], one.latitude, 1e-12);
      ASSERT_NEAR(ground.incidence[i], one.incidence, 1e-12 * steepness);
      ASSERT_LE(std::abs(Turned(ground.heading[i], one.heading)), 1e-12);
    }
  }
}

}  // namespace
}  // namespace quellmark::test
