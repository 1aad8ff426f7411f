// An orbit of sampled state vectors with one interpolator per coordinate.
#pragma once

#include "basic/point.h"
#include "orbit/interpolation.h"
#include "orbit/orbit_base.h"

/// T: number type of the samples, S: type of their times (double, UNIVERSAL_TIME,
/// MISSION_ELAPSED_TIME), I: interpolation, P: its support points. Where the samples come from is
/// the business of the classes below. Interpolators and samples are counted from 0.
template <class T, class S, class I, class P>
class ORBIT : public ORBIT_BASE {
 public:
  ORBIT() = default;
  ORBIT(const ORBIT&) = delete;
  ORBIT& operator=(const ORBIT&) = delete;  // assigned as ORBIT_BASE
  ORBIT_BASE& operator=(const ORBIT_BASE& orbit) override;

  void SetReferenceTime(const STRING& text) override;
  [[nodiscard]] int NumberOfCoordinates() const override { return interpolators_.Length(); }

  using ORBIT_BASE::Abscissa;
  [[nodiscard]] double Abscissa(const UNIVERSAL_TIME& time) const override {
    return AbscissaOf(time);
  }
  [[nodiscard]] double Abscissa(const MISSION_ELAPSED_TIME& time) const override {
    return AbscissaOf(time);
  }

  void Derive(int derivative, double abscissa_s, std::span<double> result) const override;
  void GetState(double abscissa_s, VECTOR_3D<double>& position, VECTOR_3D<double>& velocity,
                VECTOR_3D<double>& acceleration) const override;

  void List() const override;
  void SavePolynomial(const STRING& name) const override;

 protected:
  /// Takes the support points, one array per coordinate, and builds an interpolator for each.
  void CreateInterpolators(ARRAY<ARRAY<P>> samples);

  S reference_time_{};

 private:
  template <class Time>
  [[nodiscard]] double AbscissaOf(const Time& time) const;

  ARRAY<ARRAY<P>> samples_;
  ARRAY<I> interpolators_;
};
