// The interface of every orbit, for any number type, time type and interpolation of its samples.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "basic/array.h"
#include "basic/string.h"
#include "basic/vector_3d.h"
#include "orbit/interpolation/piece_table.h"
#include "orbit/interpolation/samples.h"
#include "time/mission_elapsed_time.h"
#include "time/universal_time.h"

class PARAMETER_POOL;

namespace quellmark::orbit {

/// Times of the first and the last state vector [s].
struct CoveredInterval {
  double first_s;
  double last_s;
};

/// The pool keys under which the samples of an orbit stand.
struct OrbitKeys {
  STRING time;               ///< epochs, one per state vector
  ARRAY<STRING> values;      ///< keys of the positions [m], one per coordinate
  ARRAY<STRING> velocities;  ///< keys of the velocities [m/s]; empty unless the kind needs them
};

}  // namespace quellmark::orbit

/// Positions in metres, velocities in m/s and accelerations in m/s^2 in the earth-fixed frame of
/// the samples. A `double` time counts seconds from the reference time, or is the time itself where
/// the samples are stamped with plain numbers. Operations that a derived class must override are
/// not abstract here: they log an ALARM line and throw ERROR_ALGORITHM.
class ORBIT_BASE {
 public:
  ORBIT_BASE() = default;
  ORBIT_BASE(const ORBIT_BASE&) = delete;
  virtual ~ORBIT_BASE() = default;
  /// Copies everything from an orbit of the same class. Throws ERROR_ARGUMENT after an ALARM line
  /// for an orbit of another class.
  virtual ORBIT_BASE& operator=(const ORBIT_BASE& orbit);

  /// Set the order and the support point count of the interpolators; -1 keeps their defaults.
  void SetPolynomialFitOrder(int order) { polynomial_fit_order_ = order; }
  void SetSupportPointCount(int count) { support_point_count_ = count; }
  /// Sets the name of the interpolation, which is not copied and must outlive the orbit.
  void SetKindName(std::string_view name) { kind_name_ = name; }
  void SetKeys(quellmark::orbit::OrbitKeys keys) { keys_ = std::move(keys); }
  /// Sets the pool file with the samples. Even an empty path counts as a file. Unless set, the
  /// samples stand in the scene pool.
  void SetDataFile(const STRING& path) { data_file_ = path; }

  /// Reads the place of the samples from the scene pool.
  virtual void ReadSource(PARAMETER_POOL& pool);
  /// Sets the reference time from its text. Throws "not allowed time conversion" after an ALARM
  /// line if the text is of another time type than the samples.
  virtual void SetReferenceTime(const STRING& text);
  /// The text of the reference time.
  [[nodiscard]] const STRING& TimeStamp() const { return time_stamp_; }
  /// Reads the samples and builds the interpolators.
  virtual void ReadSamples(PARAMETER_POOL& scene_pool);
  /// Reads the samples from the pool file at `path`. Kept for old callers.
  virtual void ReadFromParameterPool(const STRING& path = {});

  /// Builds the interpolators from state vectors whose times are seconds after the reference time.
  /// Throws what the interpolators throw, and INVALID_PARAMETER_VALUE after an ALARM line for fewer
  /// than two vectors. With `with_lines` the interpolators log their spans and the quality of fits.
  virtual void SetStateVectors(quellmark::orbit::StateVectors vectors, bool with_lines);

  [[nodiscard]] virtual int NumberOfCoordinates() const;
  /// Abscissae of the first and the last state vector. Throws ERROR_ALGORITHM after an ALARM line
  /// if there are no vectors.
  [[nodiscard]] virtual quellmark::orbit::CoveredInterval CoveredAbscissae() const;
  /// The `double` time at abscissa 0: the reference time itself if it is a plain number, else 0.0.
  [[nodiscard]] double TimeOrigin() const { return time_origin_s_; }

  /// Seconds from the reference time to the time, which is the abscissa of the interpolation.
  /// Throws "not allowed time conversion" for another time type than that of the samples.
  [[nodiscard]] double Abscissa(double time_s) const { return time_s - time_origin_s_; }
  [[nodiscard]] virtual double Abscissa(const UNIVERSAL_TIME& time) const;
  [[nodiscard]] virtual double Abscissa(const MISSION_ELAPSED_TIME& time) const;

  /// Computes derivative 0 (the value), 1 or 2 of each coordinate at an abscissa. Throws
  /// ERROR_ARGUMENT after an ALARM line unless `result` has one element per coordinate and the
  /// abscissa is finite.
  virtual void Derive(int derivative, double abscissa_s, std::span<double> result) const;
  /// Computes all three derivatives at once. Throws ERROR_ARGUMENT for an orbit that has not three
  /// coordinates.
  virtual void GetState(double abscissa_s, VECTOR_3D<double>& position, VECTOR_3D<double>& velocity,
                        VECTOR_3D<double>& acceleration) const;

  /// Position, velocity and acceleration at a time of any of the three types.
  template <class Time, class Result>
  void Position(const Time& time, Result& result) const {
    Derive(0, Abscissa(time), result);
  }
  template <class Time, class Result>
  void Velocity(const Time& time, Result& result) const {
    Derive(1, Abscissa(time), result);
  }
  template <class Time, class Result>
  void Acceleration(const Time& time, Result& result) const {
    Derive(2, Abscissa(time), result);
  }

  /// The pieces from which GetState() computes its states, if they are Newton polynomials.
  /// Evaluated by the rule of NewtonPieces, they yield the same bits as GetState(). They are valid
  /// until this object changes.
  [[nodiscard]] virtual std::optional<quellmark::orbit::NewtonPieces> AsNewton() const {
    return std::nullopt;
  }

  /// Writes a table of samples, interpolated positions and their differences to the log (level 2).
  virtual void List() const;
  /// Writes the coefficients of the interpolation to the file `name` + ".pkt"; logs an ALARM line
  /// if the file cannot be created.
  virtual void SavePolynomial(const STRING& name) const;

 protected:
  void Derive(int derivative, double abscissa_s, ARRAY<double>& result) const;
  void Derive(int derivative, double abscissa_s, VECTOR_3D<double>& result) const;
  /// Throws ERROR_ARGUMENT after an ALARM line unless the orbit has `count` coordinates.
  void CheckCoordinates(std::size_t count) const;

  quellmark::orbit::OrbitKeys keys_;
  std::optional<STRING> data_file_;
  std::string_view kind_name_;
  STRING time_stamp_;
  double time_origin_s_ = 0.0;
  int polynomial_fit_order_ = -1;
  int support_point_count_ = -1;
};
