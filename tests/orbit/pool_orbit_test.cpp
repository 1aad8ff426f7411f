#include <gtest/gtest.h>

#include "orbit/selection.h"
#include "tests/orbit/orbit_pool.h"
#include "tests/support/allocation_counter.h"
#include "tests/support/expect_fails.h"

namespace {

using namespace quellmark::test;
using quellmark::orbit::kInterpolationNames;

// How far position [m], velocity [m/s] and acceleration [m/s^2] may be from the circle.
struct Tolerance {
  double position;
  double velocity;
  double acceleration;
};

// 16 state vectors, 10 s apart: the interpolation errors are far below the rounding, which is half
// a metre for a float coordinate, 1 nm for a double one, and is divided by the step once for the
// velocity and twice for the acceleration. A fit collects some rounding on its way.
constexpr Tolerance kFloatRounding = {2.0, 0.5, 0.3};
constexpr Tolerance kDoubleRounding = {3e-9, 2e-9, 1e-9};
constexpr Tolerance kFloatFit = {6.0, 0.5, 0.3};
constexpr Tolerance kDoubleFit = {2e-8, 2e-9, 1e-9};
// The natural spline is wrong by the whole acceleration (8 m/s^2) at its ends; of that, 0.268 to
// the fifth power is left at the fifth point from there.
constexpr Tolerance kSpline = {0.1, 0.05, 0.02};

struct KindRow {
  std::string interpolation;
  Tolerance float_tolerance;
  Tolerance double_tolerance;
};

const KindRow kKinds[] = {
    {"polynom", kFloatRounding, kDoubleRounding},
    {"polyfit_9", kFloatFit, kDoubleFit},
    {"spline", kFloatRounding, kSpline},
    {"localpolynom_7_8", kFloatRounding, kDoubleRounding},
    {"localpolyfit_7_10", kFloatFit, kDoubleFit},
    {"chebyshev_9", kFloatFit, kDoubleFit},
    {"localchebyshev_7_10", kFloatFit, kDoubleFit},
    {"hermite", kFloatRounding, kDoubleRounding},
    {"localhermite_7_4", kFloatRounding, kDoubleRounding},
    {"everett_6", kFloatRounding, kDoubleRounding},
};

TEST(PoolOrbit, EveryKindFollowsACircle) {
  const ScopedLog quiet(LOG::Level::kAlarm);
  for (const std::string type : {"double", "utc", "met"}) {
    for (const std::string number : {"float", "double"}) {
      for (const KindRow& kind : kKinds) {
        SCOPED_TRACE(number + " " + type + " " + kind.interpolation);
        OrbitPool pool = CircularOrbitPool("orbit_pool_" + number + "_" + type, 16);
        pool.interpolation = kind.interpolation;
        const Orbit orbit = pool.Read();
        const double origin = type == "double" ? 1000.5 : 0.0;
        EXPECT_EQ(orbit.TimeOrigin(), origin);
        const Tolerance& allowed = number == "float" ? kind.float_tolerance : kind.double_tolerance;
        // The middle of the orbit: a polynomial through all points is unruly towards its ends.
        for (double t = 50.0; t <= 100.0; t += 2.5) {
          Vector position, velocity, acceleration;
          const std::size_t before = AllocationCount();
          orbit.GetState(origin, t, position, velocity, acceleration);
          EXPECT_EQ(AllocationCount(), before);
          const bool is_float = position.x == static_cast<double>(static_cast<float>(position.x));
          EXPECT_EQ(is_float, number == "float");
          EXPECT_LT(Length(position - CircularOrbit::At(t, 0)), allowed.position);
          EXPECT_LT(Length(velocity - CircularOrbit::At(t, 1)), allowed.velocity);
          EXPECT_LT(Length(acceleration - CircularOrbit::At(t, 2)), allowed.acceleration);
          Vector single;
          orbit.Position(origin + t, single);
          EXPECT_EQ(single, position);
          orbit.Velocity(origin + t, single);
          EXPECT_EQ(single, velocity);
          orbit.Acceleration(origin + t, single);
          EXPECT_EQ(single, acceleration);
        }
      }
    }
  }
}

}  // namespace
