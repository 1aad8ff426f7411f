#include "geolocation/geolocation_fast.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>
#include <string>

#include "basic/errors.h"
#include "tests/geolocation/geometry.h"
#include "tests/support/allocation_counter.h"
#include "tests/support/rows.h"
#include "tests/support/scoped_log.h"

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

// The inputs in the order in which a failure logs them, with the names that the tables use.
double& Input(Geometry& g, std::size_t i) {
  const std::array<double*, 12> inputs = {&g.look,      &g.height,    &g.rpole,     &g.requator,
                                          &g.fast_time, &g.sat_pos.x, &g.sat_pos.y, &g.sat_pos.z,
                                          &g.sat_vel.x, &g.sat_vel.y, &g.sat_vel.z, &g.doppler};
  return *inputs.at(i);  // refuses an unknown name
}
constexpr std::array<std::string_view, 12> kInputNames = {
    "look", "height", "rpole", "requator", "fast_time", "px", "py", "pz", "vx", "vy", "vz", "d"};

// A point 35 degrees off the nadir of a sensor 622 km above the equator. `inputs` has the names and
// values of the inputs that differ from this.
Geometry Plain(const std::string& inputs = "") {
  Geometry g{.sat_pos = {7e6, 0.1, -3.0}, .sat_vel = {0.5, -1.0, 7500.0}, .fast_time = 0.0052};
  std::istringstream words(inputs);
  for (std::string name, value; words >> name >> value;) {
    const auto found = std::ranges::find(kInputNames, name);
    Input(g, static_cast<std::size_t>(found - kInputNames.begin())) = std::stod(value);
  }
  return g;
}

// Compares every output with its definition, computed here by other means.
TEST(GeolocationFast, RandomResultsFitTheirDefinitions) {
  const ScopedLog log(Level::kDebug);
  RandomGeometries next(7);
  for (int i = 0; i < 1'000'000; ++i) {
    Geometry g = next();
    g.height = next.Uniform(-500.0, 9000.0);
    g.fast_time -= 2.0 * g.height / kSpeedOfLight;
    Located located;
    const std::size_t before = AllocationCount();
    ASSERT_EQ(&LocateInto(located, g), &located.incidence);
    ASSERT_EQ(AllocationCount(), before);
    SCOPED_TRACE(i);
    ASSERT_LE(Solve(g).iterations, 10);

    // The point on the raised ellipsoid with these geodetic coordinates must be the ground point.
    const double a = g.requator + g.height;
    const double b = g.rpole + g.height;
    const LocalAxes at_ground(located.longitude * kDegree, located.latitude * kDegree);
    const Vector& n = at_ground.up;
    const double scale = 1.0 / std::sqrt(a * a * (n.x * n.x + n.y * n.y) + b * b * n.z * n.z);
    const Vector on_ellipsoid{scale * a * a * n.x, scale * a * a * n.y, scale * b * b * n.z};
    ASSERT_LT(Length(on_ellipsoid - located.ground), 2e-8);

    const Vector look = located.ground - g.sat_pos;
    ASSERT_NEAR(Length(look), SlantRange(g), 2e-9);
    ASSERT_GT(Dot(look, Cross(g.sat_vel, g.sat_pos)) * g.look, 0.0);
    ASSERT_NEAR(Dot(look, g.sat_vel) / SlantRange(g), g.doppler, 1e-9);
    ASSERT_NEAR(located.incidence, std::acos(-Dot(n, look) / Length(look)) / kDegree, 1e-10);

    const LocalAxes at_sensor(std::atan2(g.sat_pos.y, g.sat_pos.x),
                              std::asin(g.sat_pos.z / Length(g.sat_pos)));
    const double heading =
        std::atan2(Dot(g.sat_vel, at_sensor.east), Dot(g.sat_vel, at_sensor.north)) / kDegree;
    // The arc sine of this check is accurate to 1e-8 rad near the poles.
    ASSERT_LT(Apart(located.heading, heading), 1e-6);
    for (const double angle : {located.heading, located.longitude}) {
      ASSERT_GE(angle, 0.0);
      ASSERT_LT(angle, 360.0);
    }
  }
}

TEST(GeolocationFast, HeadingsOverThePolesAndAtTheSeams) {
  const std::vector<Row> rows = ReadRows(QM_GEOLOCATION_TEST_DATA "/headings.txt");
  EXPECT_EQ(rows.size(), 9U);
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0]);
    const Geometry g = Plain(row[0]);
    const Located located = Locate(g);
    EXPECT_LT(Apart(located.heading, std::stod(row[1])), 1e-13);
    EXPECT_NEAR(Length(located.ground - g.sat_pos), SlantRange(g), 5e-9);
    EXPECT_NEAR(Dot(located.ground, g.sat_vel), 0.0, 1e-4);  // zero Doppler: across the track
  }
}

// The sign of zero or a tiny component must not turn 0 degrees into 360, or 90 into 270.
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

