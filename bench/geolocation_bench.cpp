// Measures geolocation beside a floor: the same arithmetic, written out by hand without checks, log
// or calls across objects. Quote the ratio within one run.
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "bench/hills.h"
#include "dem/srf_document.h"
#include "geolocation/ellipsoid_type.h"
#include "geolocation/geolocation_fast.h"
#include "runtime/log.h"
#include "tests/geolocation/geometry.h"

namespace {

using Vector = VECTOR_3D<double>;

struct Point {
  Vector sat_pos, sat_vel;
  double height_m, fast_time_s;
};

// Three real passes at mid swath: southbound over the Alps, northbound over the Comoros, southbound
// over the Gulf of St Lawrence (contains modified Copernicus Sentinel data 2021 and 2022).
constexpr std::array<Point, 3> kPoints = {{
    {{4705004.378, 1441146.551, 5075547.689},
     {5607.492667, -263.818444, -5109.975608},
     2068.0,
     6.177025926716036e-03},
    {{5314221.966, 4429024.609, -1499630.525},
     {2225.086099, -224.116528, 7257.525316},
     276.0,
     5.429222834590177e-03},
    {{2573274.95236, -3715758.903424, 5434631.016571},
     {1562.836429, -5771.529686, -4674.741823},
     201.0,
     5.34849813990142e-03},
}};

const double kRpole_m = EllipsoidType<double>::Default().Axes().semi_minor_m;
const double kRequator_m = EllipsoidType<double>::Default().Axes().semi_major_m;

struct Result {
  Vector ground;
  double heading, latitude, longitude, incidence;
};

double Turned(double degrees) { return degrees < 0.0 ? degrees + 360.0 : degrees; }

Result Floor(const Vector& s, const Vector& v, double look, double height, double rpole,
             double requator, double fast_time, double doppler) {
  const double axis2 = s.x * s.x + s.y * s.y;
  const double radius = std::sqrt(axis2 + s.z * s.z);
  const double inverse = 1.0 / radius;
  const double ux = -s.x * inverse, uy = -s.y * inverse, uz = -s.z * inverse;
  double nx = uy * v.z - uz * v.y, ny = uz * v.x - ux * v.z, nz = ux * v.y - uy * v.x;
  const double vt = std::sqrt(nx * nx + ny * ny + nz * nz);
  const double vu = ux * v.x + uy * v.y + uz * v.z;
  nx /= vt, ny /= vt, nz /= vt;
  const double tx = ny * uz - nz * uy, ty = nz * ux - nx * uz, tz = nx * uy - ny * ux;

  const double b = rpole + height, a = requator + height;
  const double ratio = b / a, one_minus_e2 = ratio * ratio;
  const double e2 = (a - b) / a * (1.0 + ratio);
  const double range = fast_time * 299792458.0 * 0.5, range2 = range * range;
  const double above = radius - b, both = radius + b, half_inverse = 0.5 * inverse;
  const double slope = -vu / vt, offset = range * doppler / vt, side_z = nz * look;

  double flat = e2 * (1.0 - uz * uz), rest = 1.0 - flat;
  double rise = b * flat / (rest + std::sqrt(rest));
  double p, q, w, change, range_residual, doppler_residual;
  do {
    p = ((above - rise) * (both + rise) + range2) * half_inverse;
    q = slope * p + offset;
    const double side = std::sqrt((range - p) * (range + p) - q * q);
    w = side * look;
    const double r = b + rise, z = s.z + p * uz + q * tz + side * side_z;
    flat = e2 * (1.0 - z * z * (1.0 / (r * r)));
    rest = 1.0 - flat;
    const double next = b * flat / (rest + std::sqrt(rest));
    const double length = std::sqrt(p * p + q * q + w * w);
    change = std::abs(next - rise);
    range_residual = std::abs(length - range);
    doppler_residual = std::abs((p * vu + q * vt) / length - doppler);
    rise = next;
  } while (change >= 1e-9 || range_residual >= 1e-9 || doppler_residual >= 1e-9);

  const Vector x{p * ux + q * tx + w * nx, p * uy + q * ty + w * ny, p * uz + q * tz + w * nz};
  const Vector g{s.x + x.x, s.y + x.y, s.z + x.z};
  const double sensor_axis = std::sqrt(axis2);
  const double cos_theta = s.x / sensor_axis, sin_theta = s.y / sensor_axis;
  const double cos_psi = tz * sensor_axis * inverse + (tx * cos_theta + ty * sin_theta) * uz;
  const double sin_psi = ty * cos_theta - tx * sin_theta;
  const double mx = g.x * one_minus_e2, my = g.y * one_minus_e2, mz = g.z;
  const double cx = my * x.z - mz * x.y, cy = mz * x.x - mx * x.z, cz = mx * x.y - my * x.x;
  constexpr double kDegrees = 57.29577951308232;
  return {g, Turned(std::atan2(sin_psi, cos_psi) * kDegrees),
          std::atan2(g.z, std::sqrt(g.x * g.x + g.y * g.y) * one_minus_e2) * kDegrees,
          Turned(std::atan2(g.y, g.x) * kDegrees),
          std::atan2(std::sqrt(cx * cx + cy * cy + cz * cz), -(mx * x.x + my * x.y + mz * x.z)) *
              kDegrees};
}

void QuietLog() {
  quellmark::runtime::Log().SetScreenThreshold(LOG::Level::kInfo);
  quellmark::runtime::Log().SetFileThreshold(LOG::Level::kInfo);
}

void GeolocationFloor(benchmark::State& state) {
  std::size_t i = 0;
  for (auto _ : state) {
    const Point& point = kPoints[i++ % kPoints.size()];
    benchmark::DoNotOptimize(Floor(point.sat_pos, point.sat_vel, 1.0, point.height_m, kRpole_m,
                                   kRequator_m, point.fast_time_s, 0.0));
  }
}
BENCHMARK(GeolocationFloor);

void GeolocationFast(benchmark::State& state) {
  QuietLog();
  GEOLOCATION_WORKSPACE workspace;
  std::size_t i = 0;
  for (auto _ : state) {
    const Point& point = kPoints[i++ % kPoints.size()];
    Result result;
    benchmark::DoNotOptimize(
        geolocation_fast(workspace, point.sat_pos, point.sat_vel, result.ground, result.heading,
                         result.latitude, result.longitude, result.incidence, 1.0, point.height_m,
                         kRpole_m, kRequator_m, point.fast_time_s, 0.0));
    benchmark::DoNotOptimize(result);
  }
}
BENCHMARK(GeolocationFast);

// The terrain search written by hand. It has its own solver (Newton's method on the distance down
// from the sensor), takes the cubic through the four trial points by divided differences, and reads
// heights directly from the tile's values. It halves the interval as often as the product does.
class TerrainFloor {
 public:
  using Geometry = quellmark::test::Geometry;
  using Tile = quellmark::bench::HillTile;

