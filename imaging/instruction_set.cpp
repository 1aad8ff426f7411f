#include "imaging/instruction_set.h"

#include "basic/errors.h"
#include "runtime/log.h"

namespace quellmark::imaging {

bool IsAvailable(InstructionSet set) {
  switch (set) {
    case InstructionSet::kBest:
    case InstructionSet::kBaseline:
      return true;
#ifdef QM_KERNELS_X86
    case InstructionSet::kAvx2:
      return __builtin_cpu_supports("avx2") != 0;
    case InstructionSet::kAvx512:
      return __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512dq") != 0 &&
             __builtin_cpu_supports("avx512vl") != 0;
#endif
    default:
      return false;
  }
}

const Kernel& KernelFor(InstructionSet set) {
  if (!IsAvailable(set)) {
    runtime::Fail<ERROR_ARGUMENT>("imaging: this processor has not the instruction set ",
                                  static_cast<int>(set), "\n");
  }
#ifdef QM_KERNELS_X86
  if (set == InstructionSet::kAvx512) return kAvx512Kernel;
  if (set == InstructionSet::kAvx2) return kAvx2Kernel;
  if (set == InstructionSet::kBest) {
    if (IsAvailable(InstructionSet::kAvx512)) return kAvx512Kernel;
    if (IsAvailable(InstructionSet::kAvx2)) return kAvx2Kernel;
  }
#endif
  return kBaselineKernel;
}

}  // namespace quellmark::imaging
