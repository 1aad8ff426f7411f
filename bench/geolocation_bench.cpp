// Geolocation beside a floor: the same arithmetic written out by hand, without checks, log or calls
// across objects. The figure to quote is the ratio within one run.
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <random>
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

// Random points of a mapped tile of hills from 300 m to 2300 m, degree 3.
void GeolocationFastDem(benchmark::State& state) {
  using quellmark::test::kDegree;
  QuietLog();
  const quellmark::bench::HillTile tile;
  SRF_DOCUMENT dem(tile.Descriptor(), true);
  quellmark::test::RandomGeometries random(1);
  std::vector<quellmark::test::Geometry> geometries;
  for (int i = 0; i < 4096; ++i) {
    geometries.push_back(quellmark::test::MakeGeometry(
        random.Uniform(9.4, 9.6) * kDegree, random.Uniform(45.2, 45.4) * kDegree,
        random.Uniform(-3.1, 3.1), random.Uniform(25.0, 60.0) * kDegree));
  }
  GEOLOCATION_DEM_WORKSPACE workspace;
  workspace.Prepare(3);
  std::size_t i = 0;
  for (auto _ : state) {
    const auto& g = geometries[i++ % geometries.size()];
    Result result;
    double height_m = 0.0;
    benchmark::DoNotOptimize(geolocation_fast(workspace, dem, g.sat_pos, g.sat_vel, result.ground,
                                              result.heading, result.latitude, result.longitude,
                                              result.incidence, height_m, 3, g.look, g.rpole,
                                              g.requator, g.fast_time, g.doppler));
    benchmark::DoNotOptimize(result);
  }
}
BENCHMARK(GeolocationFastDem);

}  // namespace
