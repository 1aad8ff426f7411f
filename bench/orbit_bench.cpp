// Measures position, velocity and acceleration of an orbit. Each is beside a floor that does the
// same arithmetic by hand, for one kind of interpolation, without checks or log, and with all
// coefficients in one block. The queries are spread over the whole orbit, at random or in the order
// of time.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "orbit/general_orbit.h"
#include "pool/parameter_pool.h"
#include "runtime/log.h"

namespace {

using Vector = VECTOR_3D<double>;
using Orbit = GENERAL_ORBIT<double, Vector>;

constexpr double kStep_s = 10.0;
constexpr double kRadius_m = 7.07e6;
constexpr double kRate_rad_s = 1.066e-3;

// Coordinate i (or its velocity) of a circular orbit at t [s].
double Coordinate(int i, int derivative, double t) {
  const double amplitude = std::array{1.0, -0.14, 0.99}[static_cast<std::size_t>(i)] * kRadius_m;
  const double angle = kRate_rad_s * t + (i == 0 ? M_PI_2 : 0.0) + derivative * M_PI_2;
  return amplitude * std::pow(kRate_rad_s, derivative) * std::sin(angle);
}

void WriteVector(std::ofstream& out, const std::string& key, const char* type, int count,
                 auto element) {
  out << '\n' << key << ' ' << type << " 1\t" << count << "\n {\n";
  for (int j = 0; j < count; ++j) out << "   " << element(j) << '\n';
  out << " }\n";
}

std::string Scientific(double value) {
  std::array<char, 32> text;
  std::snprintf(text.data(), text.size(), "%.17E", value);
  return text.data();
}

// Writes an orbit of `count` state vectors in UTC, one every 10 s, each up to `jitter_us` late.
std::filesystem::path WriteOrbitPool(const std::string& interpolation, int count,
                                     int jitter_us = 0) {
  const auto path = std::filesystem::temp_directory_path() /
                    ("orbit_bench_" + std::to_string(::getpid()) + ".pool");
  std::ofstream out(path);
  out << "orbit_representation STR \"orbit_pool_double_utc\"\norbit_interpolation STR \""
      << interpolation << "\"\norbit_param_key STR \"t\"\n"
      << "orbit_reference_time STR \"2022-04-01T00:00:00Z\"\n";
  WriteVector(out, "orbit_value_key", "STR_V", 3,
              [](int i) { return "\"p" + std::to_string(i) + "\""; });
  WriteVector(out, "orbit_velocity_key", "STR_V", 3,
              [](int i) { return "\"v" + std::to_string(i) + "\""; });
  const auto late_us = [=](int j) { return j * 7919 % (jitter_us + 1); };
  WriteVector(out, "t", "STR_V", count, [&](int j) {
    const int t = j * static_cast<int>(kStep_s);
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "\"2022-04-%02dT%02d:%02d:%02d.%06dZ\"", 1 + t / 86400,
                  t / 3600 % 24, t / 60 % 60, t % 60, late_us(j));
    return std::string(text.data());
  });
  for (int i = 0; i < 3; ++i) {
    for (int derivative : {0, 1}) {
      WriteVector(out, (derivative == 0 ? "p" : "v") + std::to_string(i), "FLT_15_V", count,
                  [&](int j) {
                    return Scientific(Coordinate(i, derivative, j * kStep_s + 1e-6 * late_us(j)));
                  });
    }
  }
  return path;
}

void Silence() {
  quellmark::runtime::Log().SetScreenThreshold(LOG::Level::kSilent);
  quellmark::runtime::Log().SetFileThreshold(LOG::Level::kSilent);
}

Orbit ReadOrbit(const std::filesystem::path& path) {
  PARAMETER_POOL pool;
  static_cast<void>(pool.Open(path));
  Orbit orbit;
  orbit.ReadFromParameterPool(pool);
  return orbit;
}

Orbit MakeOrbit(const std::string& interpolation, int count) {
  Silence();
  const auto path = WriteOrbitPool(interpolation, count);
  Orbit orbit = ReadOrbit(path);
  std::filesystem::remove(path);
  return orbit;
}

// Enough queries to read more of a long orbit than the caches hold.
constexpr std::size_t kQueries = 1 << 17;

enum Order : int { kRandom, kAscending };

std::vector<double> QueryTimes(const benchmark::State& state) {
  std::mt19937 random(1);
  const auto last = static_cast<double>(state.range(0) - 5);
  std::uniform_real_distribution<double> inside(4.0 * kStep_s, last * kStep_s);
  std::vector<double> times(kQueries);
  for (double& time : times) time = inside(random);
  if (state.range(1) == kAscending) std::sort(times.begin(), times.end());
  return times;
}

