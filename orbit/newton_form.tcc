// Bodies of newton_form.h; included by the source that lists the instances.
#pragma once

#include <algorithm>
#include <cmath>

#include "orbit/newton_form.h"
#include "runtime/log.h"

namespace quellmark::orbit {

template <class T>
T Derivative(const POINT<T>&) {
  return T{0};
}

template <class T>
T Derivative(const DPOINT<T>& point) {
  return point.Dy();
}

template <class T>
template <class P>
void NewtonForm<T>::Fit(std::span<const P> points) {
  constexpr bool kHasDerivative = requires(const P& point) { point.Dy(); };
  constexpr std::size_t kPerPoint = kHasDerivative ? 2 : 1;
  const std::size_t count = points.size() * kPerPoint;
  many_.resize(count > kRoom ? count : 0);
  Term* const terms = count > kRoom ? many_.data() : few_.data();
  for (std::size_t i = 0; i < count; ++i) {
    terms[i] = Term{points[i / kPerPoint].Y(), points[i / kPerPoint].X()};
  }
  // Column k of the scheme of divided differences replaces column k - 1 from its end. A column of
  // zeros has only zeros after it: what lies beyond is left out, which also ends the work early
  // when the differences of very many points have vanished.
  degree_ = 0;
  for (std::size_t k = 1; k < count; ++k) {
    bool vanished = true;
    bool finite = true;
    for (std::size_t i = count - 1; i >= k; --i) {
      T& c = terms[i].coefficient;
      if (kHasDerivative && k == 1 && i % 2 == 1) {
        c = Derivative(points[i / 2]);
      } else {
        c = (c - terms[i - 1].coefficient) / (terms[i].node - terms[i - k].node);
      }
      vanished = vanished && c == T{0};
      finite = finite && std::isfinite(c);
    }
    if (vanished) break;
    if (!finite) {
      runtime::Fail<INVALID_PARAMETER_VALUE>("POLYNOM: divided differences of order ", k,
                                             " are not finite.\n");
    }
    degree_ = k;
  }
  if (count > kRoom && degree_ < kRoom) std::copy_n(terms, kRoom, few_.data());
}

}  // namespace quellmark::orbit
