// An orbit of sampled state vectors with one interpolator per coordinate.
#pragma once

#include "orbit/sampled_orbit.h"
#include "time/time_value.h"

/// T: number type of the samples, S: type of their times (double, UNIVERSAL_TIME,
/// MISSION_ELAPSED_TIME), I: interpolation, P: its support points. Derived classes know where the
/// samples come from.
template <class T, class S, class I, class P>
class ORBIT : public quellmark::orbit::SampledOrbit<T, I> {
 public:
  ORBIT() = default;
  ORBIT(const ORBIT&) = delete;
  ORBIT& operator=(const ORBIT&) = delete;  // use the operator of ORBIT_BASE
  ORBIT_BASE& operator=(const ORBIT_BASE& orbit) override;

  void SetReferenceTime(const STRING& text) override;

  using ORBIT_BASE::Abscissa;
  [[nodiscard]] double Abscissa(const UNIVERSAL_TIME& time) const override {
    return AbscissaOf(time);
  }
  [[nodiscard]] double Abscissa(const MISSION_ELAPSED_TIME& time) const override {
    return AbscissaOf(time);
  }

 protected:
  S reference_time_{};

 private:
  template <class Time>
  [[nodiscard]] double AbscissaOf(const Time& time) const {
    return quellmark::time::SecondsBetween(reference_time_, quellmark::time::ConvertTime<S>(time));
  }
};
