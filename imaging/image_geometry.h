// The description of a scene for the routines of this folder: the image's timing and the sensor's
// states.
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

/// The state of the sensor at one time, earth-fixed.
struct SensorState {
  VECTOR_3D<double> position;      ///< [m]
  VECTOR_3D<double> velocity;      ///< [m/s]
  VECTOR_3D<double> acceleration;  ///< [m/s^2]
};

/// Polynomials for the sensor's states (position and its derivatives) at the abscissa `offset_s` +
/// azimuth time.
struct StatePolynomials {
  orbit::NewtonPieces pieces;
  double offset_s = 0.0;
};

/// An interval of azimuth time that includes both ends.
struct TimeInterval {
  double first_s = -std::numeric_limits<double>::infinity();
  double last_s = std::numeric_limits<double>::infinity();

  [[nodiscard]] bool Contains(double time_s) const { return first_s <= time_s && time_s <= last_s; }
};

/// Supplies the sensor's states. Azimuth times count in seconds from the image's first line (line
/// 0), for any time scale of the scene. So a large time of the first line costs no digits.
class StateSource {
 public:
  StateSource() = default;
  StateSource(const StateSource&) = delete;
  StateSource& operator=(const StateSource&) = delete;
  virtual ~StateSource() = default;

  /// Writes the state at times_s[i] to states[i]. All times are finite. Several threads call it at
  /// the same time. A state must depend on its own time only.
  virtual void StatesAt(std::span<const double> times_s, std::span<SensorState> states) const = 0;
  /// The times for which states exist. For zero-Doppler velocities states up to 0.01 s later are
  /// requested too.
  [[nodiscard]] virtual TimeInterval Covered() const = 0;
  /// Returns polynomials that have the same states as StatesAt(), bit for bit, if there are any.
  /// Many states are then evaluated at once. They must live as long as this object.
  [[nodiscard]] virtual std::optional<StatePolynomials> Polynomials() const { return std::nullopt; }
};

/// The states of an orbit. The orbit must outlive this object.
class OrbitStates final : public StateSource {
 public:
  /// `first_azimuth_time_s` is the time of line 0 and counts from `origin_s`, the scene's orbit
  /// time origin. The covered times are those between the orbit's state vectors and `margin_s` more
  /// at each end, where the orbit extrapolates.
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

/// A scene's timing, as in SAR_SCENE. Position (sample, line), both from 0: the two-way range time
/// is first_range_time_s + sample / range_sampling_frequency_hz, the azimuth time after the first
/// line is line / prf_hz. Samples and lines may be fractional and lie outside the image.
struct ImageGeometry {
  double first_range_time_s = 0.0;           ///< two-way, of sample 0
  double range_sampling_frequency_hz = 0.0;  ///< samples per second of two-way range time
  double prf_hz = 0.0;                       ///< lines per second
  std::int64_t n_samples = 0;                ///< not used by the point and grid routines
  std::int64_t n_lines = 0;                  ///< determines the time of the middle of the image
  LookSide look_side = LookSide::kRight;
  double radar_frequency_hz = 0.0;  ///< used for FM rates only
  double local_height_m = 0.0;      ///< used where the terrain has no height
  ELLIPSOID<double> ellipsoid = EllipsoidType<double>::Default().Axes();
  const StateSource* states = nullptr;  ///< must outlive every call
};

}  // namespace quellmark::imaging
