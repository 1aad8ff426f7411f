#define QM_KERNEL kAvx2Kernel
#include "imaging/kernel_body.inc"
