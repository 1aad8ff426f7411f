#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <span>

#include "basic/constants.h"
#include "basic/errors.h"
#include "imaging/batch_worker.h"
#include "imaging/instruction_set.h"
#include "imaging/kernel.h"
#include "imaging/locate.h"
#include "imaging/run.h"
#include "imaging/sensors.h"
#include "runtime/log.h"

namespace quellmark::imaging {

namespace {

constexpr double kHalfSpeedOfLight_ms = 0.5 * basic::kSpeedOfLight_ms;
// Larger longitudes are not accepted, because they would have few digits left below a degree.
constexpr double kLongitudeLimit_deg = 1e9;
// Rounding may put a point at the end of the covered times this far beyond it.
constexpr double kTimeSlack_s = 1e-9;
// The limit of the slow search, which is for points whose two Newton steps were not enough. One
// third of its steps are halvings, which alone reduce a bracket of 1500 s to 2e-7 s.
constexpr int kSlowSteps = 100;

VECTOR_3D<double> TargetOf(const LaneTargets& t, int lane) {
  return {t.x[lane], t.y[lane], t.z[lane]};
}

// (G - S) . V, which is positive before the time of zero Doppler and negative after it.
double DopplerOf(const SensorState& state, const VECTOR_3D<double>& target) {
  return Dot(target - state.position, state.velocity);
}

struct Task {
  const ImageGeometry& image;
  const Kernel& kernel;
  const GroundPoints& points;
  const ImageOutputs& outputs;
  double side;
  // The times in which points are searched, and the states at their ends. Empty if last < first.
  TimeInterval within;
  MiddleState middle;
  SensorState first_state;
  SensorState last_state;
};

SensorState StateAt(const StateSource& states, double time_s) {
  SensorState state;
  states.StatesAt({&time_s, 1}, {&state, 1});
  return state;
}

// Sets the times that the states cover and that a search may use.
void PlaceSearch(Task& task) {
  const StateSource& states = *task.image.states;
  const TimeInterval covered = states.Covered();
  task.within = {0.0, -1.0};
  if (!(covered.first_s <= covered.last_s)) return;
  const double middle_s =
      std::clamp(0.5 * static_cast<double>(task.image.n_lines) / task.image.prf_hz, covered.first_s,
                 covered.last_s);
  const SensorState s = StateAt(states, middle_s);
  const double quarter_s = 0.5 * basic::kPi * Length(s.position) / Length(s.velocity);
  if (!std::isfinite(quarter_s)) return;
  task.middle = {s.position.x, s.position.y,     s.position.z,     s.velocity.x,     s.velocity.y,
                 s.velocity.z, s.acceleration.x, s.acceleration.y, s.acceleration.z, middle_s};
  task.within = {std::max(covered.first_s, middle_s - quarter_s),
                 std::min(covered.last_s, middle_s + quarter_s)};
  task.first_state = StateAt(states, task.within.first_s);
  task.last_state = StateAt(states, task.within.last_s);
}

class ImageWorker : public BatchWorker<ImageWorker> {
 public:
  explicit ImageWorker(const Task& task) : task_(task), sensors_(*task.image.states, task.kernel) {}

  void Do(std::uint64_t first, std::uint64_t last, Count& count) {
    ForBatches(first, last, count, [this] {
      Load();
      Locate();
    });
  }

 private:
  friend class BatchWorker<ImageWorker>;

  [[nodiscard]] PointStatus InputStatus(std::uint64_t i) const {
    const bool good = std::abs(task_.points.longitude_deg[i]) <= kLongitudeLimit_deg &&
                      std::abs(task_.points.latitude_deg[i]) <= 90.0 &&
                      task_.points.height_m[i] > -task_.image.ellipsoid.semi_minor_m &&
                      std::isfinite(task_.points.height_m[i]);
    return good ? PointStatus::kFound : PointStatus::kBadInput;
  }

  // Bad points, and lanes after the last point, become a harmless point.
  void Load() {
    for (int lane = 0; lane < kLanes; ++lane) {
      const std::uint64_t i = first_ + static_cast<std::uint64_t>(lane);
      const PointStatus status = lane < n_ ? InputStatus(i) : PointStatus::kBadInput;
      status_[static_cast<std::size_t>(lane)] = status;
      const bool good = status == PointStatus::kFound;
      targets_.longitude[lane] = good ? task_.points.longitude_deg[i] : 0.0;
      targets_.latitude[lane] = good ? task_.points.latitude_deg[i] : 0.0;
      targets_.height[lane] = good ? task_.points.height_m[i] : 0.0;
    }
  }

  void Locate() {
    if (!(task_.within.first_s <= task_.within.last_s)) {
      for (PointStatus& status : status_) {
        if (status == PointStatus::kFound) status = PointStatus::kBeyondOrbit;
      }
      return;
    }
    const auto& [a, b] = task_.image.ellipsoid;
    task_.kernel.place_targets(task_.middle, a, b, targets_);
    StepAll();
    StepAll();
    for (int lane = 0; lane < n_; ++lane) Settle(lane);
    for (int lane = 0; lane < kLanes; ++lane) {
      time_[lane] = targets_.time[lane];
      line_[lane] = targets_.time[lane] * task_.image.prf_hz;
      sample_[lane] =
          (targets_.range[lane] / kHalfSpeedOfLight_ms - task_.image.first_range_time_s) *
          task_.image.range_sampling_frequency_hz;
    }
  }

