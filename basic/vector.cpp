#include "basic/vector.h"

template class VECTOR<int>;
template class VECTOR<float>;
template class VECTOR<double>;
template double DotProduct(const VECTOR<double>& a, const VECTOR<double>& b);
