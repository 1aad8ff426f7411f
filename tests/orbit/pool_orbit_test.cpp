// Checks every kind of orbit from a pool against a circle, and against vectors of real orbits that
// were left out of the pool.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "basic/errors.h"
#include "tests/orbit/orbit_pool.h"
#include "tests/support/allocation_counter.h"
#include "tests/support/scoped_log.h"
#include "time/utc_scanner.h"

namespace {

using namespace quellmark::test;
using quellmark::pool::ValueType;

// Compares the states at origin + t with the circle; `allowed` has the errors of position, velocity
// and acceleration.
void ExpectCircle(const Orbit& orbit, double origin, double t, std::span<const double> allowed) {
  std::array<Vector, 3> state, single;
  const std::size_t before = AllocationCount();
  orbit.GetState(origin, t, state[0], state[1], state[2]);
  EXPECT_EQ(AllocationCount(), before);
  orbit.Position(origin + t, single[0]);
  orbit.Velocity(origin + t, single[1]);
  orbit.Acceleration(origin + t, single[2]);
  for (std::size_t d = 0; d < 3; ++d) {
    EXPECT_LT(Length(state[d] - CircularOrbit::At(t, static_cast<int>(d))), allowed[d]) << d;
    EXPECT_EQ(single[d], state[d]) << d;
  }
}

TEST(PoolOrbit, EveryKindFollowsACircle) {
  const ScopedLog quiet(LOG::Level::kAlarm);
  for (const std::string type : {"double", "utc", "met"}) {
    const double origin = type == "double" ? 1000.5 : 0.0;
    for (const Row& kind : ReadKinds()) {
      const std::vector<double> allowed = NumbersOf(kind[1]);  // for float, then for double
      for (const std::string number : {"float", "double"}) {
        SCOPED_TRACE(number + " " + type + " " + kind[0]);
        OrbitPool pool = CircularOrbitPool("orbit_pool_" + number + "_" + type, 16);
        pool.interpolation = kind[0];
        const Orbit orbit = pool.Read();
        EXPECT_EQ(orbit.TimeOrigin(), origin);
        const bool is_float = number == "float";
        // Only the middle of the orbit is checked, because a polynomial through all points
        // oscillates towards its ends.
        for (double t = 50.0; t <= 100.0; t += 2.5) {
          ExpectCircle(orbit, origin, t, std::span(allowed).subspan(is_float ? 0 : 3, 3));
          Vector position;
          orbit.Position(origin + t, position);
          EXPECT_EQ(position.x == static_cast<double>(static_cast<float>(position.x)), is_float);
        }
      }
    }
  }
}

// Every `step`-th state vector.
OrbitPool ReadScene(const std::string& scene, int step) {
  PARAMETER_POOL pool;
  static_cast<void>(pool.Open(QM_SCENES_DIR "/" + scene + ".pool"));
  const auto thinned = [step](const auto& column, auto add) {
    for (int j = column.First(); j <= column.Last(); j += step) add(column[j]);
  };
  const auto read = [&](const std::string& key, std::vector<double>& samples) {
    thinned(pool.Read<ValueType::kFlt15V>(key), [&](double y) { samples.push_back(y); });
  };
  OrbitPool orbit;
  orbit.reference = pool.Read<ValueType::kStr>("orbit_reference_time").Text();
  thinned(pool.Read<ValueType::kStrV>("orbit_time"),
          [&](const STRING& time) { orbit.times.emplace_back(time.Text()); });
  for (std::size_t i = 0; i < 3; ++i) {
    read(std::string("orbit_pos_") + "xyz"[i], orbit.values[i]);
    read(std::string("orbit_vel_") + "xyz"[i], orbit.velocities[i]);
  }
  return orbit;
}

TEST(Accuracy, LeftOutVectors) {
  const ScopedLog quiet(LOG::Level::kSilent);
  for (const std::string scene : {"s1b_iw_grd_alps", "s1a_s3_slc_comoros", "s1a_iw1_slc_quebec"}) {
    const OrbitPool orbit = ReadScene(scene, 1);
    for (const std::string number : {"double", "float"}) {
      for (const Row& kind : ReadKinds()) {
        SCOPED_TRACE(scene + " " + number + " " + kind[2]);
        OrbitPool pool = ReadScene(scene, 2);
        pool.representation = "orbit_pool_" + number + "_utc";
        pool.interpolation = kind[2];
        if (kind[2] == "everett_6" && scene == "s1a_iw1_slc_quebec") {
          EXPECT_THROW(static_cast<void>(pool.Read()),
                       INVALID_PARAMETER_VALUE);  // its epochs are uneven by 1 us
          continue;
        }
        const Orbit read = pool.Read();
        std::vector<double> errors_m;
        for (std::size_t k = 1; k + 1 < orbit.times.size(); k += 2) {  // between the samples
          const auto& xyz = orbit.values;
          Vector position;
          read.Position(quellmark::time::ScanUtc(orbit.times[k]), position);
          errors_m.push_back(Length(position - Vector{xyz[0][k], xyz[1][k], xyz[2][k]}));
        }
        const double middle_m = errors_m[errors_m.size() / 2];
        EXPECT_LT(middle_m, NumbersOf(kind[3])[0] + (number == "float" ? 6.0 : 0.0));
        // The script that makes docs/orbit-accuracy.md reads this line.
        std::printf("accuracy,%s,%s,%s,%.3e,%.3e\n", scene.c_str(), number.c_str(), kind[2].c_str(),
                    middle_m, *std::ranges::max_element(errors_m));
      }
    }
  }
}

}  // namespace
