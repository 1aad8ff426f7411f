// Bodies of spline.h; included by the source that lists the instances.
#pragma once

#include "orbit/spline.h"
#include "runtime/log.h"

namespace quellmark::orbit {

/// Second derivatives M at the support points, 0 at both ends. Node i contributes
///   h(i-1) M(i-1) + 2 (h(i-1) + h(i)) M(i) + h(i) M(i+1) = 6 (slope(i) - slope(i-1)),
/// which is solved by elimination from the left and substitution from the right.
template <class T>
std::vector<T> SplineCurvatures(std::span<const POINT<T>> points) {
  const std::size_t n = points.size();
  const auto h = [&](std::size_t i) { return points[i + 1].X() - points[i].X(); };
  const auto slope = [&](std::size_t i) { return (points[i + 1].Y() - points[i].Y()) / h(i); };
  std::vector<T> curvature(n, T{0});
  std::vector<T> upper(n, T{0});
  for (std::size_t i = 1; i + 1 < n; ++i) {
    const T pivot = T{2} * (h(i - 1) + h(i)) - h(i - 1) * upper[i - 1];
    upper[i] = h(i) / pivot;
    curvature[i] = (T{6} * (slope(i) - slope(i - 1)) - h(i - 1) * curvature[i - 1]) / pivot;
  }
  for (std::size_t i = n - 1; i-- > 1;) curvature[i] -= upper[i] * curvature[i + 1];
  return curvature;
}

}  // namespace quellmark::orbit

template <class T>
void SPLINE<T>::Fit(std::span<const POINT<T>> points) {
  if (points.size() < 2) {
    quellmark::runtime::Fail<INVALID_PARAMETER_VALUE>(
        "SPLINE::Create: more than 1 value needed.\n");
  }
  const std::vector<T> m = quellmark::orbit::SplineCurvatures(points);
  segments_.resize(points.size() - 1);
  for (std::size_t i = 0; i < segments_.size(); ++i) {
    const T h = points[i + 1].X() - points[i].X();
    const T slope = (points[i + 1].Y() - points[i].Y()) / h;
    segments_[i] = {points[i].X(), points[i].Y(), slope - h / T{6} * (T{2} * m[i] + m[i + 1]),
                    m[i] / T{2}, (m[i + 1] - m[i]) / (T{6} * h)};
  }
  last_ = points.back().X();
  quellmark::orbit::CheckFinite<T>(GetCoeffs().Elements(), "SPLINE");
}

template <class T>
ARRAY<T> SPLINE<T>::GetCoeffs() const {
  ARRAY<T> coefficients(RANGE<int>(0, 4 * static_cast<int>(segments_.size())));
  int index = 0;
  for (const Segment& s : segments_) {
    for (const T coefficient : {s.a, s.b, s.c, s.d}) coefficients[index++] = coefficient;
  }
  return coefficients;
}
