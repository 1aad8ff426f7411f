#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>

#include "basic/errors.h"
#include "imaging/bisection.h"
#include "imaging/instruction_set.h"
#include "imaging/kernel.h"
#include "imaging/locate.h"
#include "imaging/run.h"
#include "imaging/terrain_search.h"
#include "runtime/log.h"

namespace quellmark::imaging {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kSpeedOfLight_ms = 299792458.0;
// Azimuth time between the two ground points of a zero-Doppler velocity.
constexpr double kVelocityStep_s = 0.01;
// From here on a batch of one line is better than a state for each point.
constexpr std::size_t kSharedFrom = kLanes / 2;

bool HasNumbers(PointStatus status) { return status <= PointStatus::kNoTerrain; }

// What the outputs ask for.
struct Wants {
  explicit Wants(const GroundOutputs& o)
      : angles((o.longitude_deg.empty() ? 0U : kWantLongitude) |
               (o.latitude_deg.empty() ? 0U : kWantLatitude) |
               (o.incidence_deg.empty() ? 0U : kWantIncidence) |
               (o.heading_deg.empty() ? 0U : kWantHeading) | (o.look_deg.empty() ? 0U : kWantLook)),
        velocity(!o.zero_doppler_velocity_ms.empty()),
        doppler_rate(!o.b_parameter.empty() || !o.fm_rate.empty()) {}

  unsigned angles;
  bool velocity;
  bool doppler_rate;
};

// A call's points, all inputs behind one face: `n_samples` is the length of a run of points with
// one line, 0 if each has its own.
struct Positions {
  const double* sample = nullptr;
  const double* line = nullptr;
  ImageGrid grid;
  std::size_t n_samples = 0;

  [[nodiscard]] double LineOf(std::uint64_t i) const {
    if (line != nullptr) return line[i];
    const std::uint64_t whole_lines = i / grid.n_samples;
    return grid.first_line + static_cast<double>(whole_lines) * grid.line_step;
  }
  [[nodiscard]] double SampleAt(double in_line) const {
    return grid.first_sample + in_line * grid.sample_step;
  }
};

struct Task {
  const ImageGeometry& image;
  const Kernel& kernel;
  Positions positions;
  const Heights& heights;
  const GroundOutputs& outputs;
  Wants wants;
  TimeInterval covered;

  [[nodiscard]] bool IsGeodetic() const {
    return heights.terrain != nullptr || heights.model == HeightModel::kGeodetic;
  }
};

void LoadState(const SensorState& state, int lane, LaneStates& states) {
  states.px[lane] = state.position.x;
  states.py[lane] = state.position.y;
  states.pz[lane] = state.position.z;
  states.vx[lane] = state.velocity.x;
  states.vy[lane] = state.velocity.y;
  states.vz[lane] = state.velocity.z;
  states.ax[lane] = state.acceleration.x;
  states.ay[lane] = state.acceleration.y;
  states.az[lane] = state.acceleration.z;
}

// States and frames of a batch, of one sensor for all lanes or of one each.
class Sensors {
 public:
  // `times` has one element, or kLanes.
  void Load(const Task& task, std::span<const double> times) {
    task.image.states->StatesAt(times, std::span(raw_).first(times.size()));
    shared = times.size() == 1;
    for (std::size_t i = 0; i < times.size(); ++i) {
      LoadState(raw_[i], static_cast<int>(i), states);
    }
    task.kernel.make_frames(states, static_cast<double>(static_cast<int>(task.image.look_side)),
                            frames);
  }

  bool shared = false;
  LaneStates states{};
  LaneFrames frames{};

 private:
  std::array<SensorState, kLanes> raw_{};
};

class GroundWorker {
 public:
  explicit GroundWorker(const Task& task) : task_(task) {
    const TerrainGrid* const terrain = task.heights.terrain;
    if (terrain != nullptr) search_.emplace(task.kernel, *terrain, task.image.ellipsoid);
  }

  using Count = std::array<std::uint64_t, kPointStatusCount>;

