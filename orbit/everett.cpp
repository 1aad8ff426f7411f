#include "orbit/everett.h"

#include "orbit/everett.tcc"

template class EVERETT<float>;
template class EVERETT<double>;
