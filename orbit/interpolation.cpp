#include "orbit/interpolation.h"

#include <algorithm>

#include "orbit/interpolation.tcc"
#include "orbit/local_interpolation.tcc"
#include "orbit/newton_form.tcc"
#include "orbit/polynom.h"

namespace quellmark::orbit {

void FailNotFinite(double x) {
  runtime::Fail<ERROR_ARGUMENT>("INTERPOLATION: abscissa is not finite: ", x, "\n");
}

}  // namespace quellmark::orbit

template <class T>
ARRAY<T> POLYNOM<T>::GetCoeffs() const {
  const std::vector<T> c = form_.PieceOn(T{}, T{}).c;
  ARRAY<T> coefficients(RANGE<int>(0, count_));
  std::ranges::copy(c, coefficients.Elements().begin());
  return coefficients;
}

// One block for each number type.
#define QM_INSTANTIATE(T)                                                               \
  template class INTERPOLATION<T, POINT<T>>;                                            \
  template class INTERPOLATION<T, DPOINT<T>>;                                           \
  template void quellmark::orbit::CheckSupportPoints(std::span<const POINT<T>>, bool);  \
  template void quellmark::orbit::CheckSupportPoints(std::span<const DPOINT<T>>, bool); \
  template void quellmark::orbit::CheckFinite(std::span<const T>, const char*);         \
  template class POLYNOM<T>;                                                            \
  template class HERMITE_POLY<T>;                                                       \
  template class LOCAL_INTERPOLATION<T, POLYNOM<T>, POINT<T>>;                          \
  template class LOCAL_INTERPOLATION<T, HERMITE_POLY<T>, DPOINT<T>>;

QM_INSTANTIATE(float)
QM_INSTANTIATE(double)
