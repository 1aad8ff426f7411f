#define QM_KERNEL kBaselineKernel
#include "imaging/kernel_body.inc"
