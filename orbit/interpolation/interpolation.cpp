#include "orbit/interpolation/interpolation.h"

#include <algorithm>

#include "runtime/log.h"

using quellmark::runtime::Fail;

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
  Fail<ERROR_ALGORITHM>("INTERPOLATION::GetY() shell not be called\n");
}

template <class T, class P>
T INTERPOLATION<T, P>::GetDerivedY(T) const {
  Fail<ERROR_ALGORITHM>("INTERPOLATION::GetDerivedY() shell not be called\n");
}

template <class T, class P>
T INTERPOLATION<T, P>::GetDerived2Y(T) const {
  Fail<ERROR_ALGORITHM>("INTERPOLATION::GetDerived2Y() shell not be called\n");
}

template <class T, class P>
ARRAY<T> INTERPOLATION<T, P>::GetCoeffs() const {
  Fail<ERROR_ALGORITHM>("INTERPOLATION::GetCoeffs() shall not be called\n");
}

namespace quellmark::orbit {

template <class T>
void CheckSamples(const Samples<T>& samples, bool with_derivatives, bool must_ascend) {
  const auto refuse = [](const auto&... pieces) {
    Fail<INVALID_PARAMETER_VALUE>("INTERPOLATION::Create: ", pieces..., "\n");
  };
  const std::vector<T>& x = samples.x;
  if (x.empty()) refuse("no support points.");
  if (with_derivatives && samples.dy.size() != samples.y.size()) refuse("derivatives are missing.");
  const std::span dy(samples.dy.data(), with_derivatives ? samples.dy.size() : 0);
  for (const auto& series : {std::span(samples.y), dy}) {
    for (const std::vector<T>& values : series) {
      if (values.size() != x.size()) {
        refuse(values.size(), " values for ", x.size(), " support points.");
      }
    }
  }
  for (std::size_t i = 0; i < samples.y.size(); ++i) {
    for (std::size_t j = 0; j < x.size(); ++j) {
      if (!std::isfinite(x[j]) || !std::isfinite(samples.y[i][j]) ||
          (with_derivatives && !std::isfinite(samples.dy[i][j]))) {
        refuse("support point ", j, " is not finite.");
      }
      if (must_ascend && j > 0 && !(x[j - 1] < x[j])) {
        refuse("abscissae do not ascend at support point ", j, ": ", x[j - 1], ", ", x[j]);
      }
    }
  }
  if (!std::isfinite(x.back() - x.front())) {
    refuse("the range of the abscissae overflows: ", x.front(), " .. ", x.back());
  }
}

template <class T>
void CheckFinite(std::span<const T> coefficients, std::string_view kind) {
  for (const T coefficient : coefficients) {
    if (!std::isfinite(coefficient)) {
      Fail<INVALID_PARAMETER_VALUE>(
          kind, "::Create: support points give coefficients that are not finite.\n");
    }
  }
}

template <class T>
ARRAY<T> ArrayOf(std::span<const T> numbers, int unused) {
  ARRAY<T> array(RANGE<int>(0, unused + static_cast<int>(numbers.size())));
  std::ranges::copy(numbers, array.Elements().begin() + unused);
  return array;
}

void FailNotFinite(double x) {
  Fail<ERROR_ARGUMENT>("INTERPOLATION: abscissa is not finite: ", x, "\n");
}

void FailNotCreated() {
  Fail<ERROR_ALGORITHM>("INTERPOLATION: nothing was created that could be asked\n");
}

}  // namespace quellmark::orbit

#define QM_INSTANTIATE(T)                                                                        \
  template class INTERPOLATION<T, POINT<T>>;                                                     \
  template class INTERPOLATION<T, DPOINT<T>>;                                                    \
  template void quellmark::orbit::CheckSamples(const quellmark::orbit::Samples<T>&, bool, bool); \
  template ARRAY<T> quellmark::orbit::ArrayOf(std::span<const T>, int);                          \
  template void quellmark::orbit::CheckFinite(std::span<const T>, std::string_view);

QM_INSTANTIATE(float)
QM_INSTANTIATE(double)
