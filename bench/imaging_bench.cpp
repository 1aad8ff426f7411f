// Measures whole images beside floors: the same points one by one, by arithmetic written out by
// hand and with the C library's angle functions. All times are per point. Quote the ratio within
// one run.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "bench/allocated_bytes.h"
#include "imaging/locate.h"
#include "imaging/terrain_grid.h"
#include "orbit/general_orbit.h"
#include "pool/parameter_pool.h"
#include "pool/value_type.h"
#include "runtime/log.h"

namespace {

using quellmark::imaging::InstructionSet;
using Vector = VECTOR_3D<double>;
namespace imaging = quellmark::imaging;

constexpr std::size_t kLines = 16;
constexpr std::size_t kSamples = 8192;
constexpr std::size_t kPoints = kLines * kSamples;

// A real scene: the Gulf of St Lawrence, southbound (contains modified Copernicus Sentinel data
// 2022).
struct Scene {
  Scene() {
    using quellmark::pool::ValueType;
    quellmark::runtime::Log().SetScreenThreshold(LOG::Level::kAlarm);
    PARAMETER_POOL pool;
    static_cast<void>(pool.Open(std::string(QM_SCENES) + "/s1a_iw1_slc_quebec.pool"));
    orbit.ReadFromParameterPool(pool);
    image.first_range_time_s = pool.Read<ValueType::kFlt15>("first_rg_time");
    image.range_sampling_frequency_hz = pool.Read<ValueType::kFlt15>("range_sampling_frequency");
    image.prf_hz = pool.Read<ValueType::kFlt15>("prf");
    image.n_samples = pool.Read<ValueType::kInt32>("n_samples");
    image.n_lines = pool.Read<ValueType::kInt32>("n_lines");
    image.radar_frequency_hz = pool.Read<ValueType::kFlt15>("radar_frequency");
    image.local_height_m = 201.0;
    states.emplace(orbit, orbit.TimeOrigin(), pool.Read<ValueType::kFlt15>("first_az_time"));
    image.states = &*states;
  }
  GENERAL_ORBIT<double, Vector> orbit;
  std::optional<imaging::OrbitStates> states;
  imaging::ImageGeometry image;
};

const Scene& TheScene() {
  static const Scene scene;
  return scene;
}

struct Results {
  Results() {
    for (auto& v : values) v.resize(kPoints);
    status.resize(kPoints);
  }
  imaging::GroundOutputs Three() {
    imaging::GroundOutputs o;
    o.longitude_deg = values[0];
    o.latitude_deg = values[1];
    o.incidence_deg = values[2];
    o.status = status;
    return o;
  }
  imaging::GroundOutputs Six() {
    imaging::GroundOutputs o = Three();
    o.zero_doppler_velocity_ms = values[3];
    o.b_parameter = values[4];
    o.fm_rate = values[5];
    return o;
  }
  std::array<std::vector<double>, 6> values;
  std::vector<imaging::PointStatus> status;
};

imaging::ImageGrid TheLines() {
  return {.n_samples = kSamples, .first_line = 500.0, .n_lines = kLines};
}

void CountPoints(benchmark::State& state) {
  state.counters["per_point"] =
      benchmark::Counter(static_cast<double>(kPoints) * static_cast<double>(state.iterations()),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

imaging::Execution With(benchmark::State& state, InstructionSet set) {
  if (!IsAvailable(set)) state.SkipWithError("not on this processor");
  return {.threads = 1, .instruction_set = set, .progress = {}};
}

// Image positions in random order.
struct Scattered {
  Scattered() {
    std::mt19937_64 random(1);
    for (std::size_t i = 0; i < kPoints; ++i) {
      sample.push_back(std::uniform_real_distribution(0.0, double{kSamples})(random));
      line.push_back(std::uniform_real_distribution(0.0, 1000.0)(random));
    }
  }
  std::vector<double> sample, line;
};

void Lines(benchmark::State& state, InstructionSet set, bool six) {
  const auto execution = With(state, set);
  Results results;
  const auto outputs = six ? results.Six() : results.Three();
  for (auto _ : state) {
    LocateOnGround(TheScene().image, TheLines(), {.constant_m = 201.0, .per_point_m = {}}, outputs,
                   execution);
    benchmark::ClobberMemory();
  }
  CountPoints(state);
}
BENCHMARK_CAPTURE(Lines, three_baseline, InstructionSet::kBaseline, false);
BENCHMARK_CAPTURE(Lines, three_avx2, InstructionSet::kAvx2, false);
BENCHMARK_CAPTURE(Lines, three_avx512, InstructionSet::kAvx512, false);
BENCHMARK_CAPTURE(Lines, six_baseline, InstructionSet::kBaseline, true);
BENCHMARK_CAPTURE(Lines, six_avx2, InstructionSet::kAvx2, true);
BENCHMARK_CAPTURE(Lines, six_avx512, InstructionSet::kAvx512, true);

struct FloorFrame {
  Vector s, d, n;
  double radius, sigma;
};

FloorFrame FrameOf(const imaging::SensorState& state) {
  const Vector& s = state.position;
  const Vector& v = state.velocity;
  const double radius = std::sqrt(Dot(s, s));
  const Vector right = Cross(v, s);
  const Vector n = (1.0 / std::sqrt(Dot(right, right))) * right;
  const Vector d = (1.0 / std::sqrt(Dot(v, v))) * Cross(v, n);
  return {s, d, n, radius, Dot(s, d)};
}

constexpr double kDegrees = 57.29577951308232;

// One point, right-looking, on the raised ellipsoid.
struct FloorPoint {
  double longitude, latitude, incidence;
};

struct FloorSolution {
  Vector look, ground, normal;

  [[nodiscard]] double Longitude() const { return std::atan2(ground.y, ground.x) * kDegrees; }
  [[nodiscard]] double Latitude() const {
    return std::atan2(normal.z, std::sqrt(ground.x * ground.x + ground.y * ground.y)) * kDegrees;
  }
  [[nodiscard]] double Incidence() const {
    const Vector cross = Cross(normal, look);
    return std::atan2(std::sqrt(Dot(cross, cross)), -Dot(normal, look)) * kDegrees;
  }
};

inline FloorSolution SolveByHand(const FloorFrame& f, double tau, double height) {
  const double a = 6378137.0 + height, b = 6356752.315 + height;
  const double k = (a - b) * (a + b) / (b * b), m = -0.5 / f.sigma;
  const double range = tau * (0.5 * 299792458.0);
  const double c = (f.radius - a) * (f.radius + a) + range * range;
  double z = f.s.z * (b / f.radius), p = m * (c + k * z * z), w = 0.0;
  for (int i = 0; i < 4; ++i) {
    w = std::sqrt((range - p) * (range + p));
    z = f.s.z + p * f.d.z + w * f.n.z;
    p -= (p - m * (c + k * z * z)) * w / (w - 2.0 * m * k * z * (f.d.z * w - f.n.z * p));
  }
  w = std::sqrt((range - p) * (range + p));
  const Vector look = p * f.d + w * f.n;
  const Vector g = f.s + look;
  return {look, g, {g.x, g.y, g.z * (1.0 + k)}};
}

inline FloorPoint LocateByHand(const FloorFrame& f, double tau, double height) {
  const FloorSolution at = SolveByHand(f, tau, height);
  return {at.Longitude(), at.Latitude(), at.Incidence()};
}

void LinesFloor(benchmark::State& state) {
  const imaging::ImageGeometry& image = TheScene().image;
  Results results;
  for (auto _ : state) {
    for (std::size_t j = 0; j < kLines; ++j) {
      const double time = (500.0 + static_cast<double>(j)) / image.prf_hz;
      imaging::SensorState sensor;
      image.states->StatesAt({&time, 1}, {&sensor, 1});
      const FloorFrame frame = FrameOf(sensor);
      for (std::size_t i = 0; i < kSamples; ++i) {
        const double tau =
            image.first_range_time_s + static_cast<double>(i) / image.range_sampling_frequency_hz;
        const FloorPoint at = LocateByHand(frame, tau, 201.0);
        results.values[0][j * kSamples + i] = at.longitude;
        results.values[1][j * kSamples + i] = at.latitude;
        results.values[2][j * kSamples + i] = at.incidence;
      }
    }
    benchmark::ClobberMemory();
  }
  CountPoints(state);
}
BENCHMARK(LinesFloor);

void Points(benchmark::State& state, InstructionSet set) {
  const auto execution = With(state, set);
  const Scattered at;
  Results results;
  for (auto _ : state) {
    LocateOnGround(TheScene().image, {at.sample, at.line}, {.constant_m = 201.0, .per_point_m = {}},
                   results.Three(), execution);
    benchmark::ClobberMemory();
  }
  CountPoints(state);
}
BENCHMARK_CAPTURE(Points, baseline, InstructionSet::kBaseline);
BENCHMARK_CAPTURE(Points, avx2, InstructionSet::kAvx2);
BENCHMARK_CAPTURE(Points, avx512, InstructionSet::kAvx512);

void PointsFloor(benchmark::State& state) {
  const imaging::ImageGeometry& image = TheScene().image;
  const Scattered at;
  Results results;
  for (auto _ : state) {
    for (std::size_t i = 0; i < kPoints; ++i) {
      const double time = at.line[i] / image.prf_hz;
      imaging::SensorState sensor;
      image.states->StatesAt({&time, 1}, {&sensor, 1});
      const double tau =
          image.first_range_time_s + at.sample[i] / image.range_sampling_frequency_hz;
      const FloorPoint point = LocateByHand(FrameOf(sensor), tau, 201.0);
      results.values[0][i] = point.longitude;
      results.values[1][i] = point.latitude;
      results.values[2][i] = point.incidence;
    }
    benchmark::ClobberMemory();
  }
  CountPoints(state);
}
BENCHMARK(PointsFloor);

void OrbitAlone(benchmark::State& state) {
  const Scattered at;
  std::array<double, 32> times{};
  std::array<imaging::SensorState, 32> sensors;
  for (auto _ : state) {
    for (std::size_t i = 0; i < kPoints; i += 32) {
      for (std::size_t k = 0; k < 32; ++k) times[k] = at.line[i + k] / TheScene().image.prf_hz;
      TheScene().image.states->StatesAt(times, sensors);
      benchmark::DoNotOptimize(sensors);
    }
  }
  CountPoints(state);
}
BENCHMARK(OrbitAlone);

// Hills around the scene's middle, with cells of one arc second.
struct Hills {
  Hills(double relief_m, double length_cells);
  [[nodiscard]] imaging::TerrainGrid Grid() const { return {layout, heights}; }

  imaging::GridLayout layout;
  std::vector<float> heights;
};

Hills::Hills(double relief_m, double length_cells) {
  std::vector<double> sample = {4096.0}, line = {508.0}, longitude(1), latitude(1);
  imaging::GroundOutputs outputs;
  outputs.longitude_deg = longitude;
  outputs.latitude_deg = latitude;
  LocateOnGround(TheScene().image, {sample, line}, {.constant_m = 600.0, .per_point_m = {}},
                 outputs);
  constexpr std::size_t kSize = 3601;
  constexpr double kStep = 1.0 / 3600.0;
  heights.resize(kSize * kSize);
  for (std::size_t j = 0; j < kSize; ++j) {
    for (std::size_t i = 0; i < kSize; ++i) {
      const double x = static_cast<double>(i) * 6.2832 / length_cells;
      const double y = static_cast<double>(j) * 6.2832 / length_cells;
      heights[j * kSize + i] = static_cast<float>(
          1000.0 + relief_m * (std::sin(x) * std::cos(0.8 * y) + 0.1 * std::sin(9.0 * x + y)));
    }
  }
  layout = {.west_deg = longitude[0] - 0.5,
            .south_deg = latitude[0] - 0.5,
            .longitude_step_deg = kStep,
            .latitude_step_deg = kStep,
            .columns = kSize,
            .rows = kSize};
}

// The part of the image that is located on terrain.
imaging::ImageGrid TerrainPart() {
  return {.first_sample = 3000.0, .n_samples = 2048, .first_line = 500.0, .n_lines = 4};
}

// Finds the highest meeting point with the terrain, by hand. Longitude and latitude along the curve
// are cubics of the height through four points. The curve is followed downwards in steps of half a
// cell to the first place below the terrain. From there the secant method uses exact points, to a
// tenth of a millimetre. A hill that the curve cuts within half a cell may be missed.
class TerrainFloor {
 public:
  TerrainFloor(const Hills& hills)
      : hills_(hills),
        low_(static_cast<double>(*std::ranges::min_element(hills.heights))),
        high_(static_cast<double>(*std::ranges::max_element(hills.heights))) {}

  FloorPoint Locate(const FloorFrame& frame, double tau, double& height) const {
    std::array<double, 4> column, row;
    const double step = (high_ - low_) / 3.0;
    for (std::size_t i = 0; i < 4; ++i) {
      const FloorSolution at = SolveByHand(frame, tau, high_ - static_cast<double>(i) * step);
      column[i] = Column(at);
      row[i] = Row(at);
    }
    const Cubic x(column), y(row);
    // Half a cell as a step of t, which runs from 0 at the top to 3 at the bottom.
    const double cells = std::hypot(column[3] - column[0], row[3] - row[0]);
    const double dt = 1.5 / std::max(cells, 0.5);
    double t = 0.0, above = high_ - Height(column[0], row[0]), before = above;
    while (above > 0.0 && t < 3.0) {
      t += dt;
      before = above;
      above = high_ - t * step - Height(x.At(t), y.At(t));
    }
    double last = high_ - (t - dt) * step, last_above = before;
    height = last - dt * step * (before / (before - above));
    FloorSolution at = SolveByHand(frame, tau, height);
    for (int i = 0; i < 8; ++i) {
      const double difference = height - Height(Column(at), Row(at));
      if (std::abs(difference) < 1e-4) break;
      const double next = height - difference * (height - last) / (difference - last_above);
      last = height;
      last_above = difference;
      height = next;
      at = SolveByHand(frame, tau, height);
    }
    return {at.Longitude(), at.Latitude(), at.Incidence()};
  }

 private:
  // The cubic through four values at 0, 1, 2 and 3, by Newton's differences.
  struct Cubic {
    explicit Cubic(const std::array<double, 4>& f)
        : c0(f[0]),
          c1(f[1] - f[0]),
          c2((f[2] - 2.0 * f[1] + f[0]) / 2.0),
          c3((f[3] - 3.0 * f[2] + 3.0 * f[1] - f[0]) / 6.0) {}
    [[nodiscard]] double At(double t) const {
      return c0 + t * (c1 + (t - 1.0) * (c2 + (t - 2.0) * c3));
    }
    double c0, c1, c2, c3;
  };

  [[nodiscard]] double Column(const FloorSolution& at) const {
    return (at.Longitude() - hills_.layout.west_deg) * 3600.0;
  }
  [[nodiscard]] double Row(const FloorSolution& at) const {
    return (at.Latitude() - hills_.layout.south_deg) * 3600.0;
  }
  [[nodiscard]] double Height(double column, double row) const {
    const auto i = static_cast<std::size_t>(column), j = static_cast<std::size_t>(row);
    const float* const v = hills_.heights.data() + j * hills_.layout.columns + i;
    const float* const w = v + hills_.layout.columns;
    const double u = column - static_cast<double>(i), s = row - static_cast<double>(j);
    const double v0 = static_cast<double>(v[0]), w0 = static_cast<double>(w[0]);
    const double south = v0 + u * (static_cast<double>(v[1]) - v0);
    const double north = w0 + u * (static_cast<double>(w[1]) - w0);
    return south + s * (north - south);
  }

  const Hills& hills_;
  double low_, high_;
};

void LocateOnTerrainByHand(const TerrainFloor& floor, Results& results) {
  const imaging::ImageGeometry& image = TheScene().image;
  const imaging::ImageGrid part = TerrainPart();
  std::size_t k = 0;
  for (std::size_t j = 0; j < part.n_lines; ++j) {
    const double time = (part.first_line + static_cast<double>(j)) / image.prf_hz;
    imaging::SensorState sensor;
    image.states->StatesAt({&time, 1}, {&sensor, 1});
    const FloorFrame frame = FrameOf(sensor);
    for (std::size_t i = 0; i < part.n_samples; ++i, ++k) {
      const double tau = image.first_range_time_s + (part.first_sample + static_cast<double>(i)) /
                                                        image.range_sampling_frequency_hz;
      const FloorPoint at = floor.Locate(frame, tau, results.values[2][k]);
      results.values[0][k] = at.longitude;
      results.values[1][k] = at.latitude;
      results.values[3][k] = at.incidence;
    }
  }
}

void OnTerrainFloor(benchmark::State& state, double relief_m, double length_cells) {
  const Hills hills(relief_m, length_cells);
  const TerrainFloor floor(hills);
  Results results;
  for (auto _ : state) {
    LocateOnTerrainByHand(floor, results);
    benchmark::ClobberMemory();
  }
  const imaging::ImageGrid part = TerrainPart();
  state.counters["per_point"] = benchmark::Counter(
      static_cast<double>(part.n_samples * part.n_lines) * static_cast<double>(state.iterations()),
      benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK_CAPTURE(OnTerrainFloor, smooth, 200.0, 400.0);
BENCHMARK_CAPTURE(OnTerrainFloor, steep, 700.0, 100.0);

void Terrain(benchmark::State& state, InstructionSet set, double relief_m, double length_cells) {
  const auto execution = With(state, set);
  const Hills hills(relief_m, length_cells);
  const imaging::TerrainGrid grid = hills.Grid();
  const imaging::ImageGrid part = TerrainPart();
  Results results;
  const std::size_t points = part.n_samples * part.n_lines;
  imaging::GroundOutputs outputs;
  outputs.longitude_deg = std::span(results.values[0]).first(points);
  outputs.latitude_deg = std::span(results.values[1]).first(points);
  outputs.height_m = std::span(results.values[2]).first(points);
  outputs.incidence_deg = std::span(results.values[3]).first(points);
  imaging::Summary summary;
  for (auto _ : state) {
    summary = LocateOnGround(TheScene().image, part, {.per_point_m = {}, .terrain = &grid}, outputs,
                             execution);
    benchmark::ClobberMemory();
  }
  state.counters["per_point"] =
      benchmark::Counter(static_cast<double>(points) * static_cast<double>(state.iterations()),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  // The floor measures heights along a slightly different normal, so its points differ by up to 3
  // mm.
  Results by_hand;
  LocateOnTerrainByHand(TerrainFloor(hills), by_hand);
  std::size_t others = 0;
  for (std::size_t i = 0; i < points; ++i) {
    const double difference = outputs.height_m[i] - by_hand.values[2][i];
    others += std::abs(difference) < 0.02 ? 0U : 1U;
  }
  state.counters["other_than_floor"] = static_cast<double>(others) / static_cast<double>(points);
  if (others > points / 50) state.SkipWithError("the floor has found other points");
  const auto share = [&](imaging::PointStatus status) {
    return static_cast<double>(summary.Of(status)) / static_cast<double>(points);
  };
  state.counters["layover"] = share(imaging::PointStatus::kLayover);
  state.counters["lost"] =
      1.0 - share(imaging::PointStatus::kLayover) - share(imaging::PointStatus::kFound);
}
BENCHMARK_CAPTURE(Terrain, smooth_baseline, InstructionSet::kBaseline, 200.0, 400.0);
BENCHMARK_CAPTURE(Terrain, steep_baseline, InstructionSet::kBaseline, 700.0, 100.0);
BENCHMARK_CAPTURE(Terrain, smooth_avx2, InstructionSet::kAvx2, 200.0, 400.0);
BENCHMARK_CAPTURE(Terrain, steep_avx2, InstructionSet::kAvx2, 700.0, 100.0);
BENCHMARK_CAPTURE(Terrain, smooth_avx512, InstructionSet::kAvx512, 200.0, 400.0);
BENCHMARK_CAPTURE(Terrain, steep_avx512, InstructionSet::kAvx512, 700.0, 100.0);

void ToImage(benchmark::State& state, InstructionSet set) {
  const auto execution = With(state, set);
  Results ground;
  const Scattered at;
  LocateOnGround(TheScene().image, {at.sample, at.line}, {.constant_m = 201.0, .per_point_m = {}},
                 ground.Three());
  const std::vector<double> heights(kPoints, 201.0);
  imaging::ImageOutputs outputs;
  outputs.sample = ground.values[3];
  outputs.line = ground.values[4];
  outputs.status = ground.status;
  for (auto _ : state) {
    LocateInImage(TheScene().image, {ground.values[0], ground.values[1], heights}, outputs,
                  execution);
    benchmark::ClobberMemory();
  }
  CountPoints(state);
}
BENCHMARK_CAPTURE(ToImage, baseline, InstructionSet::kBaseline);
BENCHMARK_CAPTURE(ToImage, avx2, InstructionSet::kAvx2);
BENCHMARK_CAPTURE(ToImage, avx512, InstructionSet::kAvx512);

// Newton's method from the middle of the image, point by point.
void ToImageFloor(benchmark::State& state) {
  const imaging::ImageGeometry& image = TheScene().image;
  Results ground;
  const Scattered at;
  LocateOnGround(image, {at.sample, at.line}, {.constant_m = 201.0, .per_point_m = {}},
                 ground.Three());
  constexpr double kRadians = 0.017453292519943295, kE2 = 0.0066943799;
  for (auto _ : state) {
    for (std::size_t i = 0; i < kPoints; ++i) {
      const double lon = ground.values[0][i] * kRadians, lat = ground.values[1][i] * kRadians;
      const double sin_lat = std::sin(lat), cos_lat = std::cos(lat);
      const double n = 6378137.0 / std::sqrt(1.0 - kE2 * sin_lat * sin_lat);
      const Vector g{(n + 201.0) * cos_lat * std::cos(lon), (n + 201.0) * cos_lat * std::sin(lon),
                     (n * (1.0 - kE2) + 201.0) * sin_lat};
      double time = 1.0, step = 1.0;
      imaging::SensorState s;
      while (std::abs(step) > 1e-7) {
        image.states->StatesAt({&time, 1}, {&s, 1});
        const Vector look = g - s.position;
        step = Dot(look, s.velocity) / (Dot(s.velocity, s.velocity) - Dot(look, s.acceleration));
        time += step;
      }
      ground.values[3][i] =
          (Length(g - s.position) / (0.5 * 299792458.0) - image.first_range_time_s) *
          image.range_sampling_frequency_hz;
      ground.values[4][i] = time * image.prf_hz;
    }
    benchmark::ClobberMemory();
  }
  CountPoints(state);
}
BENCHMARK(ToImageFloor);

// Whole lines on one and on two threads.
void Threads(benchmark::State& state) {
  imaging::Execution execution;
  execution.threads = static_cast<unsigned>(state.range(0));
  execution.instruction_set = InstructionSet::kBaseline;
  Results results;
  for (auto _ : state) {
    for (int i = 0; i < 8; ++i) {
      LocateOnGround(TheScene().image, TheLines(), {.constant_m = 201.0, .per_point_m = {}},
                     results.Three(), execution);
    }
    benchmark::ClobberMemory();
  }
}
BENCHMARK(Threads)->Arg(1)->Arg(2)->UseRealTime();

// Measures what a call allocates for each thread, on terrain and with all six results, and how much
// more points add.
void ThreadMemory(benchmark::State& state) {
  const Hills hills(200.0, 400.0);
  const imaging::TerrainGrid grid = hills.Grid();
  Results results;
  const auto allocated_by = [&](unsigned threads, std::size_t lines) {
    const imaging::ImageGrid part{
        .first_sample = 3000.0, .n_samples = 2048, .first_line = 500.0, .n_lines = lines};
    const std::size_t before = quellmark::bench::AllocatedBytes();
    imaging::GroundOutputs outputs;
    const auto first = [&](std::size_t i) {
      return std::span(results.values[i]).first(part.n_samples * lines);
    };
    outputs.longitude_deg = first(0);
    outputs.zero_doppler_velocity_ms = first(3);
    outputs.b_parameter = first(4);
    LocateOnGround(TheScene().image, part, {.per_point_m = {}, .terrain = &grid}, outputs,
                   {.threads = threads, .progress = {}});
    return static_cast<double>(quellmark::bench::AllocatedBytes() - before);
  };
  double one = 0.0, three = 0.0, more_points = 0.0;
  for (auto _ : state) {
    one = allocated_by(1, 6);
    three = allocated_by(3, 6);
    more_points = allocated_by(3, 60);
  }
  state.counters["bytes_per_thread"] = (three - one) / 2.0;
  state.counters["bytes_of_more_points"] = more_points - three;
}
BENCHMARK(ThreadMemory);

}  // namespace
