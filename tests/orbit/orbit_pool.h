// Orbits for tests: a closed form, and pools that describe one.
#pragma once

#include <array>
#include <cmath>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "orbit/general_orbit.h"
#include "pool/parameter_pool_read_write_change.h"
#include "tests/support/files.h"
#include "tests/support/rows.h"

namespace quellmark::test {

using Vector = VECTOR_3D<double>;
using Orbit = GENERAL_ORBIT<double, Vector>;

/// The kinds of interpolation; the file explains its fields.
inline std::vector<Row> ReadKinds() { return ReadRows(QM_ORBIT_TEST_DATA "/kinds.txt"); }

/// The numbers in a text with blanks between them.
inline std::vector<double> NumbersOf(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<double>(stream), {}};
}

/// A circular orbit with its exact derivatives: radius 7,070 km, period about 98 min, inclined.
struct CircularOrbit {
  static constexpr double kRadius_m = 7.07e6;
  static constexpr double kRate_rad_s = 1.066e-3;
  static constexpr double kPhase_rad = 0.7;

  /// Derivative 0, 1 or 2 at t [s].
  static Vector At(double t, int derivative) {
    const double angle = kRate_rad_s * t + kPhase_rad + derivative * M_PI_2;
    const double size = kRadius_m * std::pow(kRate_rad_s, derivative);
    return size * Vector{std::cos(angle), -0.14 * std::sin(angle), 0.99 * std::sin(angle)};
  }
};

/// The entries of a pool that describes an orbit.
struct OrbitPool {
  std::string representation = "orbit_pool_double_utc";
  std::string interpolation = "localhermite_7_4";
  std::string reference = "2022-04-14T10:21:00.000000Z";
  std::vector<std::string> times;
  std::vector<std::vector<double>> values{3};
  std::vector<std::vector<double>> velocities{3};
  std::string data_file;

  /// Writes the pool. The samples go to `data_file` if that is set.
  void Write(const std::string& path) const {
    using enum pool::ValueType;
    PARAMETER_POOL_READ_WRITE_CHANGE scene(path);
    PARAMETER_POOL_READ_WRITE_CHANGE data(data_file.empty() ? path : data_file);
    scene.Set<kStr>("orbit_representation", representation);
    scene.Set<kStr>("orbit_interpolation", interpolation);
    scene.Set<kStr>("orbit_param_key", "times");
    data.Set<kStrV>("times", ArrayOf<STRING>(times));
    scene.Set<kStrV>("orbit_value_key", AddColumns(data, "pos_", values));
    scene.Set<kStrV>("orbit_velocity_key", AddColumns(data, "vel_", velocities));
    scene.Set<kStr>("orbit_reference_time", reference);
    if (!data_file.empty()) scene.Set<kStr>("orbit_data_file", data_file);
    scene.Close();
    data.Close();
  }

  [[nodiscard]] Orbit Read() const {
    const TempDir directory;
    Write(directory / "scene.pool");
    return ReadOrbit(directory / "scene.pool");
  }

  static Orbit ReadOrbit(const std::string& path) {
    PARAMETER_POOL pool;
    static_cast<void>(pool.Open(path));
    Orbit orbit;
    orbit.ReadFromParameterPool(pool);
    return orbit;
  }

 private:
  template <class T>
  static ARRAY<T> ArrayOf(const auto& elements) {
    ARRAY<T> array(RANGE<int>(1, static_cast<int>(elements.size())));
    int index = 1;
    for (const auto& element : elements) array[index++] = element;
    return array;
  }

  // Adds a vector for each coordinate and returns their keys.
  static ARRAY<STRING> AddColumns(PARAMETER_POOL_READ_WRITE_CHANGE& pool, const std::string& prefix,
                                  const std::vector<std::vector<double>>& columns) {
    std::vector<std::string> keys;
    for (const auto& column : columns) {
      keys.push_back(prefix + "xyzuvw"[keys.size()]);
      pool.Set<pool::ValueType::kFlt15V>(keys.back(), ArrayOf<double>(column));
    }
    return ArrayOf<STRING>(keys);
  }
};

/// The circular orbit at 0, step, 2 step ... [s] after the reference time of the time type that
/// `representation` ends in ("double", "utc" or "met").
inline OrbitPool CircularOrbitPool(const std::string& representation, int count, int step_s = 10) {
  OrbitPool pool;
  pool.representation = representation;
  const std::string type = representation.substr(representation.rfind('_') + 1);
  pool.reference = type == "double" ? "1000.5"
                   : type == "met"  ? "+0012/10:00:00"
                                    : "2022-04-14T10:00:00";
  for (int j = 0; j < count; ++j) {
    const int t = j * step_s;
    char text[64];
    if (type == "double") {
      std::snprintf(text, sizeof text, "%d.5", 1000 + t);
    } else {
      std::snprintf(text, sizeof text, "%s%02d:%02d:%02d.000000",
                    type == "met" ? "+0012/" : "2022-04-14T", 10 + t / 3600, t / 60 % 60, t % 60);
    }
    pool.times.emplace_back(text);
    for (int derivative : {0, 1}) {
      const Vector v = CircularOrbit::At(t, derivative);
      auto& columns = derivative == 0 ? pool.values : pool.velocities;
      columns[0].push_back(v.x);
      columns[1].push_back(v.y);
      columns[2].push_back(v.z);
    }
  }
  return pool;
}

}  // namespace quellmark::test
