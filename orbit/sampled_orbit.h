// An orbit of samples as a function of the abscissa, independent of the type of its times.
#pragma once

#include <optional>
#include <span>

#include "basic/array.h"
#include "orbit/interpolation/samples.h"
#include "orbit/orbit_base.h"

namespace quellmark::orbit {

/// T: number type of the samples, I: interpolation. One interpolator per coordinate, created
/// together and counted from 0.
template <class T, class I>
class SampledOrbit : public ORBIT_BASE {
 public:
  SampledOrbit() = default;
  SampledOrbit(const SampledOrbit&) = delete;
  SampledOrbit& operator=(const SampledOrbit&) = delete;  // use the operator of ORBIT_BASE
  using ORBIT_BASE::operator=;

  void SetStateVectors(StateVectors vectors, bool with_lines) override;

  [[nodiscard]] int NumberOfCoordinates() const override { return interpolators_.Length(); }
  [[nodiscard]] CoveredInterval CoveredAbscissae() const override;

  void Derive(int derivative, double abscissa_s, std::span<double> result) const override;
  void GetState(double abscissa_s, VECTOR_3D<double>& position, VECTOR_3D<double>& velocity,
                VECTOR_3D<double>& acceleration) const override;

  [[nodiscard]] std::optional<NewtonPieces> AsNewton() const override;

  void List() const override;
  void SavePolynomial(const STRING& name) const override;

 protected:
  void TakeSamples(const SampledOrbit& orbit) { interpolators_ = orbit.interpolators_; }

 private:
  /// The Model of the interpolators. Throws ERROR_ALGORITHM after an ALARM line without state
  /// vectors.
  [[nodiscard]] const auto& Model() const;

  ARRAY<I> interpolators_;
};

}  // namespace quellmark::orbit
