// The orbit that the rest of the system holds: described in a parameter pool, of any kind.
#pragma once

#include <memory>
#include <string_view>

#include "orbit/orbit_base.h"
#include "orbit/selection.h"

/// Reads the description of an orbit, makes the core object for it and forwards all queries to
/// that. T is the number type and V the vector type of the results. Queries of an orbit that was
/// not read log an ALARM line and throw ERROR_ALGORITHM.
template <class T, class V>
class GENERAL_ORBIT {
 public:
  GENERAL_ORBIT() = default;
  GENERAL_ORBIT(const GENERAL_ORBIT& orbit) { *this = orbit; }
  GENERAL_ORBIT(GENERAL_ORBIT&&) noexcept = default;
  virtual GENERAL_ORBIT& operator=(const GENERAL_ORBIT& orbit);
  GENERAL_ORBIT& operator=(GENERAL_ORBIT&&) noexcept = default;
  virtual ~GENERAL_ORBIT() = default;

  /// Reads "orbit_representation", "orbit_interpolation" and the keys that they ask for, then the
  /// samples. Names that are unknown are ERROR_ARGUMENT; what the pool, the times and the
  /// interpolations throw passes through. A failure leaves the orbit as it was.
  void ReadFromParameterPool(PARAMETER_POOL& pool);

  /// The orbit of state vectors in memory, for callers without a pool: `interpolation` as in
  /// "orbit_interpolation", `utc_reference` the UTC text from which the seconds of the vectors
  /// count (TimeOrigin() is then 0). Velocities are needed by the Hermite kinds alone. Throws as
  /// the interpolations do; lines are logged for warnings and failures only. A failure leaves the
  /// orbit as it was.
  void ReadFromMemory(std::string_view interpolation, const STRING& utc_reference,
                      quellmark::orbit::StateVectors vectors);

  [[nodiscard]] int OrbitTypeId() const { return orbit_type_id_; }
  [[nodiscard]] int InterpolationId() const { return choice_.interpolation_id; }
  /// -1 if no description has given one.
  [[nodiscard]] int PolynomialFitOrder() const { return choice_.polynomial_fit_order; }
  [[nodiscard]] int SupportPointCount() const { return choice_.support_point_count; }
  /// The reference time [s] if it is a plain number, else 0.0.
  [[nodiscard]] double TimeOrigin() const { return Core().TimeOrigin(); }
  /// From the first to the last state vector, on the scale of TimeOrigin() [s]: between them
  /// origin_s + offset_s of GetState() interpolates, outside it extrapolates.
  [[nodiscard]] quellmark::orbit::CoveredInterval Coverage() const {
    const ORBIT_BASE& core = Core();
    const auto [first_s, last_s] = core.CoveredAbscissae();
    return {core.TimeOrigin() + first_s, core.TimeOrigin() + last_s};
  }
  /// Null before the orbit was read.
  [[nodiscard]] const ORBIT_BASE* CoreObject() const { return core_.get(); }

  /// Position [m], velocity [m/s] and acceleration [m/s^2] at a time: a `double` counted from the
  /// reference time (for plain-number orbits: from where that counts), a UNIVERSAL_TIME or a
  /// MISSION_ELAPSED_TIME.
  template <class Time>
  void Position(const Time& time, V& position) const {
    Core().Position(time, position);
  }
  template <class Time>
  void Velocity(const Time& time, V& velocity) const {
    Core().Velocity(time, velocity);
  }
  template <class Time>
  void Acceleration(const Time& time, V& acceleration) const {
    Core().Acceleration(time, acceleration);
  }
  /// All three at the time origin_s + offset_s; nothing of a small offset is lost where the origin
  /// is the orbit's own. Several threads may ask at once. No line is logged, except by EVERETT
  /// outside the interval that its order reaches.
  void GetState(double origin_s, double offset_s, V& position, V& velocity, V& acceleration) const {
    const ORBIT_BASE& core = Core();
    core.GetState((origin_s - core.TimeOrigin()) + offset_s, position, velocity, acceleration);
  }

  /// See ORBIT_BASE.
  void List() const { Core().List(); }
  void SavePolynomial(const STRING& name) const { Core().SavePolynomial(name); }

 private:
  [[nodiscard]] const ORBIT_BASE& Core() const {
    if (core_ == nullptr) FailNotRead();
    return *core_;
  }
  [[noreturn]] static void FailNotRead();

  /// An empty core object of the class and with the settings that are named.
  static std::unique_ptr<ORBIT_BASE> MakeCore(int type_id,
                                              const quellmark::orbit::InterpolationChoice& choice);
  void TakeOver(std::unique_ptr<ORBIT_BASE> core, int type_id,
                const quellmark::orbit::InterpolationChoice& choice);

  std::unique_ptr<ORBIT_BASE> core_;
  int orbit_type_id_ = 0;
  quellmark::orbit::InterpolationChoice choice_;
};

extern template class GENERAL_ORBIT<double, VECTOR_3D<double>>;