template <class Evaluate>
void Run(benchmark::State& state, Evaluate evaluate) {
  const auto times = QueryTimes(state);
  std::size_t next = 0;
  Vector position, velocity, acceleration;
  for (auto _ : state) {
    evaluate(times[next], position, velocity, acceleration);
    benchmark::DoNotOptimize(position);
    benchmark::DoNotOptimize(velocity);
    benchmark::DoNotOptimize(acceleration);
    next = (next + 1) % kQueries;
  }
}

void RunOrbit(benchmark::State& state, const char* interpolation) {
  const Orbit orbit = MakeOrbit(interpolation, static_cast<int>(state.range(0)));
  Run(state, [&](double t, Vector& position, Vector& velocity, Vector& acceleration) {
    orbit.GetState(0.0, t, position, velocity, acceleration);
  });
}

// The nodes of one span and the Newton coefficients of its three coordinates, side by side. Each
// node has one term, or two if the derivatives at the nodes are given.
template <std::size_t kTerms, std::size_t kNodes>
struct FloorSpan {
  double node[kNodes];
  double coefficient[kTerms][3];
};

template <std::size_t kTerms, std::size_t kNodes>
std::vector<FloorSpan<kTerms, kNodes>> FloorSpans(std::size_t count) {
  constexpr std::size_t kPerNode = kTerms / kNodes;
  std::vector<FloorSpan<kTerms, kNodes>> spans(count + 1 - kNodes);
  for (std::size_t j = 0; j < spans.size(); ++j) {
    FloorSpan<kTerms, kNodes>& span = spans[j];
    for (std::size_t k = 0; k < kNodes; ++k) span.node[k] = static_cast<double>(j + k) * kStep_s;
    for (int i = 0; i < 3; ++i) {
      std::array<double, kTerms> c;
      for (std::size_t k = 0; k < kTerms; ++k) c[k] = Coordinate(i, 0, span.node[k / kPerNode]);
      for (std::size_t k = 1; k < kTerms; ++k) {
        for (std::size_t m = kTerms - 1; m >= k; --m) {
          const double dx = span.node[m / kPerNode] - span.node[(m - k) / kPerNode];
          c[m] = dx == 0.0 ? Coordinate(i, 1, span.node[m / kPerNode]) : (c[m] - c[m - 1]) / dx;
        }
      }
      for (std::size_t k = 0; k < kTerms; ++k) span.coefficient[k][i] = c[k];
    }
  }
  return spans;
}

template <std::size_t kTerms, std::size_t kNodes>
void RunNewtonFloor(benchmark::State& state) {
  constexpr std::size_t kPerNode = kTerms / kNodes;
  const auto spans = FloorSpans<kTerms, kNodes>(static_cast<std::size_t>(state.range(0)));
  Run(state, [&](double t, Vector& position, Vector& velocity, Vector& acceleration) {
    const auto& span = spans[static_cast<std::size_t>(t / kStep_s) - kNodes / 2 + 1];
    double y[3], dy[3] = {}, d2y[3] = {};
    for (int i = 0; i < 3; ++i) y[i] = span.coefficient[kTerms - 1][i];
    for (std::size_t k = kTerms - 1; k-- > 0;) {
      const double dx = t - span.node[k / kPerNode];
      for (int i = 0; i < 3; ++i) {
        d2y[i] = d2y[i] * dx + dy[i];
        dy[i] = dy[i] * dx + y[i];
        y[i] = y[i] * dx + span.coefficient[k][i];
      }
    }
    position = {y[0], y[1], y[2]};
    velocity = {dy[0], dy[1], dy[2]};
    acceleration = {2.0 * d2y[0], 2.0 * d2y[1], 2.0 * d2y[2]};
  });
}

// The central differences of order 0, 2, 4 and 6 at one point, for the three coordinates.
using FloorDifferences = std::array<std::array<double, 3>, 4>;

std::vector<FloorDifferences> DifferenceTable(std::size_t count) {
  std::vector<FloorDifferences> table(count);
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < count; ++j) {
      table[j][0][i] = Coordinate(static_cast<int>(i), 0, static_cast<double>(j) * kStep_s);
    }
    for (std::size_t k = 1; k < 4; ++k) {
      for (std::size_t j = k; j + k < count; ++j) {
        table[j][k][i] = table[j - 1][k - 1][i] - 2.0 * table[j][k - 1][i] + table[j + 1][k - 1][i];
      }
    }
  }
  return table;
}

// E_0 .. E_3 with first and second derivative at u.
struct FloorFactors {
  double e[4], de[4], d2e[4];
  explicit FloorFactors(double u) {
    const double s = u * u;
    e[0] = u;
    e[1] = u * (s - 1.0) / 6.0;
    e[2] = e[1] * (s - 4.0) / 20.0;
    e[3] = e[2] * (s - 9.0) / 42.0;
    de[0] = 1.0;
    de[1] = (3.0 * s - 1.0) / 6.0;
    de[2] = ((5.0 * s - 15.0) * s + 4.0) / 120.0;
    de[3] = (((7.0 * s - 70.0) * s + 147.0) * s - 36.0) / 5040.0;
    d2e[0] = 0.0;
    d2e[1] = u;
    d2e[2] = u * (20.0 * s - 30.0) / 120.0;
    d2e[3] = u * ((42.0 * s - 280.0) * s + 294.0) / 5040.0;
  }
};