  void Do(std::uint64_t first, std::uint64_t last, Count& count) {
    const std::size_t run = task_.positions.n_samples;
    if (run < kSharedFrom) {
      for (std::uint64_t i = first; i < last; i += kLanes) {
        DoScattered(i, static_cast<int>(std::min<std::uint64_t>(kLanes, last - i)));
        Store(count);
      }
      return;
    }
    for (std::uint64_t i = first; i < last;) {
      const std::uint64_t end = std::min(last, (i / run + 1) * run);
      const bool has_sensor = LoadLine(i);
      for (; i < end; i += static_cast<std::uint64_t>(n_)) {
        DoSamples(i, static_cast<int>(std::min<std::uint64_t>(kLanes, end - i)), has_sensor);
        Store(count);
      }
    }
  }

  void Skip(std::uint64_t first, std::uint64_t last, Count& count) {
    for (std::uint64_t i = first; i < last; i += kLanes) {
      first_ = i;
      n_ = static_cast<int>(std::min<std::uint64_t>(kLanes, last - i));
      status_.fill(PointStatus::kNotComputed);
      Store(count);
    }
  }

 private:
  [[nodiscard]] PointStatus TimeStatus(double time_s) const {
    if (!std::isfinite(time_s)) return PointStatus::kBadInput;
    return task_.covered.Contains(time_s) ? PointStatus::kFound : PointStatus::kBeyondOrbit;
  }

  // The sensor of the line of point i; false if it has none.
  bool LoadLine(std::uint64_t i) {
    const double time = task_.positions.LineOf(i) / task_.image.prf_hz;
    line_status_ = TimeStatus(time);
    if (line_status_ != PointStatus::kFound) return false;
    sensors_.Load(task_, {&time, 1});
    if (task_.wants.velocity) {
      const double later = time + kVelocityStep_s;
      later_sensors_.Load(task_, {&later, 1});
    }
    return true;
  }

  void DoSamples(std::uint64_t first, int n, bool has_sensor) {
    first_ = first;
    n_ = n;
    status_.fill(line_status_);
    if (!has_sensor) return;
    LoadPoints();
    Locate();
  }

  void DoScattered(std::uint64_t first, int n) {
    first_ = first;
    n_ = n;
    int good = -1;
    for (int lane = 0; lane < n; ++lane) {
      const double time =
          task_.positions.LineOf(first + static_cast<std::uint64_t>(lane)) / task_.image.prf_hz;
      times_[static_cast<std::size_t>(lane)] = time;
      status_[static_cast<std::size_t>(lane)] = TimeStatus(time);
      if (status_[static_cast<std::size_t>(lane)] == PointStatus::kFound) good = lane;
    }
    if (good < 0) return;
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      const bool is_good =
          lane < static_cast<std::size_t>(n) && status_[lane] == PointStatus::kFound;
      if (!is_good) times_[lane] = times_[static_cast<std::size_t>(good)];
    }
    sensors_.Load(task_, times_);
    if (task_.wants.velocity) {
      for (double& time : times_) time += kVelocityStep_s;
      later_sensors_.Load(task_, times_);
    }
    LoadPoints();
    Locate();
  }

  // Range times and heights; lanes behind the last point repeat it.
  void LoadPoints() {
    LoadSamples();
    LoadHeights();
    const double first = task_.image.first_range_time_s;
    const double rate = task_.image.range_sampling_frequency_hz;
    for (int lane = 0; lane < kLanes; ++lane) points_.tau[lane] = first + sample_[lane] / rate;
    const double lowest = -task_.image.ellipsoid.semi_minor_m;
    int unusable = 0;
    for (int lane = 0; lane < kLanes; ++lane) {
      unusable |= static_cast<int>(!IsUsable(points_.tau[lane], points_.height[lane], lowest));
    }
    for (int lane = n_; lane < kLanes; ++lane) {
      status_[static_cast<std::size_t>(lane)] = PointStatus::kNotComputed;
    }
    if (unusable == 0) return;
    for (int lane = 0; lane < n_; ++lane) {
      PointStatus& status = status_[static_cast<std::size_t>(lane)];
      if (status == PointStatus::kFound &&
          !IsUsable(points_.tau[lane], points_.height[lane], lowest)) {
        status = PointStatus::kBadInput;
      }
    }
  }

