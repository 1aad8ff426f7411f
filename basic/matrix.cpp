#include "basic/matrix.h"

#include "basic/string.h"

template class MATRIX<char>;
template class MATRIX<unsigned char>;
template class MATRIX<short>;
template class MATRIX<int>;
template class MATRIX<float>;
template class MATRIX<double>;
template class MATRIX<STRING>;
template class MATRIX<COMPLEX<float>>;
template class MATRIX<COMPLEX<double>>;
