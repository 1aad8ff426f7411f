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
  Vector3 velocity_ms{};  ///< earth-fixed, relative to the rotating earth [m/s]; only the "hermite"
                          ///< and "localhermite" interpolations use it
};

/// The state of a sensor at one time.
struct OrbitState {
  Vector3 position_m{};        ///< earth-fixed
  Vector3 velocity_ms{};       ///< its derivative [m/s]
  Vector3 acceleration_ms2{};  ///< its second derivative [m/s^2]
};

/// A time interval that includes both ends.
struct TimeInterval {
  double first_s = 0.0;  ///< after the orbit's reference time
  double last_s = 0.0;   ///< after the orbit's reference time

  /// Whether the time is in the interval.
  [[nodiscard]] bool Contains(double time_s) const noexcept {
    return first_s <= time_s && time_s <= last_s;
  }
};

/// What happens at times that an orbit does not cover.
enum class Outside : int {
  kThrow,        ///< throws an OrbitError
  kNan,          ///< returns NaN in all components
  kExtrapolate,  ///< extrapolates, which soon becomes useless and differs between the
                 ///< interpolations
};

/// The orbit of a sensor. All times are in seconds after its reference time, for any kind of
/// epochs. An orbit never changes. Copies share its data and are cheap, and several threads may use
/// one orbit at the same time.
///
/// A text names the interpolation: a name and, for some, an order and a number of state vectors,
/// such as "localpolynom_7_8". The names are "polynom", "polyfit_ORDER", "spline",
/// "localpolynom_ORDER_COUNT", "localpolyfit_ORDER_COUNT", "chebyshev_ORDER",
/// "localchebyshev_ORDER_COUNT", "hermite", "localhermite_ORDER_COUNT" and "everett_ORDER";
/// docs/orbit-accuracy.md compares them.
class QM_API Orbit {
 public:
  /// Reads the orbit that the scene pool at `path` describes.
  /// @throws PoolError, OrbitError
  [[nodiscard]] static Orbit Open(const std::string& path);
  /// Makes an orbit from state vectors in ascending order of time. Their times count from
  /// `reference_utc`, a text in a form that SecondsFromUtc() accepts.
  /// @throws OrbitError for an unknown interpolation, too few state vectors for it, times that do
  ///   not ascend, numbers that are not finite and a malformed time
  [[nodiscard]] static Orbit FromStateVectors(
      std::span<const StateVector> states, std::string_view interpolation = "localpolynom_7_8",
      std::string_view reference_utc = "1980-01-06T00:00:00Z");

  /// The times from the first to the last state vector.
  [[nodiscard]] TimeInterval Coverage() const noexcept;
  /// The text that names the interpolation.
  [[nodiscard]] const std::string& Interpolation() const noexcept;
  /// The kind of its epochs.
  [[nodiscard]] TimeKind Kind() const noexcept;
  /// The text of the reference time.
  [[nodiscard]] const std::string& ReferenceTime() const noexcept;

  /// Returns position, velocity and acceleration at a time.
  /// @throws OrbitError for a time that is not covered, unless `outside` says otherwise
  /// @throws ArgumentError for a time that is not finite
  [[nodiscard]] OrbitState StateAt(double time_s, Outside outside = Outside::kThrow) const;
  /// Computes the states at many times: states[i] at times_s[i].
  /// @throws as StateAt(), and ArgumentError for spans of different lengths. After a failure at one
  ///   time, the states before it are written
  void StatesAt(std::span<const double> times_s, std::span<OrbitState> states,
                Outside outside = Outside::kThrow) const;

  /// Returns the time [s after the reference time] of a text of the orbit's kind: UTC in a form
  /// that SecondsFromUtc() accepts, a mission elapsed time, or a number.
  /// @throws ArgumentError for a text that is no time of that kind
  [[nodiscard]] double TimeOf(std::string_view text) const;
  /// Returns the time [s after the reference time] of nanoseconds since 1970, as
  /// UnixNanosecondsFromUtc() returns them. The only error is the rounding to a double.
  /// @throws ArgumentError unless the orbit is of the kind kUtc
  [[nodiscard]] double TimeOfUnixNanoseconds(std::int64_t nanoseconds) const;
  /// Returns the text of a time [s after the reference time] in the orbit's kind, to the nearest
  /// microsecond.
  /// @throws ArgumentError for a time that such texts cannot express
  [[nodiscard]] std::string TextOf(double time_s) const;

 private:
  friend class Scene;
  struct Impl;
  explicit Orbit(std::shared_ptr<const Impl> impl) noexcept : impl_(std::move(impl)) {}

  std::shared_ptr<const Impl> impl_;
};

}  // namespace quellmark
