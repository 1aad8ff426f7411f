/// @file
/// The orbit of a sensor: state vectors and their interpolation.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include <quellmark/export.h>
#include <quellmark/time.h>

namespace quellmark {

class Scene;

/// Three components in the earth-fixed frame (x to 0 E 0 N, z to the north pole).
using Vector3 = std::array<double, 3>;

/// A sample of an orbit.
struct StateVector {
  double time_s = 0.0;    ///< after the orbit's reference time
  Vector3 position_m{};   ///< earth-fixed
  Vector3 velocity_ms{};  ///< earth-fixed, relative to the rotating earth [m/s]; used by the
                          ///< "hermite" and "localhermite" interpolations alone
};

/// What an orbit answers for a time.
struct OrbitState {
  Vector3 position_m{};        ///< earth-fixed
  Vector3 velocity_ms{};       ///< its derivative [m/s]
  Vector3 acceleration_ms2{};  ///< its second derivative [m/s^2]
};

/// From a time to a later one, both included.
struct TimeInterval {
  double first_s = 0.0;  ///< after the orbit's reference time
  double last_s = 0.0;   ///< after the orbit's reference time

  /// Whether it holds that time.
  [[nodiscard]] bool Contains(double time_s) const noexcept {
    return first_s <= time_s && time_s <= last_s;
  }
};

/// What is done about times that an orbit does not cover.
enum class Outside : int {
  kThrow,        ///< an OrbitError
  kNan,          ///< NaN in all components
  kExtrapolate,  ///< the interpolation goes on; soon useless, and different for each kind
};

/// The orbit of a sensor. All times are in seconds after its reference time, whatever its epochs
/// are. An orbit never changes: copies share it and are cheap, and several threads may ask one
/// orbit at once.
///
/// The interpolation is named by a text: a name, followed for some by an order and a number of
/// state vectors, such as "localpolynom_7_8". The names are "polynom", "polyfit_ORDER", "spline",
/// "localpolynom_ORDER_COUNT", "localpolyfit_ORDER_COUNT", "chebyshev_ORDER",
/// "localchebyshev_ORDER_COUNT", "hermite", "localhermite_ORDER_COUNT" and "everett_ORDER";
/// docs/orbit-accuracy.md compares them.
class QM_API Orbit {
 public:
  /// Opens the orbit that is described in the scene pool at `path`, for reading alone.
  /// @throws PoolError, OrbitError
  [[nodiscard]] static Orbit Open(const std::string& path);
  /// Makes an orbit of state vectors in ascending order of time, whose times count from
  /// `reference_utc`, a text as SecondsFromUtc() takes it.
  /// @throws OrbitError for an unknown interpolation, too few state vectors for it, times that do
  ///   not ascend, numbers that are not finite and a text that is no time
  [[nodiscard]] static Orbit FromStateVectors(
      std::span<const StateVector> states, std::string_view interpolation = "localpolynom_7_8",
      std::string_view reference_utc = "1980-01-06T00:00:00Z");

  /// From the first to the last state vector.
  [[nodiscard]] TimeInterval Coverage() const noexcept;
  /// The text that names the interpolation.
  [[nodiscard]] const std::string& Interpolation() const noexcept;
  /// What its epochs are.
  [[nodiscard]] TimeKind Kind() const noexcept;
  /// The reference time as it was given.
  [[nodiscard]] const std::string& ReferenceTime() const noexcept;

  /// Position, velocity and acceleration at a time.
  /// @throws OrbitError for a time that is not covered, unless `outside` says otherwise
  /// @throws ArgumentError for a time that is not finite
  [[nodiscard]] OrbitState StateAt(double time_s, Outside outside = Outside::kThrow) const;
  /// The states at many times, states[i] at times_s[i].
  /// @throws as above, and ArgumentError for spans of different lengths; the states are then
  ///   written up to the time that failed
  void StatesAt(std::span<const double> times_s, std::span<OrbitState> states,
                Outside outside = Outside::kThrow) const;

  /// The time [s after the reference time] of a text of the orbit's own kind: UTC as
  /// SecondsFromUtc() takes it, a mission elapsed time, or a number.
  /// @throws ArgumentError for a text that is no time of that kind
  [[nodiscard]] double TimeOf(std::string_view text) const;
  /// The time [s after the reference time] of nanoseconds since 1970 as UnixNanosecondsFromUtc()
  /// gives them. Nothing of the nanoseconds is lost but what a double can not hold.
  /// @throws ArgumentError unless the orbit is of the kind kUtc
  [[nodiscard]] double TimeOfUnixNanoseconds(std::int64_t nanoseconds) const;
  /// The text, of the orbit's own kind, of a time [s after the reference time], to the nearest
  /// microsecond.
  /// @throws ArgumentError for a time that has no text
  [[nodiscard]] std::string TextOf(double time_s) const;

 private:
  friend class Scene;
  struct Impl;
  explicit Orbit(std::shared_ptr<const Impl> impl) noexcept : impl_(std::move(impl)) {}

  std::shared_ptr<const Impl> impl_;
};

}  // namespace quellmark