  void LoadHeights() {
    const std::span<const double> heights = task_.heights.per_point_m;
    if (heights.empty()) {
      std::fill_n(points_.height, kLanes, task_.heights.constant_m);
      return;
    }
    for (int lane = 0; lane < kLanes; ++lane) {
      points_.height[lane] = heights[first_ + LastLane(lane)];
    }
  }

  void LoadSamples() {
    const Positions& positions = task_.positions;
    if (positions.sample != nullptr) {
      for (int lane = 0; lane < kLanes; ++lane) {
        sample_[lane] = positions.sample[first_ + LastLane(lane)];
      }
    } else if (sensors_.shared) {
      // Beyond the last point of a short batch: samples of the same line, which nobody reads.
      const auto in_line = static_cast<double>(first_ % positions.n_samples);
      for (int lane = 0; lane < kLanes; ++lane) sample_[lane] = positions.SampleAt(in_line + lane);
    } else {
      for (int lane = 0; lane < kLanes; ++lane) {
        sample_[lane] = positions.SampleAt(
            static_cast<double>((first_ + LastLane(lane)) % positions.grid.n_samples));
      }
    }
  }

  [[nodiscard]] std::uint64_t LastLane(int lane) const {
    return static_cast<std::uint64_t>(std::min(lane, n_ - 1));
  }

  // Both finite, and the height not below the earth's centre.
  [[nodiscard]] static bool IsUsable(double tau, double height, double lowest) {
    return (std::abs(tau) < kInfinity) & (height < kInfinity) & (height > lowest);
  }

  void Locate() {
    const bool geodetic = task_.IsGeodetic();
    const auto& [a, b] = task_.image.ellipsoid;
    if (search_) {
      search_->Find(sensors_.frames, sensors_.shared, sensors_.states, task_.image.local_height_m,
                    points_, status_);
    }
    task_.kernel.solve(sensors_.frames, sensors_.shared, a, b, geodetic, points_);
    Settle(geodetic);
    task_.kernel.finish(sensors_.frames, sensors_.shared, sensors_.states, task_.wants.angles,
                        points_);
    CheckFacing();
    if (task_.wants.velocity) FindVelocities();
    if (task_.wants.doppler_rate) FindDopplerRates();
  }

  // Points for which the iteration did not settle, one by one.
  void Settle(bool geodetic) {
    if (!AnyLane(points_.unsettled, [](double unsettled) { return unsettled != 0.0; })) return;
    const auto& [a, b] = task_.image.ellipsoid;
    for (int lane = 0; lane < n_; ++lane) {
      PointStatus& status = status_[static_cast<std::size_t>(lane)];
      if (!HasNumbers(status) || points_.unsettled[lane] == 0.0) continue;
      if (!SettleLane(sensors_.frames, sensors_.shared, lane, a, b, geodetic, points_)) {
        status = PointStatus::kNoIntersection;
      }
    }
  }

  void CheckFacing() {
    if (!AnyLane(points_.facing, [](double facing) { return !(facing > 0.0); })) return;
    for (int lane = 0; lane < n_; ++lane) {
      PointStatus& status = status_[static_cast<std::size_t>(lane)];
      if (HasNumbers(status) && !(points_.facing[lane] > 0.0)) {
        status = PointStatus::kNoIntersection;
      }
    }
  }

  template <class Test>
  static bool AnyLane(const double (&values)[kLanes], Test test) {
    int any = 0;
    for (const double value : values) any |= static_cast<int>(test(value));
    return any != 0;
  }