  explicit TerrainFloor(const std::string& tile) {
    std::ifstream file(tile, std::ios::binary);
    file.seekg(32);
    file.read(reinterpret_cast<char*>(heights_.data()),
              static_cast<std::streamsize>(heights_.size() * sizeof heights_[0]));
  }

  Vector Locate(const Geometry& g, double& height_m) const {
    const double radius = Length(g.sat_pos);
    const Vector u = (-1.0 / radius) * g.sat_pos;
    const Vector across = Cross(u, g.sat_vel);
    const double vt = Length(across);
    const Vector n = (g.look / vt) * across;
    const Vector t = Cross((1.0 / vt) * across, u);
    const double slope = -Dot(u, g.sat_vel) / vt, range = 0.5 * 299792458.0 * g.fast_time;
    double p = 0.5 * (radius * radius + range * range - 6.37e6 * 6.37e6) / radius;
    // Newton's method on the equation of the raised ellipsoid along the circle of range and
    // Doppler.
    const auto solve = [&](double h) {
      const double a2 = (g.requator + h) * (g.requator + h), b2 = (g.rpole + h) * (g.rpole + h);
      const double ia = 1.0 / a2, ib = 1.0 / b2;
      for (;;) {
        const double q = slope * p, w = std::sqrt((range - p) * (range + p) - q * q);
        const Vector x = g.sat_pos + p * u + q * t + w * n;
        const Vector dx = u + slope * t + (-(p + slope * q) / w) * n;
        const double f = (x.x * x.x + x.y * x.y) * ia + x.z * x.z * ib - 1.0;
        const double df = 2.0 * ((x.x * dx.x + x.y * dx.y) * ia + x.z * dx.z * ib);
        const double step = f / df;
        p -= step;
        if (std::abs(step) < 1e-3) return x + (-step) * dx;  // the next step would be below 1e-9
      }
    };
    constexpr double kStep_m = 9500.0 / 3.0;
    std::array<Vector, 4> c;  // divided differences over steps of 1
    for (int k = 0; k < 4; ++k) c[static_cast<std::size_t>(k)] = solve(-500.0 + k * kStep_m);
    const Vector last = c[3];
    for (std::size_t order = 1; order < 4; ++order) {
      for (std::size_t k = 3; k >= order; --k) {
        c[k] = (1.0 / static_cast<double>(order)) * (c[k] - c[k - 1]);
      }
    }
    double low = HeightAndError(g, c[0]).first, high = HeightAndError(g, last).first;
    for (int i = 0; i < 21; ++i) {
      const double s = (0.5 * (low + high) + 500.0) / kStep_m;
      const Vector x = c[0] + s * (c[1] + (s - 1.0) * (c[2] + (s - 2.0) * c[3]));
      const auto [height, error] = HeightAndError(g, x);
      height_m = height;
      if (std::abs(error) <= 1.0) break;
      (error < 0.0 ? low : high) = height;
    }
    return solve(height_m);
  }

