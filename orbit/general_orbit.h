// The orbit class for the rest of the system: any kind of orbit that a parameter pool describes.
#pragma once

#include <memory>
#include <string_view>

#include "orbit/orbit_base.h"
#include "orbit/selection.h"

/// Reads the description of an orbit, makes the core object for it and forwards all queries to that
/// object. T is the number type and V the vector type of the results. Queries of an orbit that was
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

  /// Reads "orbit_representation", "orbit_interpolation" and the keys that these require, then the
  /// samples. Throws ERROR_ARGUMENT for unknown names, and what the pool, the times and the
  /// interpolations throw. A failure leaves the orbit unchanged.
  void ReadFromParameterPool(PARAMETER_POOL& pool);

  /// Makes the orbit from state vectors in memory, for callers without a pool. `interpolation` is a
  /// text as in "orbit_interpolation". The seconds of the vectors count from `utc_reference`, a UTC
  /// text, and TimeOrigin() is then 0. Only the Hermite kinds need velocities. Throws what the
  /// interpolations throw; logs warnings and failures only. A failure leaves the orbit unchanged.
  void ReadFromMemory(std::string_view interpolation, const STRING& utc_reference,
                      quellmark::orbit::StateVectors vectors);

  [[nodiscard]] int OrbitTypeId() const { return orbit_type_id_; }
  [[nodiscard]] int InterpolationId() const { return choice_.interpolation_id; }
  /// -1 if no description has given one.
  [[nodiscard]] int PolynomialFitOrder() const { return choice_.polynomial_fit_order; }
  [[nodiscard]] int SupportPointCount() const { return choice_.support_point_count; }
  /// The reference time [s] if it is a plain number, else 0.0.
  [[nodiscard]] double TimeOrigin() const { return Core().TimeOrigin(); }
  /// The times of the first and the last state vector, on the scale of TimeOrigin() [s]. GetState()
  /// interpolates between them and extrapolates outside.
  [[nodiscard]] quellmark::orbit::CoveredInterval Coverage() const {
    const ORBIT_BASE& core = Core();
    const auto [first_s, last_s] = core.CoveredAbscissae();
    return {core.TimeOrigin() + first_s, core.TimeOrigin() + last_s};
  }
  /// Null before the orbit was read.
  [[nodiscard]] const ORBIT_BASE* CoreObject() const { return core_.get(); }

  /// Position [m], velocity [m/s] and acceleration [m/s^2] at a time: a UNIVERSAL_TIME, a
  /// MISSION_ELAPSED_TIME, or a `double` that counts seconds from the reference time (for
  /// plain-number orbits: from the same zero as the reference time).
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
  /// All three at the time origin_s + offset_s. If origin_s is TimeOrigin(), a small offset keeps
  /// all its digits. Several threads may call it at once. Logs nothing, except for EVERETT outside
  /// the interval that its order reaches.
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

  /// Makes an empty core object of this class with these settings.
  static std::unique_ptr<ORBIT_BASE> MakeCore(int type_id,
                                              const quellmark::orbit::InterpolationChoice& choice);
  void TakeOver(std::unique_ptr<ORBIT_BASE> core, int type_id,
                const quellmark::orbit::InterpolationChoice& choice);

  std::unique_ptr<ORBIT_BASE> core_;
  int orbit_type_id_ = 0;
  quellmark::orbit::InterpolationChoice choice_;
};

extern template class GENERAL_ORBIT<double, VECTOR_3D<double>>;
