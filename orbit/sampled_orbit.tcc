// Bodies of sampled_orbit.h; included by the sources that instantiate the orbit classes.
#pragma once

#include <array>
#include <cmath>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "basic/errors.h"
#include "orbit/coefficient_file.h"
#include "orbit/interpolation/interpolation.h"
#include "orbit/sampled_orbit.h"
#include "runtime/log.h"

namespace quellmark::orbit {

/// The state vectors in the number type of the orbit.
template <class T>
std::shared_ptr<const Samples<T>> Narrowed(StateVectors vectors) {
  if constexpr (std::is_same_v<T, double>) {
    return std::make_shared<const Samples<T>>(std::move(vectors));
  } else {
    const auto narrow = [](const std::vector<double>& from) {
      return std::vector<T>(from.begin(), from.end());
    };
    auto samples = std::make_shared<Samples<T>>();
    samples->x = narrow(vectors.x);
    for (const auto& y : vectors.y) samples->y.push_back(narrow(y));
    for (const auto& dy : vectors.dy) samples->dy.push_back(narrow(dy));
    return samples;
  }
}

template <class T, class I>
void SampledOrbit<T, I>::SetStateVectors(StateVectors vectors, bool with_lines) {
  const auto samples = Narrowed<T>(std::move(vectors));
  ARRAY<I> interpolators(RANGE<int>(0, static_cast<int>(samples->y.size())));
  for (I& interpolator : interpolators.Elements()) {
    interpolator.SetOrder(polynomial_fit_order_);
    interpolator.SetSupportPointCount(support_point_count_);
  }
  I::CreateTogether(interpolators.Elements(), samples, with_lines);
  // This check comes after the creation, because some kinds have their own message for a single
  // point.
  if (interpolators.Length() > 0 && samples->x.size() < 2) {
    runtime::Fail<INVALID_PARAMETER_VALUE>("ORBIT: more than 1 state vector needed.\n");
  }
  interpolators_ = std::move(interpolators);
}

template <class T, class I>
const auto& SampledOrbit<T, I>::Model() const {
  if (interpolators_.Elements().empty()) {
    runtime::Fail<ERROR_ALGORITHM>("ORBIT: no state vectors were read\n");
  }
  return interpolators_[0].Created();
}

template <class T, class I>
CoveredInterval SampledOrbit<T, I>::CoveredAbscissae() const {
  const std::vector<T>& x = Model().SamplesTaken().x;
  return {static_cast<double>(x.front()), static_cast<double>(x.back())};
}

template <class T, class I>
void SampledOrbit<T, I>::Derive(int derivative, double abscissa_s, std::span<double> result) const {
  CheckCoordinates(result.size());
  const T x = static_cast<T>(abscissa_s);
  for (std::size_t i = 0; i < result.size(); ++i) {
    const I& interpolator = interpolators_[static_cast<int>(i)];
    result[i] = static_cast<double>(derivative == 0   ? interpolator.GetY(x)
                                    : derivative == 1 ? interpolator.GetDerivedY(x)
                                                      : interpolator.GetDerived2Y(x));
  }
}

template <class T, class I>
void SampledOrbit<T, I>::GetState(double abscissa_s, VECTOR_3D<double>& position,
                                  VECTOR_3D<double>& velocity,
                                  VECTOR_3D<double>& acceleration) const {
  const T x = static_cast<T>(abscissa_s);
  if (!std::isfinite(x)) FailNotFinite(abscissa_s);
  if (interpolators_.Elements().size() != 3) CheckCoordinates(3);
  std::array<Jet<T>, 3> jets;
  interpolators_[0].Created().template At<3>(x, 0, jets.data());
  const auto vector = [&jets](T Jet<T>::*derivative) {
    return VECTOR_3D<double>{static_cast<double>(jets[0].*derivative),
                             static_cast<double>(jets[1].*derivative),
                             static_cast<double>(jets[2].*derivative)};
  };
  position = vector(&Jet<T>::y);
  velocity = vector(&Jet<T>::dy);
  acceleration = vector(&Jet<T>::d2y);
}

template <class T, class I>
std::optional<NewtonPieces> SampledOrbit<T, I>::AsNewton() const {
  if constexpr (requires(const decltype(Model())& model) { model.AsNewton(); }) {
    return Model().AsNewton();
  } else {
    return std::nullopt;
  }
}

template <class T, class I>
void SampledOrbit<T, I>::List() const {
  using Level = LOG::Level;
  CheckCoordinates(3);
  LOG& log = runtime::Log();
  if (!log.Passes(Level::kDebug)) return;
  const runtime::LogBatch batch(log);
  log.Start(Level::kDebug)
      << "|t [s]|x [m]|y [m]|z [m]|ix [m]|iy [m]|iz [m]|dx [m]|dy [m]|dz [m]|\n";
  const Samples<T>& samples = Model().SamplesTaken();
  for (std::size_t j = 0; j < samples.x.size(); ++j) {
    const auto t = static_cast<double>(samples.x[j]);
    const auto y = [&](std::size_t i) { return static_cast<double>(samples.y[i][j]); };
    const VECTOR_3D<double> sample{y(0), y(1), y(2)};
    VECTOR_3D<double> at;
    ORBIT_BASE::Derive(0, t, at);
    const VECTOR_3D<double> d = at - sample;
    log.Print(Level::kDebug, "| %f | %e | %e | %e | %e | %e | %e | %e | %e | %e |\n", t, sample.x,
              sample.y, sample.z, at.x, at.y, at.z, d.x, d.y, d.z);
  }
}

template <class T, class I>
void SampledOrbit<T, I>::SavePolynomial(const STRING& name) const {
  const auto& model = Model();
  CoefficientFile file(name.View());
  file.Header("kind", kind_name_);
  file.Header("form", model.kForm);
  file.Header("order", model.Order());
  file.Header("support_point_count", model.PointsPerPiece());
  file.Header("reference_time", time_stamp_.View());
  file.Header("coordinates", NumberOfCoordinates());
  for (int i = 0; i < NumberOfCoordinates(); ++i) {
    model.ForEachPiece(static_cast<std::size_t>(i),
                       [&](const Piece<T>& piece) { file.Add(i, piece); });
  }
  file.Close();
}

}  // namespace quellmark::orbit