 private:
  std::pair<double, double> HeightAndError(const Geometry& g, const Vector& x) const {
    const double a = g.requator, b = g.rpole, e2 = 1.0 - b * b / (a * a),
                 d2 = a * a / (b * b) - 1.0;
    const double axis = std::sqrt(x.x * x.x + x.y * x.y);
    const double scale = 1.0 / std::sqrt(x.z * a * x.z * a + axis * b * axis * b);
    const double sine = x.z * a * scale, cosine = axis * b * scale;
    const double tangent =
        (x.z + d2 * b * sine * sine * sine) / (axis - e2 * a * cosine * cosine * cosine);
    const double secant = std::sqrt(1.0 + tangent * tangent);
    const double height =
        axis * secant - a * secant / std::sqrt(secant * secant - e2 * tangent * tangent);
    constexpr double kCells = 57.29577951308232 / Tile::kStep_deg;
    const double east = std::atan2(x.y, x.x) * kCells - Tile::kWest;
    const double south = Tile::kSouth + Tile::kSize - 1 - std::atan(tangent) * kCells;
    const int column = static_cast<int>(east), row = static_cast<int>(south);
    const std::int16_t* const v = &heights_[static_cast<std::size_t>(row * Tile::kSize + column)];
    const double de = east - column, ds = south - row;
    const double upper = v[0] + de * (v[1] - v[0]);
    const double lower = v[Tile::kSize] + de * (v[Tile::kSize + 1] - v[Tile::kSize]);
    return {height, height - (upper + ds * (lower - upper))};
  }

  std::vector<std::int16_t> heights_ =
      std::vector<std::int16_t>(static_cast<std::size_t>(Tile::kSize) * Tile::kSize);
};

std::vector<quellmark::test::Geometry> OverTheHills() {
  using quellmark::test::kDegree;
  quellmark::test::RandomGeometries random(1);
  std::vector<quellmark::test::Geometry> geometries;
  for (int i = 0; i < 4096; ++i) {
    geometries.push_back(quellmark::test::MakeGeometry(
        random.Uniform(9.4, 9.6) * kDegree, random.Uniform(45.2, 45.4) * kDegree,
        random.Uniform(-3.1, 3.1), random.Uniform(25.0, 60.0) * kDegree));
  }
  return geometries;
}

void GeolocationDemFloor(benchmark::State& state) {
  const quellmark::bench::HillTile tile;
  const TerrainFloor floor(tile.Path());
  const auto geometries = OverTheHills();
  std::size_t i = 0;
  for (auto _ : state) {
    double height_m = 0.0;
    benchmark::DoNotOptimize(floor.Locate(geometries[i++ % geometries.size()], height_m));
    benchmark::DoNotOptimize(height_m);
  }
}
BENCHMARK(GeolocationDemFloor);

// Random points of a mapped tile of hills from 300 m to 2300 m, degree 3.
void GeolocationFastDem(benchmark::State& state) {
  QuietLog();
  const quellmark::bench::HillTile tile;
  SRF_DOCUMENT dem(tile.Descriptor(), true);
  const TerrainFloor floor(tile.Path());
  const auto geometries = OverTheHills();
  GEOLOCATION_DEM_WORKSPACE workspace;
  workspace.Prepare(3);
  Result result;
  double height_m = 0.0;
  const auto locate = [&](const quellmark::test::Geometry& g) {
    benchmark::DoNotOptimize(geolocation_fast(workspace, dem, g.sat_pos, g.sat_vel, result.ground,
                                              result.heading, result.latitude, result.longitude,
                                              result.incidence, height_m, 3, g.look, g.rpole,
                                              g.requator, g.fast_time, g.doppler));
    benchmark::DoNotOptimize(result);
  };
  for (const auto& g : geometries) {
    locate(g);
    double floor_height_m = 0.0;
    if (!(Length(floor.Locate(g, floor_height_m) - result.ground) < 1e-3)) {
      state.SkipWithError("the floor has found another point");
      return;
    }
  }
  std::size_t i = 0;
  for (auto _ : state) locate(geometries[i++ % geometries.size()]);
}
BENCHMARK(GeolocationFastDem);

}  // namespace
