#include "basic/sub_array.h"

template class SUB_ARRAY<POINT<float>>;
template class SUB_ARRAY<POINT<double>>;
template class SUB_ARRAY<DPOINT<float>>;
template class SUB_ARRAY<DPOINT<double>>;
