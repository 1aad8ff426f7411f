#define QM_KERNEL kAvx512Kernel
#include "imaging/kernel_body.inc"
