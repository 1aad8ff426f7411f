// Bodies of fits.h; included by the source that lists the instances.
#pragma once

#include <algorithm>

#include "orbit/fits.h"
#include "runtime/log.h"

namespace quellmark::orbit {

/// Beyond this order a fit in floating point has nothing to gain and its work no end.
inline constexpr int kMaxFitOrder = 100;

template <class T>
void CheckFitOrder(int order) {
  if (order > kMaxFitOrder) {
    runtime::Fail<INVALID_PARAMETER_VALUE>("POLYFIT: polynomial fit order ", order, " is above ",
                                           kMaxFitOrder, "\n");
  }
}

template <class T, lsq::BasisFunctions<T> kBasis>
bool BasisFit<T, kBasis>::Resize(int count, int terms) {
  if (u_.Length() == count && coefficients_.Length() == terms) return true;
  decomposed_u_.Free();
  const RANGE<int> samples(1, count);
  if (u_.Create(samples) != kArrayOk || y_.Create(samples) != kArrayOk ||
      weights_.Create(samples) != kArrayOk ||
      coefficients_.Create(RANGE<int>(1, terms)) != kArrayOk ||
      work_.Create(count, terms) != kArrayOk) {
    return false;
  }
  std::ranges::fill(weights_.Elements(), T{1});
  return true;
}

template <class T, lsq::BasisFunctions<T> kBasis>
const ARRAY<T>& BasisFit<T, kBasis>::Solve(T& chi_square) {
  const int count = u_.Length();
  const int terms = coefficients_.Length();
  if (!std::ranges::equal(u_.Elements(), decomposed_u_.Elements())) {
    decomposed_u_.Free();
    svdfit_decompose_fast<T>(u_, weights_, count, terms, kBasis, work_);
    decomposed_u_ = u_;
  }
  svdfit_solve_fast<T>(u_, y_, weights_, count, coefficients_, terms, chi_square, kBasis, work_);
  return coefficients_;
}

template <class T>
void MonomialBasis(T u, T values[], int count) {
  T power{1};
  for (int k = 1; k <= count; ++k, power *= u) values[k] = power;
}

template <class T>
void ChebyshevBasis(T u, T values[], int count) {
  values[1] = T{1};
  if (count > 1) values[2] = u;
  for (int k = 3; k <= count; ++k) values[k] = T{2} * u * values[k - 1] - values[k - 2];
}

}  // namespace quellmark::orbit

template <class T>
void POLYNOM_FIT<T>::Fit(std::span<const POINT<T>> points, Design& design) {
  const int count = static_cast<int>(points.size());
  if (count <= order_) {
    quellmark::runtime::LogLine(LOG::Level::kWarning, "POLYFIT: reduce polynomial fit order ",
                                order_, " -> ", count - 1);
    order_ = count - 1;
  }
  quellmark::orbit::CheckFitOrder<T>(order_);
  coefficients_.Free();
  if (coefficients_.Create(RANGE<int>(0, order_ + 2)) != kArrayOk ||
      !design.Resize(count, order_ + 1)) {
    throw "POLYNOM: not enough memory..";
  }
  const T half_range = (points.back().X() - points.front().X()) / T{2};
  reference_x_ = points.front().X() + half_range;
  // The fit is made over [-1, 1], where the powers can be told apart, and then rescaled.
  const T scale = half_range > T{0} ? half_range : T{1};
  for (int i = 1; i <= count; ++i) {
    const POINT<T>& point = points[static_cast<std::size_t>(i - 1)];
    design.U(i) = (point.X() - reference_x_) / scale;
    design.Y(i) = point.Y();
  }
  const ARRAY<T>& fitted = design.Solve(chi_square_);
  T power{1};
  for (int k = 0; k <= order_; ++k, power *= scale) coefficients_[k + 1] = fitted[k + 1] / power;
  quellmark::orbit::CheckFinite<T>(coefficients_.Elements(), "POLYFIT");
}

template <class T>
void POLYNOM_FIT<T>::Report() const {
  using quellmark::runtime::LogLine;
  LogLine(LOG::Level::kParameter, "POLYFIT: polynomial fit order = ", order_);
  LogLine(LOG::Level::kParameter, "POLYFIT: chi^2 = ", chi_square_);
}

template <class T>
quellmark::orbit::Jet<T> POLYNOM_FIT<T>::At(T x) const {
  const T t = x - reference_x_;
  const std::span<const T> c = coefficients_.Elements();
  quellmark::orbit::Jet<T> jet;
  for (std::size_t k = c.size() - 1; k >= 1; --k) {
    jet.d2y = jet.d2y * t + jet.dy;
    jet.dy = jet.dy * t + jet.y;
    jet.y = jet.y * t + c[k];
  }
  jet.d2y *= T{2};
  return jet;
}

template <class T>
void CHEBY_POLY<T>::Fit(std::span<const POINT<T>> points, Design& design) {
  const int count = static_cast<int>(points.size());
  x_min_ = points.front().X();
  const T x_max = points.back().X();
  half_range_ = x_max == x_min_ ? T{1} : (x_max - x_min_) * static_cast<T>(0.5);
  if (count <= order_) {
    quellmark::runtime::LogLine(LOG::Level::kWarning,
                                "CHEBY_POLY::Create: reduce polynomial fit order ", order_, "->",
                                count - 1);
    order_ = count - 1;
  }
  quellmark::orbit::CheckFitOrder<T>(order_);
  coefficients_.Free();
  if (coefficients_.Create(RANGE<int>(0, order_ + 1)) != kArrayOk ||
      !design.Resize(count, order_ + 1)) {
    throw "CHEBY_POLY::Create: not enough memory.";
  }
  for (int i = 1; i <= count; ++i) {
    const POINT<T>& point = points[static_cast<std::size_t>(i - 1)];
    design.U(i) = MapX(point.X());
    design.Y(i) = point.Y();
  }
  const ARRAY<T>& fitted = design.Solve(chi_square_);
  for (int k = 0; k <= order_; ++k) coefficients_[k] = fitted[k + 1];
  quellmark::orbit::CheckFinite<T>(coefficients_.Elements(), "CHEBY_POLY");
}

template <class T>
void CHEBY_POLY<T>::Report() const {
  quellmark::runtime::LogLine(LOG::Level::kParameter, "CHEBY_POLY::Create: chi^2 = ", chi_square_);
}

template <class T>
quellmark::orbit::Jet<T> CHEBY_POLY<T>::At(T x) const {
  using quellmark::orbit::Jet;
  const T u = MapX(x);
  const std::span<const T> c = coefficients_.Elements();
  // T_k and its derivatives by u, of this k and the one before: T_0 = 1 and T_1 = u, as if T_-1 =
  // u.
  Jet<T> before{u, T{1}, T{0}};
  Jet<T> now{T{1}, T{0}, T{0}};
  Jet<T> sum{c[0], T{0}, T{0}};
  for (std::size_t k = 1; k < c.size(); ++k) {
    const Jet<T> next{T{2} * u * now.y - before.y, T{2} * now.y + T{2} * u * now.dy - before.dy,
                      T{4} * now.dy + T{2} * u * now.d2y - before.d2y};
    before = now;
    now = next;
    sum.y += c[k] * now.y;
    sum.dy += c[k] * now.dy;
    sum.d2y += c[k] * now.d2y;
  }
  return {sum.y, sum.dy / half_range_, sum.d2y / (half_range_ * half_range_)};
}