void BM_EverettFloor(benchmark::State& state) {
  const auto table = DifferenceTable(static_cast<std::size_t>(state.range(0)));
  Run(state, [&](double t, Vector& position, Vector& velocity, Vector& acceleration) {
    const double scaled = t / kStep_s;
    const auto j = static_cast<std::size_t>(scaled);
    const double p = scaled - static_cast<double>(j);
    const FloorFactors right(p);
    const FloorFactors left(1.0 - p);
    double y[3] = {}, dy[3] = {}, d2y[3] = {};
    for (std::size_t k = 0; k < 4; ++k) {
      for (std::size_t i = 0; i < 3; ++i) {
        const double here = table[j][k][i];
        const double next = table[j + 1][k][i];
        y[i] += right.e[k] * next + left.e[k] * here;
        dy[i] += right.de[k] * next - left.de[k] * here;
        d2y[i] += right.d2e[k] * next + left.d2e[k] * here;
      }
    }
    constexpr double kPerStep = 1.0 / kStep_s;
    position = {y[0], y[1], y[2]};
    velocity = {dy[0] * kPerStep, dy[1] * kPerStep, dy[2] * kPerStep};
    acceleration = {d2y[0] * kPerStep * kPerStep, d2y[1] * kPerStep * kPerStep,
                    d2y[2] * kPerStep * kPerStep};
  });
}

void BM_LocalHermite(benchmark::State& state) { RunOrbit(state, "localhermite_7_4"); }
void BM_LocalHermiteFloor(benchmark::State& state) { RunNewtonFloor<8, 4>(state); }
void BM_LocalPolynom(benchmark::State& state) { RunOrbit(state, "localpolynom_7_8"); }
void BM_LocalPolynomFloor(benchmark::State& state) { RunNewtonFloor<8, 8>(state); }
void BM_Everett(benchmark::State& state) { RunOrbit(state, "everett_6"); }
void BM_LocalPolyfit(benchmark::State& state) { RunOrbit(state, "localpolyfit_5_8"); }
void BM_LocalChebyshev(benchmark::State& state) { RunOrbit(state, "localchebyshev_5_8"); }
void BM_Spline(benchmark::State& state) { RunOrbit(state, "spline"); }

#define QM_BENCHMARK(name)          \
  BENCHMARK(name)                   \
      ->ArgNames({"", "ascending"}) \
      ->ArgsProduct({{16, 1000, 100000}, {kRandom, kAscending}})

QM_BENCHMARK(BM_LocalHermiteFloor);
QM_BENCHMARK(BM_LocalHermite);
QM_BENCHMARK(BM_LocalPolynomFloor);
QM_BENCHMARK(BM_LocalPolynom);
QM_BENCHMARK(BM_EverettFloor);
QM_BENCHMARK(BM_Everett);
QM_BENCHMARK(BM_LocalPolyfit);
QM_BENCHMARK(BM_LocalChebyshev);
QM_BENCHMARK(BM_Spline);

// Reads a pool of state vectors and builds the orbit.
void BM_Read(benchmark::State& state, const char* interpolation, int jitter_us) {
  Silence();
  const auto path = WriteOrbitPool(interpolation, static_cast<int>(state.range(0)), jitter_us);
  for (auto _ : state) {
    const Orbit orbit = ReadOrbit(path);
    benchmark::DoNotOptimize(&orbit);
  }
  std::filesystem::remove(path);
}

#define QM_BENCHMARK_READ(name, interpolation, jitter_us)     \
  BENCHMARK_CAPTURE(BM_Read, name, #interpolation, jitter_us) \
      ->Arg(100000)                                           \
      ->Unit(benchmark::kMillisecond)

QM_BENCHMARK_READ(localhermite, localhermite_7_4, 2);
QM_BENCHMARK_READ(localpolynom, localpolynom_7_8, 2);
QM_BENCHMARK_READ(everett, everett_6, 0);
QM_BENCHMARK_READ(localpolyfit, localpolyfit_5_8, 2);
QM_BENCHMARK_READ(localpolyfit_even, localpolyfit_5_8, 0);
QM_BENCHMARK_READ(localchebyshev, localchebyshev_5_8, 2);
QM_BENCHMARK_READ(spline, spline, 2);
QM_BENCHMARK_READ(polynom, polynom, 0);
QM_BENCHMARK_READ(polyfit, polyfit_5, 2);
QM_BENCHMARK_READ(chebyshev, chebyshev_5, 2);
QM_BENCHMARK_READ(hermite, hermite, 0);

}  // namespace
