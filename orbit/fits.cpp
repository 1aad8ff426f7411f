#include "orbit/fits.h"

#include "orbit/fits.tcc"
#include "orbit/local_interpolation.tcc"

#define QM_INSTANTIATE(T)                                          \
  template class POLYNOM_FIT<T>;                                   \
  template class CHEBY_POLY<T>;                                    \
  template class LOCAL_INTERPOLATION<T, POLYNOM_FIT<T>, POINT<T>>; \
  template class LOCAL_INTERPOLATION<T, CHEBY_POLY<T>, POINT<T>>;

QM_INSTANTIATE(float)
QM_INSTANTIATE(double)
