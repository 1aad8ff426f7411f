// Bodies of everett.h; included by the source that lists the instances.
#pragma once

#include <algorithm>
#include <cmath>

#include "orbit/everett.h"
#include "runtime/log.h"

template <class T>
void EVERETT<T>::Fit(std::span<const POINT<T>> points) {
  using quellmark::runtime::Fail;
  const std::size_t count = points.size();
  last_ = first_ + static_cast<int>(count) - 1;
  if (first_ == last_) {
    Fail<INVALID_PARAMETER_VALUE>("EVERETT::Create: more than 1 value needed.\n");
  }
  x0_ = points.front().X();
  h_ = (points.back().X() - x0_) / static_cast<T>(last_ - first_);
  if (order_ % 2 != 0) {
    Fail<INVALID_PARAMETER_VALUE>(
        "EVERETT::Create: Everett interpolation only possible with even order, not for given "
        "order ",
        order_);
  }
  if (!(h_ > T{0}) || !IsEquidistant(points)) {
    Fail<INVALID_PARAMETER_VALUE>(
        "EVERETT::Create: Everett interpolation only possible on equidistant grid.\n");
  }
  differences_.resize(count);
  std::ranges::transform(points, differences_.begin(), &POINT<T>::Y);
  for (rows_ = 1; rows_ <= order_ / 2; ++rows_) {
    const auto k = static_cast<std::size_t>(rows_);
    if (2 * k + 1 > count) break;
    differences_.resize((k + 1) * count);
    T* const row = differences_.data() + k * count;
    const T* const before = row - count;
    bool vanished = true;
    for (std::size_t i = k; i + k < count; ++i) {
      row[i] = before[i - 1] - T{2} * before[i] + before[i + 1];
      vanished = vanished && row[i] == T{0};
    }
    if (vanished) break;
    quellmark::orbit::CheckFinite<T>({row, count}, "EVERETT");
  }
}

template <class T>
bool EVERETT<T>::IsEquidistant(std::span<const POINT<T>> points) const {
  constexpr T kRelativeTolerance = static_cast<T>(1e-8);
  if (points.size() < 3) return true;
  const T h1 = points[1].X() - points[0].X();
  const auto is_h1 = [h1](T h) { return std::abs(h - h1) <= kRelativeTolerance * h1; };
  for (std::size_t j = 1; j < points.size(); ++j) {
    if (!is_h1(points[j].X() - points[j - 1].X())) return false;
  }
  return is_h1((points.back().X() - points.front().X()) / static_cast<T>(points.size() - 1));
}

template <class T>
auto EVERETT<T>::GetXi(T x) const -> Xi {
  using quellmark::runtime::LogLine;
  using Level = LOG::Level;
  const T scaled = (x - x0_) / h_;
  const int lowest = order_ / 2;
  const int highest = last_ - first_ - order_ / 2;
  // Compared before it is converted: the integer part of a far x is no int.
  const T floor = std::floor(scaled);
  int i = highest + 1;
  if (floor < static_cast<T>(lowest)) {
    LogLine(Level::kWarning, "EVERETT::GetXi: Forced interpolation left hand side.\n");
    i = lowest;
  } else if (floor <= static_cast<T>(highest)) {
    i = static_cast<int>(floor);
  }
  if (i > highest) {
    LogLine(Level::kWarning, "EVERETT::GetXi: Forced interpolation right hand side.\n");
    i = highest;
  }
  i = std::max(i, 0);
  const T p = scaled - static_cast<T>(i);
  const Xi xi{first_ + i, p, T{1} - p};
  if (p < T{0} || p > T{1}) {
    LogLine(Level::kDebug, "EVERETT::GetXi: Extrapolation needed (r=", xi.p, ", s=", xi.q,
            ", i=", xi.i, ", ax=", x, ").\n");
  }
  return xi;
}

namespace quellmark::orbit {

/// E_k(u) = u (u^2 - 1) ... (u^2 - k^2) / (2 k + 1)! with its derivatives, from k = 0 upwards. The
/// derivatives go along the product: there is no division by u, nor a pole at a support point.
template <class T>
struct EverettFactor {
  Jet<T> e;

  explicit EverettFactor(T u) : e{u, T{1}, T{0}}, u_(u) {}
  void Advance(int k) {
    const T factor = T{1} / static_cast<T>(2 * k * (2 * k + 1));
    const T square = u_ * u_ - static_cast<T>(k * k);
    e.d2y = (e.d2y * square + T{4} * u_ * e.dy + T{2} * e.y) * factor;
    e.dy = (e.dy * square + T{2} * u_ * e.y) * factor;
    e.y = e.y * square * factor;
  }

 private:
  T u_;
};

}  // namespace quellmark::orbit

template <class T>
void EVERETT<T>::AtAll(std::span<const EVERETT> curves, T x,
                       std::span<quellmark::orbit::Jet<T>> jets) {
  const EVERETT& grid = curves[0];
  const Xi xi = grid.GetXi(x);
  const int i = xi.i - grid.first_;
  // One past the end of a row counts as 0.
  const bool has_right = xi.i < grid.last_;
  const auto right = [has_right](const T* left) { return has_right ? left[1] : T{0}; };
  int rows = 1;
  for (std::size_t c = 0; c < curves.size(); ++c) {
    const T* const y = curves[c].Row(0) + i;
    rows = std::max(rows, curves[c].rows_);
    // The large values of row 0 enter by their difference, which keeps the sum's rounding at one.
    jets[c] = {xi.p * (right(y) - *y), right(y) - *y, T{0}};
  }
  quellmark::orbit::EverettFactor<T> left_factor(xi.q);
  quellmark::orbit::EverettFactor<T> right_factor(xi.p);
  for (int k = 1; k < rows; ++k) {
    left_factor.Advance(k);
    right_factor.Advance(k);
    for (std::size_t c = 0; c < curves.size(); ++c) {
      if (k >= curves[c].rows_) continue;
      const T* const left = curves[c].Row(k) + i;
      jets[c].y += right_factor.e.y * right(left) + left_factor.e.y * *left;
      jets[c].dy += right_factor.e.dy * right(left) - left_factor.e.dy * *left;
      jets[c].d2y += right_factor.e.d2y * right(left) + left_factor.e.d2y * *left;
    }
  }
  const T per_step = T{1} / grid.h_;
  for (std::size_t c = 0; c < curves.size(); ++c) {
    jets[c].y += curves[c].Row(0)[i];
    jets[c].dy *= per_step;
    jets[c].d2y *= per_step * per_step;
  }
}

template <class T>
void EVERETT<T>::Report() const {
  quellmark::runtime::LogLine(LOG::Level::kParameter, "EVERETT: order = ", order_, "\n");
}