TEST(GeolocationFast, RealScenesTakeFewIterations) {
  const std::vector<Row> rows = ReadRows(QM_GEOLOCATION_TEST_DATA "/passes.txt");
  EXPECT_EQ(rows.size(), 3U);
  for (const Row& row : rows) {
    const Geometry pass = Plain(row[0]);
    const int iterations = Solve(pass).iterations;
    EXPECT_LE(iterations, 7);
    const ScopedLog log;
    static_cast<void>(Locate(pass));
    EXPECT_EQ(log.Text(),
              "TRACE : geolocation_fast: " + std::to_string(iterations) + " iterations.\n");
  }
}

// A failed call throws after it has written its lines, and does not change any output argument.
std::string LogOfFailedCall(const Geometry& g, const std::string& message) {
  Located untouched;
  const ScopedLog log;
  try {
    LocateInto(untouched, g);
    ADD_FAILURE() << "located";
  } catch (const ERROR_EXCEPTION& error) {
    EXPECT_EQ(error.Message(), message);
  }
  EXPECT_EQ(untouched, Located());
  return log.Text();
}

TEST(GeolocationFast, FailuresHaveTheirLines) {
  const std::vector<Row> rows = ReadRows(QM_GEOLOCATION_TEST_DATA "/failures.txt");
  EXPECT_EQ(rows.size(), 10U);
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0]);
    EXPECT_THAT(LogOfFailedCall(Plain(row[0]), row[1]), testing::StartsWith(row[2]));
  }
}

// Heights that are solved together must have the same bits and messages as heights that are
// solved one after the other, even if the range is too short for some of them.
TEST(GeolocationFast, HeightsTogetherEqualHeightsAlone) {
  RandomGeometries random(4);
  int failed = 0;
  for (int i = 0; i < 500; ++i) {
    SCOPED_TRACE(i);
    Geometry g = random();
    g.fast_time *= random.Uniform(0.9, 1.1);
    const geo::RangeDopplerQuery query = QueryOf(g);
    const geo::LocalFrame frame = geo::MakeLocalFrame(query);
    const std::array heights = {9000.0, 4000.0, 200.0, -500.0};
    const auto log_of = [&failed](auto locate) {
      const ScopedLog log;
      try {
        locate();
      } catch (const ERROR_DATA&) {
        ++failed;
        return log.Text() + "ERROR_DATA";
      }
      return log.Text();
    };
    std::array<Vector, heights.size()> together{}, alone{};
    const std::string lines =
        log_of([&] { geo::LocateAtHeights(query, frame, heights, together); });
    EXPECT_EQ(lines, log_of([&] {
                for (std::size_t k = 0; k < heights.size(); ++k) {
                  g.height = heights[k];
                  alone[k] = Solve(g).position;
                }
              }));
    EXPECT_EQ(std::memcmp(together.data(), alone.data(), sizeof alone), 0);
  }
  EXPECT_GE(failed, 20);
}

// A sensor at the polar radius is accepted, because the height does not raise this limit.
TEST(GeolocationFast, SensorBelowTheRaisedEllipsoid) {
  EXPECT_NO_THROW(
      Locate(Plain("px 0 py 0 pz 6356752.315 vx 7500 vy 0 vz 0 height 1000 fast_time 1.3e-5")));
}

// Towards the point below the sensor the iteration slows down. A result after 20 steps is a
// solution; 21 steps are a failure.
TEST(GeolocationFast, IterationLimit) {
  Geometry g;
  int most = 0;
  try {
    const ScopedLog quiet(Level::kSilent);
    for (double incidence = 1.0; incidence > 0.3; incidence -= 0.002) {
      g = MakeGeometry(0.5, 45.0 * kDegree, 0.0, incidence * kDegree);
      most = std::max(most, Solve(g).iterations);
    }
  } catch (const ERROR_DATA&) {  // `g` then has the range that is tried again below
  }
  EXPECT_EQ(most, 20);
  const std::string log = LogOfFailedCall(g, "data error");
  EXPECT_THAT(log,
              testing::StartsWith("ALARM : geolocation_fast: convergence problem\n"
                                  "ALARM : geolocation_fast was called with look_direction 1"));
  EXPECT_THAT(log, HasSubstr(")=\nINFO  : accuracy after 21 steps: "));
  EXPECT_THAT(log, testing::EndsWith(" tolerance 1e-09\n"));
}

// Inputs that are not finite, and the largest finite numbers, end in one of the documented
// failures.
TEST(GeolocationFast, AbsurdNumbersFail) {
  using Limits = std::numeric_limits<double>;
  for (std::size_t input = 0; input < kInputNames.size(); ++input) {
    for (const double value : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(),
                               Limits::max(), -Limits::max(), 1e160}) {
      SCOPED_TRACE(testing::Message() << kInputNames[input] << " is " << value);
      Geometry g = Plain();
      Input(g, input) = value;
      ScopedLog log;
      EXPECT_THROW(Locate(g), ERROR_EXCEPTION);
      EXPECT_THAT(log.Text(), HasSubstr("ALARM : geolocation_fast"));
    }
  }
}

}  // namespace
}  // namespace quellmark::test
