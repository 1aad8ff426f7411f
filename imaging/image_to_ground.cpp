#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>

#include "basic/constants.h"
#include "basic/errors.h"
#include "imaging/batch_worker.h"
#include "imaging/bisection.h"
#include "imaging/instruction_set.h"
#include "imaging/kernel.h"
#include "imaging/locate.h"
#include "imaging/run.h"
#include "imaging/sensors.h"
#include "imaging/terrain_search.h"
#include "runtime/log.h"

namespace quellmark::imaging {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
using basic::kSpeedOfLight_ms;

// The azimuth time between the two ground points of a zero-Doppler velocity.
constexpr double kVelocityStep_s = 0.01;
// From this number of points per line on, batches whose points lie in one line and share its state
// are faster than batches with a state for each point.
constexpr std::size_t kSharedFrom = kLanes / 2;

// The quantities that the outputs request.
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

// The points of a call, for all kinds of input. `n_samples` is the number of successive points in
// one line, or 0 if each point has its own line.
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

// The states and frames of a batch: one sensor for all lanes, or one for each lane.
class Sensors {
 public:
  explicit Sensors(const Task& task) : task_(task), batch_(*task.image.states, task.kernel) {}

  // `times` has one element or kLanes elements.
  void Load(std::span<const double> times) {
    batch_.Load(times, states);
    shared = times.size() == 1;
    task_.kernel.make_frames(states, static_cast<double>(static_cast<int>(task_.image.look_side)),
                             frames);
  }

  bool shared = false;
  LaneStates states{};
  LaneFrames frames{};

 private:
  const Task& task_;
  SensorBatch batch_;
};

class GroundWorker : public BatchWorker<GroundWorker> {
 public:
  explicit GroundWorker(const Task& task) : task_(task), sensors_(task), later_sensors_(task) {
    const TerrainGrid* const terrain = task.heights.terrain;
    if (terrain != nullptr) search_.emplace(task.kernel, *terrain, task.image.ellipsoid);
  }

  void Do(std::uint64_t first, std::uint64_t last, Count& count) {
    const std::size_t run = task_.positions.n_samples;
    if (run < kSharedFrom) {
      ForBatches(first, last, count, [this] { DoScattered(); });
      return;
    }
    for (std::uint64_t i = first; i < last;) {
      const std::uint64_t end = std::min(last, (i / run + 1) * run);
      const bool has_sensor = LoadLine(i);
      ForBatches(i, end, count, [this, has_sensor] { DoSamples(has_sensor); });
      i = end;
    }
  }

 private:
  friend class BatchWorker<GroundWorker>;

  [[nodiscard]] PointStatus TimeStatus(double time_s) const {
    if (!std::isfinite(time_s)) return PointStatus::kBadInput;
    return task_.covered.Contains(time_s) ? PointStatus::kFound : PointStatus::kBeyondOrbit;
  }

  // Loads the sensor for the line of point i. Returns false if the orbit does not cover that line.
  bool LoadLine(std::uint64_t i) {
    const double time = task_.positions.LineOf(i) / task_.image.prf_hz;
    line_status_ = TimeStatus(time);
    if (line_status_ != PointStatus::kFound) return false;
    sensors_.Load({&time, 1});
    if (task_.wants.velocity) {
      const double later = time + kVelocityStep_s;
      later_sensors_.Load({&later, 1});
    }
    return true;
  }

  void DoSamples(bool has_sensor) {
    status_.fill(line_status_);
    if (!has_sensor) return;
    LoadPoints();
    Locate();
  }

  void DoScattered() {
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      times_[lane] =
          task_.positions.LineOf(first_ + LastLane(static_cast<int>(lane))) / task_.image.prf_hz;
    }
    status_.fill(PointStatus::kFound);
    const TimeInterval covered = task_.covered;
    if (AnyLane(times_, [&covered](double time) { return !covered.Contains(time); }) &&
        !SortOut()) {
      return;
    }
    sensors_.Load(times_);
    if (task_.wants.velocity) {
      for (double& time : times_) time += kVelocityStep_s;
      later_sensors_.Load(times_);
    }
    LoadPoints();
    Locate();
  }

  // Lanes without a time get that of another lane. Returns false if no lane has a time.
  bool SortOut() {
    std::optional<double> good;
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      status_[lane] = TimeStatus(times_[lane]);
      if (status_[lane] == PointStatus::kFound) good = times_[lane];
    }
    if (!good) return false;
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      if (status_[lane] != PointStatus::kFound) times_[lane] = *good;
    }
    return true;
  }

  // Loads range times and heights. Lanes after the last point repeat it.
  void LoadPoints() {
    LoadSamples();
    LoadHeights();
    const double lowest = -task_.image.ellipsoid.semi_minor_m;
    const bool all_usable =
        task_.kernel.place_points(sample_, task_.image.first_range_time_s,
                                  task_.image.range_sampling_frequency_hz, lowest, points_);
    for (int lane = n_; lane < kLanes; ++lane) {
      status_[static_cast<std::size_t>(lane)] = PointStatus::kNotComputed;
    }
    if (all_usable) return;
    for (int lane = 0; lane < n_; ++lane) {
      PointStatus& status = status_[static_cast<std::size_t>(lane)];
      const double tau = points_.tau[lane];
      const double height = points_.height[lane];
      const bool is_usable = std::isfinite(tau) && std::isfinite(height) && height > lowest;
      if (status == PointStatus::kFound && !is_usable) status = PointStatus::kBadInput;
    }
  }

  void LoadHeights() {
    const std::span<const double> heights = task_.heights.per_point_m;
    if (heights.empty()) {
      // Only the terrain search changes the heights of a batch.
      if (search_ || points_.height[0] != task_.heights.constant_m) {
        std::fill_n(points_.height, kLanes, task_.heights.constant_m);
      }
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
      // After the last point of a short batch, more samples of the same line follow. They are not
      // used.
      task_.kernel.count_samples(static_cast<double>(first_ % positions.n_samples),
                                 positions.grid.first_sample, positions.grid.sample_step, sample_);
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

  // Solves the points for which the iteration did not converge, one by one.
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

  template <class Lanes, class Test>
  static bool AnyLane(const Lanes& values, Test test) {
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

  template <class Put>
  void ForOutputs(Put put) {
    const GroundOutputs& o = task_.outputs;
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
  }
  [[nodiscard]] std::span<PointStatus> StatusOutput() const { return task_.outputs.status; }

  const Task& task_;
  PointStatus line_status_ = PointStatus::kFound;
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
