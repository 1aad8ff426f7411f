// What an orbit of samples answers at an abscissa, whatever its samples are stamped with.
#pragma once

#include "basic/point.h"
#include "orbit/interpolation.h"
#include "orbit/orbit_base.h"

namespace quellmark::orbit {

/// T: number type of the samples, I: interpolation, P: its support points. One interpolator per
/// coordinate; interpolators and samples are counted from 0.
template <class T, class I, class P>
class SampledOrbit : public ORBIT_BASE {
 public:
  SampledOrbit() = default;
  SampledOrbit(const SampledOrbit&) = delete;
  SampledOrbit& operator=(const SampledOrbit&) = delete;  // assigned as ORBIT_BASE
  using ORBIT_BASE::operator=;

  [[nodiscard]] int NumberOfCoordinates() const override { return interpolators_.Length(); }
  [[nodiscard]] CoveredInterval CoveredAbscissae() const override;

  void Derive(int derivative, double abscissa_s, std::span<double> result) const override;
  void GetState(double abscissa_s, VECTOR_3D<double>& position, VECTOR_3D<double>& velocity,
                VECTOR_3D<double>& acceleration) const override;

  void List() const override;
  void SavePolynomial(const STRING& name) const override;

 protected:
  /// Takes the support points, one array per coordinate, and builds an interpolator for each.
  void CreateInterpolators(ARRAY<ARRAY<P>> samples);
  /// Takes samples and interpolators of `orbit` over.
  void TakeSamples(const SampledOrbit& orbit) {
    samples_ = orbit.samples_;
    interpolators_ = orbit.interpolators_;
  }

 private:
  ARRAY<ARRAY<P>> samples_;
  ARRAY<I> interpolators_;
};

}  // namespace quellmark::orbit
