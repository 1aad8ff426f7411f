#include "orbit/spline.h"

#include "orbit/spline.tcc"

template class SPLINE<float>;
template class SPLINE<double>;