  void FindVelocities() {
    const auto& [a, b] = task_.image.ellipsoid;
    task_.kernel.solve_near(later_sensors_.frames, later_sensors_.shared, a, points_, later_);
    for (int lane = 0; lane < n_; ++lane) {
      const bool has_numbers = HasNumbers(status_[static_cast<std::size_t>(lane)]);
      if (!has_numbers || later_.unsettled[lane] == 0.0) continue;
      later_.height[lane] = points_.raise[lane];
      if (!SettleLane(later_sensors_.frames, later_sensors_.shared, lane, a, b, false, later_)) {
        later_.p[lane] = kNaN;
      }
    }
    task_.kernel.finish(later_sensors_.frames, later_sensors_.shared, later_sensors_.states, 0U,
                        later_);
    for (int lane = 0; lane < kLanes; ++lane) {
      const double dx = later_.x[lane] - points_.x[lane];
      const double dy = later_.y[lane] - points_.y[lane];
      const double dz = later_.z[lane] - points_.z[lane];
      velocity_[lane] = std::sqrt(dx * dx + dy * dy + dz * dz) / kVelocityStep_s;
    }
  }

  void FindDopplerRates() {
    const LaneStates& s = sensors_.states;
    for (int lane = 0; lane < kLanes; ++lane) {
      const int j = sensors_.shared ? 0 : lane;
      const double b = (s.px[j] - points_.x[lane]) * s.ax[j] +
                       (s.py[j] - points_.y[lane]) * s.ay[j] +
                       (s.pz[j] - points_.z[lane]) * s.az[j] +
                       (s.vx[j] * s.vx[j] + s.vy[j] * s.vy[j] + s.vz[j] * s.vz[j]);
      b_parameter_[lane] = b;
      // 2 B / (lambda R) with lambda = c / f and R = c tau / 2.
      fm_rate_[lane] = 4.0 * b * task_.image.radar_frequency_hz /
                       (points_.tau[lane] * kSpeedOfLight_ms * kSpeedOfLight_ms);
    }
  }

  void Store(GroundWorker::Count& count) {
    unsigned any_other = 0;
    for (std::size_t lane = 0; lane < static_cast<std::size_t>(n_); ++lane) {
      any_other |= static_cast<unsigned>(status_[lane]);
    }
    const bool all_found = any_other == 0;
    if (all_found) {
      count[0] += static_cast<std::uint64_t>(n_);
    } else {
      for (std::size_t lane = 0; lane < static_cast<std::size_t>(n_); ++lane) {
        ++count[static_cast<std::size_t>(status_[lane])];
      }
    }
    const GroundOutputs& o = task_.outputs;
    const auto put = [&](std::span<double> to, const double(&from)[kLanes]) {
      if (to.empty()) return;
      double* const out = to.data() + first_;
      if (all_found) {
        std::memcpy(out, from, static_cast<std::size_t>(n_) * sizeof(double));
        return;
      }
      for (int lane = 0; lane < n_; ++lane) {
        const bool has_numbers = status_[static_cast<std::size_t>(lane)] <= PointStatus::kNoTerrain;
        out[lane] = has_numbers ? from[lane] : kNaN;
      }
    };
    put(o.longitude_deg, points_.longitude);
    put(o.latitude_deg, points_.latitude);
    put(o.height_m, points_.height);
    put(o.incidence_deg, points_.incidence);
    put(o.heading_deg, points_.heading);
    put(o.look_deg, points_.look);
    put(o.x_m, points_.x);
    put(o.y_m, points_.y);
    put(o.z_m, points_.z);
    put(o.zero_doppler_velocity_ms, velocity_);
    put(o.b_parameter, b_parameter_);
    put(o.fm_rate, fm_rate_);
    if (!o.status.empty()) {
      std::memcpy(o.status.data() + first_, status_.data(), static_cast<std::size_t>(n_));
    }
  }

  const Task& task_;
  std::uint64_t first_ = 0;  // of the batch
  int n_ = 0;
  PointStatus line_status_ = PointStatus::kFound;
  std::array<PointStatus, kLanes> status_{};
  std::array<double, kLanes> times_{};
  std::optional<TerrainSearch> search_;
  Sensors sensors_;
  Sensors later_sensors_;
  LanePoints points_{};
  LanePoints later_{};
  alignas(64) double sample_[kLanes]{};
  alignas(64) double velocity_[kLanes]{};
  alignas(64) double b_parameter_[kLanes]{};
  alignas(64) double fm_rate_[kLanes]{};
};

