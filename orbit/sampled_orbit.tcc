// Bodies of sampled_orbit.h; included by the sources that list the members.
#pragma once

#include <array>
#include <cmath>
#include <utility>

#include "orbit/coefficient_file.h"
#include "orbit/sampled_orbit.h"
#include "runtime/log.h"

namespace quellmark::orbit {

template <class T, class I, class P>
CoveredInterval SampledOrbit<T, I, P>::CoveredAbscissae() const {
  if (samples_.Length() == 0) {
    runtime::Fail<ERROR_ALGORITHM>("ORBIT: no state vectors were read\n");
  }
  const auto points = samples_[0].Elements();
  return {static_cast<double>(points.front().X()), static_cast<double>(points.back().X())};
}

template <class T, class I, class P>
void SampledOrbit<T, I, P>::Derive(int derivative, double abscissa_s,
                                   std::span<double> result) const {
  CheckCoordinates(result.size());
  const T x = static_cast<T>(abscissa_s);
  for (std::size_t i = 0; i < result.size(); ++i) {
    const I& interpolator = interpolators_[static_cast<int>(i)];
    result[i] = static_cast<double>(derivative == 0   ? interpolator.GetY(x)
                                    : derivative == 1 ? interpolator.GetDerivedY(x)
                                                      : interpolator.GetDerived2Y(x));
  }
}

template <class T, class I, class P>
void SampledOrbit<T, I, P>::GetState(double abscissa_s, VECTOR_3D<double>& position,
                                     VECTOR_3D<double>& velocity,
                                     VECTOR_3D<double>& acceleration) const {
  const T x = static_cast<T>(abscissa_s);
  if (!std::isfinite(x)) FailNotFinite(abscissa_s);
  if (interpolators_.Elements().size() != 3) CheckCoordinates(3);
  std::array<Jet<T>, 3> jets;
  I::AtAll(interpolators_.Elements(), x, jets);
  const auto vector = [&jets](T Jet<T>::*derivative) {
    return VECTOR_3D<double>{static_cast<double>(jets[0].*derivative),
                             static_cast<double>(jets[1].*derivative),
                             static_cast<double>(jets[2].*derivative)};
  };
  position = vector(&Jet<T>::y);
  velocity = vector(&Jet<T>::dy);
  acceleration = vector(&Jet<T>::d2y);
}

template <class T, class I, class P>
void SampledOrbit<T, I, P>::CreateInterpolators(ARRAY<ARRAY<P>> samples) {
  ARRAY<I> interpolators(samples.Range());
  for (I& interpolator : interpolators.Elements()) {
    interpolator.SetOrder(polynomial_fit_order_);
    interpolator.SetSupportPointCount(support_point_count_);
  }
  if (samples.Length() > 0) {
    I::CreateAllWithReport(interpolators.Elements(), samples.Elements());
    // After the kinds that have a message of their own for a single point.
    if (samples[samples.First()].Length() < 2) {
      runtime::Fail<INVALID_PARAMETER_VALUE>("ORBIT: more than 1 state vector needed.\n");
    }
  }
  samples_ = std::move(samples);
  interpolators_ = std::move(interpolators);
}

template <class T, class I, class P>
void SampledOrbit<T, I, P>::List() const {
  using Level = LOG::Level;
  CheckCoordinates(3);
  LOG& log = runtime::Log();
  if (!log.Passes(Level::kDebug)) return;
  log.Start(Level::kDebug)
      << "|t [s]|x [m]|y [m]|z [m]|ix [m]|iy [m]|iz [m]|dx [m]|dy [m]|dz [m]|\n";
  for (int j = samples_[0].First(); j <= samples_[0].Last(); ++j) {
    const auto t = static_cast<double>(samples_[0][j].X());
    const auto y = [this, j](int i) { return static_cast<double>(samples_[i][j].Y()); };
    const VECTOR_3D<double> sample{y(0), y(1), y(2)};
    VECTOR_3D<double> at;
    ORBIT_BASE::Derive(0, t, at);
    const VECTOR_3D<double> d = at - sample;
    log.Print(Level::kDebug, "| %f | %e | %e | %e | %e | %e | %e | %e | %e | %e |\n", t, sample.x,
              sample.y, sample.z, at.x, at.y, at.z, d.x, d.y, d.z);
  }
}

template <class T, class I, class P>
void SampledOrbit<T, I, P>::SavePolynomial(const STRING& name) const {
  CoefficientFile file(name.View());
  file.Header("kind", kind_name_);
  file.Header("form", I::kForm);
  file.Header("order", polynomial_fit_order_);
  file.Header("support_point_count", support_point_count_);
  file.Header("reference_time", time_stamp_.View());
  file.Header("coordinates", NumberOfCoordinates());
  for (int i = 0; i < NumberOfCoordinates(); ++i) {
    const ARRAY<P>& samples = samples_[i];
    interpolators_[i].ForEachPiece(samples[samples.First()].X(), samples[samples.Last()].X(),
                                   [&](const Piece<T>& piece) { file.Add(i, piece); });
  }
  file.Close();
}

}  // namespace quellmark::orbit
