// Which kernels run on this processor.
#pragma once

#include "imaging/kernel.h"
#include "imaging/locate.h"

namespace quellmark::imaging {

/// The kernel of an instruction set; throws ERROR_ARGUMENT after an ALARM line if this processor
/// has it not.
[[nodiscard]] const Kernel& KernelFor(InstructionSet set);

}  // namespace quellmark::imaging