void CheckLengths(const Heights& heights, const GroundOutputs& o, std::size_t points) {
  CheckLength("heights", heights.per_point_m.size(), points);
  CheckLength("longitudes", o.longitude_deg.size(), points);
  CheckLength("latitudes", o.latitude_deg.size(), points);
  CheckLength("heights of the points", o.height_m.size(), points);
  CheckLength("incidence angles", o.incidence_deg.size(), points);
  CheckLength("headings", o.heading_deg.size(), points);
  CheckLength("look angles", o.look_deg.size(), points);
  CheckLength("x", o.x_m.size(), points);
  CheckLength("y", o.y_m.size(), points);
  CheckLength("z", o.z_m.size(), points);
  CheckLength("zero-Doppler velocities", o.zero_doppler_velocity_ms.size(), points);
  CheckLength("B-parameters", o.b_parameter.size(), points);
  CheckLength("FM rates", o.fm_rate.size(), points);
  CheckLength("states", o.status.size(), points);
}

Summary Locate(const ImageGeometry& image, const Positions& positions, std::size_t points,
               const Heights& heights, const GroundOutputs& outputs, const Execution& execution) {
  CheckGeometry(image);
  CheckLengths(heights, outputs, points);
  const Task task{image,
                  KernelFor(execution.instruction_set),
                  positions,
                  heights,
                  outputs,
                  Wants(outputs),
                  image.states->Covered()};
  const auto make_worker = [&task] { return std::make_unique<GroundWorker>(task); };
  return ChunkRun(points, execution, make_worker).Run();
}

}  // namespace

void CheckGeometry(const ImageGeometry& image) {
  const auto is_frequency = [](double f) { return std::isfinite(f) && f > 0.0; };
  const auto& [a, b] = image.ellipsoid;
  if (image.states == nullptr || !is_frequency(image.prf_hz) ||
      !is_frequency(image.range_sampling_frequency_hz) ||
      !std::isfinite(image.first_range_time_s) || !is_frequency(a) || !is_frequency(b)) {
    runtime::Fail<ERROR_ARGUMENT>(
        "imaging: a scene needs sensor states, frequencies above 0 and an ellipsoid\n");
  }
}

void CheckLength(const char* name, std::size_t size, std::size_t points) {
  if (size == 0 || size == points) return;
  runtime::Fail<ERROR_ARGUMENT>("imaging: room for ", size, " ", name, ", but there are ", points,
                                " points\n");
}

Summary LocateOnGround(const ImageGeometry& image, const ImagePoints& points,
                       const Heights& heights, const GroundOutputs& outputs,
                       const Execution& execution) {
  if (points.sample.size() != points.line.size()) {
    runtime::Fail<ERROR_ARGUMENT>("imaging: ", points.sample.size(), " samples, but ",
                                  points.line.size(), " lines\n");
  }
  const Positions positions{
      .sample = points.sample.data(), .line = points.line.data(), .grid = {}, .n_samples = 0};
  return Locate(image, positions, points.sample.size(), heights, outputs, execution);
}

Summary LocateOnGround(const ImageGeometry& image, const ImageGrid& grid, const Heights& heights,
                       const GroundOutputs& outputs, const Execution& execution) {
  std::size_t points = 0;
  if (__builtin_mul_overflow(grid.n_samples, grid.n_lines, &points)) {
    runtime::Fail<ERROR_ARGUMENT>("imaging: a grid of ", grid.n_samples, " x ", grid.n_lines,
                                  " points is too large\n");
  }
  const Positions positions{
      .sample = nullptr, .line = nullptr, .grid = grid, .n_samples = grid.n_samples};
  return Locate(image, positions, points, heights, outputs, execution);
}

}  // namespace quellmark::imaging
