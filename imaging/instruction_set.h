// Selects the kernels that run on this processor.
#pragma once

#include "imaging/kernel.h"
#include "imaging/locate.h"

namespace quellmark::imaging {

/// Returns the kernel of an instruction set. Throws ERROR_ARGUMENT after an ALARM line if this
/// processor does not have the set.
[[nodiscard]] const Kernel& KernelFor(InstructionSet set);

}  // namespace quellmark::imaging
