#include "geolocation/geolocation_fast.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "basic/errors.h"
#include "tests/geolocation/geometry.h"
#include "tests/support/allocation_counter.h"
#include "tests/support/expect_fails.h"

namespace quellmark::test {
namespace {

using testing::HasSubstr;
using Vector = VECTOR_3D<double>;
namespace geo = quellmark::geolocation;
using Level = runtime::LogLevel;

double SlantRange(const Geometry& g) { return 0.5 * kSpeedOfLight * g.fast_time; }

geo::RangeDopplerQuery QueryOf(const Geometry& g) {
  return {"test",  g.sat_pos,  g.sat_vel,   g.look,   g.height,
          g.rpole, g.requator, g.fast_time, g.doppler};
}

geo::GroundPoint Solve(const Geometry& g) {
  const geo::RangeDopplerQuery query = QueryOf(g);
  return geo::LocateOnEllipsoid(query, geo::MakeLocalFrame(query), geo::RaiseEllipsoid(query));
}

// Difference of two angles in degrees, across the full circle.
double Apart(double a, double b) { return std::abs(std::remainder(a - b, 360.0)); }

TEST(GeolocationFast, RandomLowOrbitsConvergeOnTheirSide) {
  RandomGeometries next(20240611);
  int most_iterations = 0;
  for (int i = 0; i < 1'000'000; ++i) {
    const Geometry g = next();
    const geo::GroundPoint point = Solve(g);
    most_iterations = std::max(most_iterations, point.iterations);
    ASSERT_GT(Dot(point.look, Cross(g.sat_vel, g.sat_pos)) * g.look, 0.0);
  }
  EXPECT_LE(most_iterations, 10);
}

// Every output against its definition, computed here by other means.
TEST(GeolocationFast, RandomResultsFitTheirDefinitions) {
  const ScopedLog log(Level::kDebug);
  RandomGeometries next(7);
  for (int i = 0; i < 20'000; ++i) {
    Geometry g = next();
    g.height = next.Uniform(-500.0, 9000.0);
    g.fast_time -= 2.0 * g.height / kSpeedOfLight;
    Located located;
    const std::size_t before = AllocationCount();
    ASSERT_EQ(&LocateInto(located, g), &located.incidence);
    ASSERT_EQ(AllocationCount(), before);
    SCOPED_TRACE(i);

    // The point of these geodetic coordinates on the raised ellipsoid is the ground point. One
    // degree is 1e-14 rad exact, the point 7e-8 m.
    const double a = g.requator + g.height;
    const double b = g.rpole + g.height;
    const LocalAxes at_ground(located.longitude * kDegree, located.latitude * kDegree);
    const Vector& n = at_ground.up;
    const double scale = 1.0 / std::sqrt(a * a * (n.x * n.x + n.y * n.y) + b * b * n.z * n.z);
    const Vector on_ellipsoid{scale * a * a * n.x, scale * a * a * n.y, scale * b * b * n.z};
    ASSERT_LT(Length(on_ellipsoid - located.ground), 2e-8);

    const Vector look = located.ground - g.sat_pos;
    ASSERT_NEAR(Length(look), SlantRange(g), 2e-9);
    ASSERT_NEAR(Dot(look, g.sat_vel) / SlantRange(g), g.doppler, 1e-9);
    ASSERT_NEAR(located.incidence, std::acos(-Dot(n, look) / Length(look)) / kDegree, 1e-10);

    const LocalAxes at_sensor(std::atan2(g.sat_pos.y, g.sat_pos.x),
                              std::asin(g.sat_pos.z / Length(g.sat_pos)));
    const double heading =
        std::atan2(Dot(g.sat_vel, at_sensor.east), Dot(g.sat_vel, at_sensor.north)) / kDegree;
    // The arc sine of this check is good to 1e-8 rad next to the poles.
    ASSERT_LT(Apart(located.heading, heading), 1e-6);
    for (const double angle : {located.heading, located.longitude}) {
      ASSERT_GE(angle, 0.0);
      ASSERT_LT(angle, 360.0);
    }
  }
}

// Over a pole the longitude of the sensor is 90 degrees by convention, and the heading refers to
// it. The last two fly east and south over the meridian of 270 degrees.
TEST(GeolocationFast, SensorInThePlaneOf90Degrees) {
  const struct {
    Vector up, velocity;
    double heading;
  } rows[] = {{{0.0, 0.0, 1.0}, {7500.0, 0.0, 0.0}, 270.0},
              {{0.0, 0.0, 1.0}, {0.0, -7500.0, 0.0}, 0.0},
              {{0.0, 0.0, 1.0}, {-7500.0, 0.0, 0.0}, 90.0},
              {{0.0, 0.0, 1.0}, {0.0, 7500.0, 0.0}, 180.0},
              {{0.0, 0.0, -1.0}, {0.0, 7500.0, 0.0}, 0.0},
              {{0.0, 0.0, -1.0}, {-7500.0, 0.0, 0.0}, 90.0},
              {{0.0, -1.0, 0.0}, {7500.0, 0.0, 0.0}, 90.0},
              {{0.0, -0.6, 0.8}, {0.0, -6000.0, -4500.0}, 180.0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.up.y << " " << row.heading);
    Geometry g = MakeGeometry(0.0, 0.0, 0.0, 30.0 * kDegree);
    g.sat_pos = Length(g.sat_pos) * row.up;
    g.sat_vel = row.velocity;
    const Located located = Locate(g);
    EXPECT_LT(Apart(located.heading, row.heading), 1e-13);
    EXPECT_NEAR(Length(located.ground - g.sat_pos), SlantRange(g), 5e-9);
    EXPECT_NEAR(Dot(located.ground, g.sat_vel), 0.0, 1e-4);  // zero Doppler: across the track
  }
}

// Zeros and tiny components decide between 0 and 360, 90 and 270.
TEST(GeolocationFast, AnglesAtTheSeams) {
  const Geometry g = MakeGeometry(0.0, 0.0, 0.0, 30.0 * kDegree);
  const geo::RangeDopplerQuery query = QueryOf(g);
  const geo::LocalFrame frame = geo::MakeLocalFrame(query);
  const geo::RaisedEllipsoid ellipsoid = geo::RaiseEllipsoid(query);
  const double r = 6.37e6;
  const struct {
    Vector ground;
    double longitude, latitude;
  } rows[] = {{{r, 0.0, 0.0}, 0.0, 0.0},      {{r, -0.0, 0.0}, 0.0, 0.0},
              {{r, -1e-20, 0.0}, 0.0, 0.0},   {{-r, 0.0, 0.0}, 180.0, 0.0},
              {{0.0, r, 0.0}, 90.0, 0.0},     {{-0.0, r, 0.0}, 90.0, 0.0},
              {{0.0, -r, 0.0}, 270.0, 0.0},   {{0.0, 0.0, r}, 90.0, 90.0},
              {{0.0, -0.0, -r}, 90.0, -90.0}, {{r, -r, 0.0}, 315.0, 0.0}};
  for (const auto& row : rows) {
    const geo::GroundAngles angles = geo::AnglesAt(
        g.sat_pos, frame, ellipsoid, {.position = row.ground, .look = row.ground - g.sat_pos});
    SCOPED_TRACE(testing::Message() << row.ground.x << " " << row.ground.y << " " << row.ground.z);
    EXPECT_DOUBLE_EQ(angles.longitude_deg, row.longitude);
    EXPECT_DOUBLE_EQ(angles.latitude_deg, row.latitude);
  }
}

// Mid swath of real passes: over the Alps, the Comoros and the Gulf of St Lawrence; contains
// modified Copernicus Sentinel data 2021 and 2022.
TEST(GeolocationFast, RealScenesTakeFewIterations) {
  const Geometry passes[] = {{.sat_pos = {4705004.378, 1441146.551, 5075547.689},
                              .sat_vel = {5607.492667, -263.818444, -5109.975608},
                              .height = 2068.0,
                              .fast_time = 6.177025926716036e-03},
                             {.sat_pos = {5314221.966, 4429024.609, -1499630.525},
                              .sat_vel = {2225.086099, -224.116528, 7257.525316},
                              .height = 276.0,
                              .fast_time = 5.429222834590177e-03},
                             {.sat_pos = {2573274.95236, -3715758.903424, 5434631.016571},
                              .sat_vel = {1562.836429, -5771.529686, -4674.741823},
                              .height = 201.0,
                              .fast_time = 5.34849813990142e-03}};
  for (const Geometry& pass : passes) {
    const int iterations = Solve(pass).iterations;
    EXPECT_LE(iterations, 7);
    const ScopedLog log;
    static_cast<void>(Locate(pass));
    EXPECT_EQ(log.Text(),
              "TRACE : geolocation_fast: " + std::to_string(iterations) + " iterations.\n");
  }
}

Geometry Plain() { return MakeGeometry(0.5, 0.7, 3.3, 30.0 * kDegree); }

// A failed call writes its lines, throws, and leaves every place as it was.
template <class Error>
std::string LogOfFailedCall(const Geometry& g) {
  Located untouched;
  const std::string log = LogOfFailure<Error>([&] { static_cast<void>(LocateInto(untouched, g)); });
  EXPECT_EQ(untouched, Located());
  return log;
}

TEST(GeolocationFast, SensorWithinTheEarth) {
  Geometry g = Plain();
  g.sat_pos = {3000.0, 4000.0, 0.0};
  EXPECT_EQ(LogOfFailedCall<ERROR_ARGUMENT>(g),
            "ALARM : geolocation_fast: satellite position lies within the earth!\n"
            "ALARM : geolocation_fast: length of satellite position is: 5000\n");
  // The polar radius counts, without the height.
  g.sat_pos = {0.0, 0.0, g.rpole};
  g.height = 1000.0;
  g.fast_time = 2.0 * 2000.0 / kSpeedOfLight;
  EXPECT_NO_THROW(static_cast<void>(Locate(g)));
}

// With 17 digits the call can be repeated exactly.
TEST(GeolocationFast, RangeThatMissesTheEllipsoid) {
  Geometry g{.sat_pos = {7e6, 0.1, -3.0}, .sat_vel = {0.5, -1.0, 7500.0}, .fast_time = 0.25};
  EXPECT_EQ(LogOfFailedCall<ERROR_DATA>(g),
            "ALARM : geolocation_fast: No intersection of earth ellipsoid and sphere around the "
            "satellite\nALARM : geolocation_fast: during iteration in step: 1\n"
            "ALARM : geolocation_fast was called with look_direction 1 height 0 rpole "
            "6356752.3150000004 requator 6378137 fast_time 0.25 sat_pos "
            "(7000000,0.10000000000000001,-3)= sat_vel (0.5,-1,7500)=\n");
  g.fast_time = 0.001;
  EXPECT_THAT(LogOfFailedCall<ERROR_DATA>(g), HasSubstr("No intersection"));
}

// Towards the point below the sensor the iteration slows down. What takes 20 steps is a solution,
// what takes 21 is none.
TEST(GeolocationFast, IterationLimit) {
  Geometry g;
  int most = 0;
  try {
    const ScopedLog quiet(Level::kSilent);
    for (double incidence = 1.0; incidence > 0.3; incidence -= 0.002) {
      g = MakeGeometry(0.5, 45.0 * kDegree, 0.0, incidence * kDegree);
      most = std::max(most, Solve(g).iterations);
    }
  } catch (const ERROR_DATA&) {  // with the range that is tried once more below
  }
  EXPECT_EQ(most, 20);
  const std::string log = LogOfFailedCall<ERROR_DATA>(g);
  EXPECT_THAT(log,
              testing::StartsWith("ALARM : geolocation_fast: convergence problem\n"
                                  "ALARM : geolocation_fast was called with look_direction 1"));
  EXPECT_THAT(log, HasSubstr(")=\nINFO  : accuracy after 21 steps: "));
  EXPECT_THAT(log, testing::EndsWith(" tolerance 1e-09\n"));
}

// Whatever is not finite, and the largest finite numbers, end in one of the documented failures.
TEST(GeolocationFast, AbsurdNumbersFail) {
  using Limits = std::numeric_limits<double>;
  for (int input = 0; input < 12; ++input) {
    for (const double value : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(),
                               Limits::max(), -Limits::max(), 1e160}) {
      SCOPED_TRACE(testing::Message() << "input " << input << " is " << value);
      Geometry g = Plain();
      double* const inputs[] = {&g.sat_pos.x, &g.sat_pos.y, &g.sat_pos.z, &g.sat_vel.x,
                                &g.sat_vel.y, &g.sat_vel.z, &g.look,      &g.height,
                                &g.rpole,     &g.requator,  &g.fast_time, &g.doppler};
      *inputs[input] = value;
      ScopedLog log;
      try {
        static_cast<void>(Locate(g));
        ADD_FAILURE() << "located";
      } catch (const ERROR_EXCEPTION&) {
        EXPECT_THAT(log.Text(), HasSubstr("ALARM : geolocation_fast"));
      }
    }
  }

  Geometry g = Plain();
  g.sat_pos.x = Limits::quiet_NaN();
  EXPECT_EQ(LogOfFailedCall<ERROR_UNHANDLED_CASE>(g),
            "ALARM : geolocation_fast: determination of angle theta failed!\n");
  g = Plain();
  g.height = Limits::quiet_NaN();
  EXPECT_EQ(LogOfFailedCall<ERROR_ALGORITHM>(g),
            "ALARM : geolocation_fast: unexpected error!\n"
            "ALARM : earth_vect.x: nan\nALARM : earth_vect.y: nan\n");
  g = Plain();
  g.sat_vel = {};
  EXPECT_THAT(LogOfFailedCall<ERROR_ALGORITHM>(g), HasSubstr("unexpected error!"));
  g.sat_vel = 0.001 * g.sat_pos;  // straight up: range and Doppler leave no point
  EXPECT_THAT(LogOfFailedCall<ERROR_DATA>(g), HasSubstr("No intersection"));
  g = Plain();
  g.fast_time = -g.fast_time;
  EXPECT_THAT(LogOfFailedCall<ERROR_DATA>(g), HasSubstr("convergence problem"));
}

}  // namespace
}  // namespace quellmark::test
