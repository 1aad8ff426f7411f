#include "orbit/interpolation.h"

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
  ARRAY<T> coefficients(RANGE<int>(0, static_cast<int>(form_.Degree()) + 1));
  for (std::size_t k = 0; k <= form_.Degree(); ++k) {
    coefficients[static_cast<int>(k)] = form_.Coefficient(k);
  }
  return coefficients;
}

// One block for each number type.
#define QM_INSTANTIATE(T)                                                         \
  template class INTERPOLATION<T, POINT<T>>;                                      \
  template class INTERPOLATION<T, DPOINT<T>>;                                     \
  template void quellmark::orbit::CheckSupportPoints(std::span<const POINT<T>>);  \
  template void quellmark::orbit::CheckSupportPoints(std::span<const DPOINT<T>>); \
  template void quellmark::orbit::CheckFinite(std::span<const T>, const char*);   \
  template class POLYNOM<T>;                                                      \
  template class HERMITE_POLY<T>;                                                 \
  template class LOCAL_INTERPOLATION<T, POLYNOM<T>, POINT<T>>;                    \
  template class LOCAL_INTERPOLATION<T, HERMITE_POLY<T>, DPOINT<T>>;

QM_INSTANTIATE(float)
QM_INSTANTIATE(double)
