// What the routines of this folder know of a scene: the image's timing and the sensor's states.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <span>

#include "basic/vector_3d.h"
#include "geolocation/ellipsoid_type.h"
#include "orbit/general_orbit.h"
#include "orbit/interpolation/piece_table.h"

namespace quellmark::imaging {

/// Where the sensor is at one time, earth-fixed.
struct SensorState {
  VECTOR_3D<double> position;      ///< [m]
  VECTOR_3D<double> velocity;      ///< [m/s]
  VECTOR_3D<double> acceleration;  ///< [m/s^2]
};

/// Polynomials that give the sensor's states, position with its derivatives, at the abscissa
/// `offset_s` + azimuth time.
struct StatePolynomials {
  orbit::NewtonPieces pieces;
  double offset_s = 0.0;
};

/// A stretch of azimuth time, both ends included.
struct TimeInterval {
  double first_s = -std::numeric_limits<double>::infinity();
  double last_s = std::numeric_limits<double>::infinity();

  [[nodiscard]] bool Contains(double time_s) const { return first_s <= time_s && time_s <= last_s; }
};

/// Gives the sensor's states. Azimuth times count in seconds from the time of the image's first
/// line (line 0), whatever the scene's own time scale is: so nothing of a line's time is lost to a
/// large time of the first line.
class StateSource {
 public:
  StateSource() = default;
  StateSource(const StateSource&) = delete;
  StateSource& operator=(const StateSource&) = delete;
  virtual ~StateSource() = default;

  /// Writes the state at each of the times, all of them finite, to the element of `states` with
  /// the same index. Called by several threads at once; a state depends on its own time alone.
  virtual void StatesAt(std::span<const double> times_s, std::span<SensorState> states) const = 0;
  /// The times for which the states are good. States at others are not asked for, but for those up
  /// to 0.01 s later, when zero-Doppler velocities are wanted.
  [[nodiscard]] virtual TimeInterval Covered() const = 0;
  /// What gives the same states as StatesAt(), bit for bit, where there is such a thing: many are
  /// then evaluated at once. Must last as long as this object.
  [[nodiscard]] virtual std::optional<StatePolynomials> Polynomials() const { return std::nullopt; }
};

/// The states of an orbit that was read, which must outlive this object.
class OrbitStates final : public StateSource {
 public:
  /// `origin_s` is the scene's orbit time origin and `first_azimuth_time_s` the time of line 0 that
  /// counts from it. Covered is what the orbit's state vectors span, and `margin_s` more at each
  /// end, where the orbit extrapolates.
  OrbitStates(const GENERAL_ORBIT<double, VECTOR_3D<double>>& orbit, double origin_s,
              double first_azimuth_time_s, double margin_s = 0.0);

  void StatesAt(std::span<const double> times_s, std::span<SensorState> states) const override;
  [[nodiscard]] TimeInterval Covered() const override { return covered_; }
  [[nodiscard]] std::optional<StatePolynomials> Polynomials() const override;

 private:
  const GENERAL_ORBIT<double, VECTOR_3D<double>>& orbit_;
  double first_line_s_;  ///< time of line 0 after the orbit's own reference time
  TimeInterval covered_;
};

enum class LookSide : std::int8_t { kRight = 1, kLeft = -1 };

/// A scene's timing, as SAR_SCENE holds it. Position (sample, line), both from 0: the two-way range
/// time is first_range_time_s + sample / range_sampling_frequency_hz, the azimuth time after the
/// first line is line / prf_hz. Samples and lines may be fractional and lie outside the image.
struct ImageGeometry {
  double first_range_time_s = 0.0;           ///< two-way, of sample 0
  double range_sampling_frequency_hz = 0.0;  ///< samples per second of two-way range time
  double prf_hz = 0.0;                       ///< lines per second
  std::int64_t n_samples = 0;                ///< not read by the point and grid routines
  std::int64_t n_lines = 0;                  ///< used to place the middle of the image in time
  LookSide look_side = LookSide::kRight;
  double radar_frequency_hz = 0.0;  ///< read for FM rates alone
  double local_height_m = 0.0;      ///< where terrain is asked for and there is none
  ELLIPSOID<double> ellipsoid = EllipsoidType<double>::Default().Axes();
  const StateSource* states = nullptr;  ///< must outlive every call
};

}  // namespace quellmark::imaging
