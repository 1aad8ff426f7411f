// Tests orbits from pools and from state vectors, and their times.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

#include <quellmark/error.h>
#include <quellmark/orbit.h>
#include <quellmark/pool.h>

namespace quellmark {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string ScenePath(const std::string& name) {
  return std::string(QM_SCENES "/") + name + ".pool";
}

// The closed form of a circle in a plane that is inclined by 98 degrees.
OrbitState OnCircle(double t) {
  constexpr double kRadius_m = 7.07e6;
  constexpr double kRate = 1.0617e-3;  // [rad/s]
  const double inclination = 98.0 * std::numbers::pi / 180.0;
  const double c = std::cos(kRate * t);
  const double s = std::sin(kRate * t);
  const auto place = [&](double x, double y) {
    return Vector3{x, y * std::cos(inclination), y * std::sin(inclination)};
  };
  const double v = kRadius_m * kRate;
  const double a = v * kRate;
  return {place(kRadius_m * c, kRadius_m * s), place(-v * s, v * c), place(-a * c, -a * s)};
}

std::vector<StateVector> Circle(int count, double step_s) {
  std::vector<StateVector> states;
  for (int i = 0; i < count; ++i) {
    const OrbitState state = OnCircle(i * step_s);
    states.push_back({i * step_s, state.position_m, state.velocity_ms});
  }
  return states;
}

double Distance(const Vector3& a, const Vector3& b) {
  return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

TEST(Orbit, EveryInterpolationFollowsACircle) {
  // The natural spline has no acceleration at its ends, which also makes it worse in the middle.
  struct Row {
    const char* interpolation;
    double position_m;
    double velocity_ms;
  };
  for (const Row& row : {Row{"polynom", 1e-4, 1e-4}, Row{"polyfit_9", 1e-4, 1e-4},
                         Row{"spline", 0.2, 0.1}, Row{"localpolynom_7_8", 1e-4, 1e-4},
                         Row{"localpolyfit_7_8", 1e-4, 1e-4}, Row{"chebyshev_9", 1e-4, 1e-4},
                         Row{"localchebyshev_7_8", 1e-4, 1e-4}, Row{"hermite", 1e-4, 1e-4},
                         Row{"localhermite_7_4", 1e-4, 1e-4}, Row{"everett_8", 1e-4, 1e-4}}) {
    SCOPED_TRACE(row.interpolation);
    const Orbit orbit = Orbit::FromStateVectors(Circle(16, 10.0), row.interpolation);
    EXPECT_EQ(orbit.Interpolation(), row.interpolation);
    EXPECT_EQ(orbit.Coverage().first_s, 0.0);
    EXPECT_EQ(orbit.Coverage().last_s, 150.0);
    for (const double t : {70.0, 71.3, 77.9}) {
      const OrbitState state = orbit.StateAt(t);
      EXPECT_LT(Distance(state.position_m, OnCircle(t).position_m), row.position_m);
      EXPECT_LT(Distance(state.velocity_ms, OnCircle(t).velocity_ms), row.velocity_ms);
      EXPECT_LT(Distance(state.acceleration_ms2, OnCircle(t).acceleration_ms2), 0.2);
    }
  }
}

TEST(Orbit, StateVectorsOfAPoolMakeItsOrbit) {
  const std::string path = ScenePath("s1a_iw1_slc_quebec");
  const Orbit from_pool = Orbit::Open(path);
  EXPECT_EQ(from_pool.Kind(), TimeKind::kUtc);
  EXPECT_EQ(from_pool.ReferenceTime(), "2022-04-14T10:21:00.000000Z");
  EXPECT_EQ(from_pool.Interpolation(), "localhermite_7_4");

  const Pool pool = Pool::Open(path);
  std::vector<StateVector> states;
  for (const std::string& time : pool.Get<Vector<std::string>>("orbit_time").values) {
    states.push_back({from_pool.TimeOf(time), {}, {}});
  }
  const char* const axes[] = {"x", "y", "z"};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const auto position = pool.Get<Vector<double>>(std::string("orbit_pos_") + axes[axis]);
    const auto velocity = pool.Get<Vector<double>>(std::string("orbit_vel_") + axes[axis]);
    for (std::size_t i = 0; i < states.size(); ++i) {
      states[i].position_m[axis] = position.values[i];
      states[i].velocity_ms[axis] = velocity.values[i];
    }
  }
  const Orbit from_states =
      Orbit::FromStateVectors(states, from_pool.Interpolation(), from_pool.ReferenceTime());
  std::vector<double> times;
  for (double t = from_pool.Coverage().first_s; t < from_pool.Coverage().last_s; t += 3.7) {
    times.push_back(t);
  }
  std::vector<OrbitState> a(times.size());
  std::vector<OrbitState> b(times.size());
  from_pool.StatesAt(times, a);
  from_states.StatesAt(times, b);
  for (std::size_t i = 0; i < times.size(); ++i) {
    EXPECT_EQ(a[i].position_m, b[i].position_m);
    EXPECT_EQ(a[i].velocity_ms, b[i].velocity_ms);
    EXPECT_EQ(a[i].acceleration_ms2, b[i].acceleration_ms2);
  }
}

TEST(Orbit, SaysWhatIsDoneBeyondItsStateVectors) {
  const Orbit orbit = Orbit::FromStateVectors(Circle(16, 10.0), "polynom");
  for (const double t : {-0.001, 150.001}) {
    EXPECT_THROW(static_cast<void>(orbit.StateAt(t)), OrbitError);
    EXPECT_TRUE(std::isnan(orbit.StateAt(t, Outside::kNan).acceleration_ms2[2]));
    EXPECT_LT(Distance(orbit.StateAt(t, Outside::kExtrapolate).position_m, OnCircle(t).position_m),
              1e-3);
  }
  EXPECT_THROW(static_cast<void>(orbit.StateAt(kNan, Outside::kNan)), ArgumentError);
  std::vector<OrbitState> one(1);
  EXPECT_THROW(orbit.StatesAt(std::vector{1.0, 2.0}, one), ArgumentError);
}

TEST(Orbit, RefusesWhatIsNoOrbit) {
  auto states = Circle(16, 10.0);
  EXPECT_THROW(static_cast<void>(Orbit::FromStateVectors({})), OrbitError);
  EXPECT_THROW(static_cast<void>(Orbit::FromStateVectors(states, "quadratic")), OrbitError);
  EXPECT_THROW(static_cast<void>(Orbit::FromStateVectors(states, "polynom", "yesterday")),
               OrbitError);
  states[3].time_s = states[2].time_s;
  EXPECT_THROW(static_cast<void>(Orbit::FromStateVectors(states, "polynom")), Error);
  EXPECT_THROW(static_cast<void>(Orbit::Open(QM_SCENES "/none.pool")), PoolError);
}

TEST(Orbit, TimesAreTextsAndNanosecondsToo) {
  const Orbit orbit =
      Orbit::FromStateVectors(Circle(16, 10.0), "polynom", "2016-12-31T23:59:00.000000Z");
  EXPECT_EQ(orbit.TimeOf("2017-01-01T00:00:01.5Z"),
            61.5);  // the table of leap seconds ends before this
  EXPECT_EQ(orbit.TextOf(61.5), "2017-01-01T00:00:01.500000Z");
  EXPECT_EQ(orbit.TextOf(-0.25), "2016-12-31T23:58:59.750000Z");
  const std::int64_t base = UnixNanosecondsFromUtc("2016-12-31T23:59:00Z");
  EXPECT_EQ(orbit.TimeOfUnixNanoseconds(base + 1'500'000'001), 1.500000001);
  EXPECT_NEAR(orbit.TimeOfUnixNanoseconds(base - 1), -1e-9, 1e-20);
  EXPECT_THROW(static_cast<void>(orbit.TimeOf("12.5")), ArgumentError);
  EXPECT_THROW(static_cast<void>(orbit.TextOf(kInfinity)), ArgumentError);
}

TEST(Time, TextsAndNumbersOfUtc) {
  EXPECT_EQ(SecondsFromUtc("1980-01-06T00:00:00Z"), 0.0);
  EXPECT_EQ(SecondsFromUtc("07-JAN-1980/00:00:00.250000"), 86400.25);
  // 1981-06-30 ends with a leap second.
  EXPECT_EQ(SecondsFromUtc("1981-07-01T00:00:00Z") - SecondsFromUtc("1981-06-30T23:59:59Z"), 2.0);
  EXPECT_EQ(UtcFromSeconds(86400.25), "1980-01-07T00:00:00.250000Z");
  struct Row {
    const char* text;
    std::int64_t nanoseconds;
  };
  for (const Row& row :
       {Row{"1970-01-01T00:00:00.000000Z", 0}, Row{"1969-12-31T23:59:59.999999Z", -1000},
        Row{"2022-04-14T10:22:11.755370Z", 1649931731755370000},
        Row{"2000-02-29T12:00:00.000001Z", 951825600000001000}}) {
    EXPECT_EQ(UnixNanosecondsFromUtc(row.text), row.nanoseconds);
    EXPECT_EQ(UtcFromUnixNanoseconds(row.nanoseconds + 999), row.text);
  }
  for (const char* text : {"", "2022-13-01T00:00:00Z", "1677-12-31T00:00:00Z"}) {
    EXPECT_THROW(static_cast<void>(UnixNanosecondsFromUtc(text)), ArgumentError) << text;
  }
}

}  // namespace
}  // namespace quellmark