  // A time that is not covered, or NaN, is moved to the nearest covered time, because states exist
  // only there.
  void StepAll() {
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      const double time = targets_.time[lane];
      const double low = time >= task_.within.first_s ? time : task_.within.first_s;
      times_[lane] = low <= task_.within.last_s ? low : task_.within.last_s;
      targets_.time[lane] = times_[lane];
    }
    sensors_.Load(times_, states_);
    task_.kernel.step_time(states_, task_.side, targets_);
  }

  [[nodiscard]] bool IsWithin(double time) const {
    return task_.within.first_s - kTimeSlack_s <= time &&
           time <= task_.within.last_s + kTimeSlack_s;
  }

  void Settle(int lane) {
    PointStatus& status = status_[static_cast<std::size_t>(lane)];
    if (status != PointStatus::kFound) return;
    const bool settled =
        std::abs(targets_.step[lane]) <= kTimeStepLimit_s && IsWithin(targets_.time[lane]);
    if (!settled && !SettleSlowly(lane)) {
      status = PointStatus::kBeyondOrbit;
      return;
    }
    if (!(targets_.side[lane] > 0.0)) {
      status = PointStatus::kWrongSide;
    } else if (!(targets_.facing[lane] > 0.0)) {
      status = PointStatus::kOutOfView;
    }
  }

  // Uses regula falsi between the ends, where the Doppler must have different signs. Returns false
  // if the signs are equal.
  bool SettleSlowly(int lane) {
    const VECTOR_3D<double> target = TargetOf(targets_, lane);
    double low = task_.within.first_s;
    double high = task_.within.last_s;
    double at_low = DopplerOf(task_.first_state, target);
    double at_high = DopplerOf(task_.last_state, target);
    if (!(at_low >= 0.0) || !(at_high <= 0.0)) return false;
    double time = low;
    for (int i = 0; i < kSlowSteps && high - low > 1e-13 * (1.0 + std::abs(low)); ++i) {
      // Every third step halves the bracket, because the others might always shorten it from the
      // same side.
      const double part = i % 3 == 2 ? 0.5 : at_low / (at_low - at_high);
      time = low + (high - low) * (part >= 0.0 && part <= 1.0 ? part : 0.5);
      const double at = DopplerOf(StateAt(*task_.image.states, time), target);
      if (at == 0.0) break;
      (at > 0.0 ? low : high) = time;
      (at > 0.0 ? at_low : at_high) = at;
    }
    TakeTime(lane, time);
    return true;
  }

  void TakeTime(int lane, double time) {
    const SensorState s = StateAt(*task_.image.states, time);
    const VECTOR_3D<double> look = TargetOf(targets_, lane) - s.position;
    const VECTOR_3D<double> up{targets_.ux[lane], targets_.uy[lane], targets_.uz[lane]};
    targets_.time[lane] = time;
    targets_.range[lane] = Length(look);
    targets_.side[lane] = task_.side * Dot(look, Cross(s.velocity, s.position));
    targets_.facing[lane] = -Dot(look, up);
  }

  template <class Put>
  void ForOutputs(Put put) {
    const ImageOutputs& o = task_.outputs;
    put(o.sample, sample_);
    put(o.line, line_);
    put(o.slant_range_m, targets_.range);
    put(o.azimuth_time_s, time_);
  }
  [[nodiscard]] std::span<PointStatus> StatusOutput() const { return task_.outputs.status; }

  const Task& task_;
  SensorBatch sensors_;
  std::array<double, kLanes> times_{};
  LaneStates states_{};
  LaneTargets targets_{};
  alignas(64) double sample_[kLanes]{};
  alignas(64) double line_[kLanes]{};
  alignas(64) double time_[kLanes]{};
};

}  // namespace

Summary LocateInImage(const ImageGeometry& image, const GroundPoints& points,
                      const ImageOutputs& outputs, const Execution& execution) {
  CheckGeometry(image);
  const std::size_t count = points.longitude_deg.size();
  if (points.latitude_deg.size() != count || points.height_m.size() != count) {
    runtime::Fail<ERROR_ARGUMENT>("imaging: ", count, " longitudes, but ",
                                  points.latitude_deg.size(), " latitudes and ",
                                  points.height_m.size(), " heights\n");
  }
  CheckLength("samples", outputs.sample.size(), count);
  CheckLength("lines", outputs.line.size(), count);
  CheckLength("slant ranges", outputs.slant_range_m.size(), count);
  CheckLength("azimuth times", outputs.azimuth_time_s.size(), count);
  CheckLength("states", outputs.status.size(), count);
  Task task{.image = image,
            .kernel = KernelFor(execution.instruction_set),
            .points = points,
            .outputs = outputs,
            .side = static_cast<double>(static_cast<int>(image.look_side)),
            .within = {},
            .middle = {},
            .first_state = {},
            .last_state = {}};
  PlaceSearch(task);
  const auto make_worker = [&task] { return std::make_unique<ImageWorker>(task); };
  return ChunkRun(count, execution, make_worker).Run();
}

}  // namespace quellmark::imaging
