#include "basic/array.h"

#include "basic/string.h"

template class ARRAY<bool>;
template class ARRAY<char>;
template class ARRAY<signed char>;
template class ARRAY<unsigned char>;
template class ARRAY<short>;
template class ARRAY<int>;
template class ARRAY<long long>;
template class ARRAY<float>;
template class ARRAY<double>;
template class ARRAY<STRING>;
