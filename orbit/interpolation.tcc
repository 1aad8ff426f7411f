// Bodies of interpolation.h; included by the source that lists the instances.
#pragma once

#include <cmath>

#include "orbit/interpolation.h"
#include "runtime/log.h"

template <class T, class P>
void INTERPOLATION<T, P>::CreateWithReport(const ARRAY<P>&) {}

template <class T, class P>
void INTERPOLATION<T, P>::Create(const ARRAY<P>&) {}

template <class T, class P>
void INTERPOLATION<T, P>::SetOrder(int) {}

template <class T, class P>
void INTERPOLATION<T, P>::SetSupportPointCount(int) {}

// "shell" and "shall": kept exactly, do not correct.
template <class T, class P>
T INTERPOLATION<T, P>::GetY(T) const {
  quellmark::runtime::Fail<ERROR_ALGORITHM>("INTERPOLATION::GetY() shell not be called\n");
}

template <class T, class P>
T INTERPOLATION<T, P>::GetDerivedY(T) const {
  quellmark::runtime::Fail<ERROR_ALGORITHM>("INTERPOLATION::GetDerivedY() shell not be called\n");
}

template <class T, class P>
T INTERPOLATION<T, P>::GetDerived2Y(T) const {
  quellmark::runtime::Fail<ERROR_ALGORITHM>("INTERPOLATION::GetDerived2Y() shell not be called\n");
}

template <class T, class P>
ARRAY<T> INTERPOLATION<T, P>::GetCoeffs() const {
  quellmark::runtime::Fail<ERROR_ALGORITHM>("INTERPOLATION::GetCoeffs() shall not be called\n");
}

namespace quellmark::orbit {

template <class P>
void CheckSupportPoints(std::span<const P> points, bool must_ascend) {
  if (points.empty()) {
    runtime::Fail<INVALID_PARAMETER_VALUE>("INTERPOLATION::Create: no support points.\n");
  }
  for (std::size_t j = 0; j < points.size(); ++j) {
    bool finite = std::isfinite(points[j].X()) && std::isfinite(points[j].Y());
    if constexpr (requires { points[j].Dy(); }) finite = finite && std::isfinite(points[j].Dy());
    if (!finite) {
      runtime::Fail<INVALID_PARAMETER_VALUE>("INTERPOLATION::Create: support point ", j,
                                             " is not finite.\n");
    }
    if (must_ascend && j > 0 && !(points[j - 1].X() < points[j].X())) {
      runtime::Fail<INVALID_PARAMETER_VALUE>(
          "INTERPOLATION::Create: abscissae do not ascend at support point ", j, ": ",
          points[j - 1].X(), ", ", points[j].X(), "\n");
    }
  }
}

template <class T>
void CheckFinite(std::span<const T> coefficients, const char* kind) {
  for (const T coefficient : coefficients) {
    if (!std::isfinite(coefficient)) {
      runtime::Fail<INVALID_PARAMETER_VALUE>(
          kind, "::Create: support points give coefficients that are not finite.\n");
    }
  }
}

}  // namespace quellmark::orbit
