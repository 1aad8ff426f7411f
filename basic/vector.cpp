#include "basic/vector.h"

#include "basic/string.h"

template class VECTOR<int>;
template class VECTOR<float>;
template class VECTOR<double>;
template class VECTOR<STRING>;
template double DotProduct(const VECTOR<double>& a, const VECTOR<double>& b);
