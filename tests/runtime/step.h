// The frame of a program around a test's work.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "runtime/controller_ifc.h"

namespace quellmark::test {

/// To be run by a Child: init with message mode and the arguments after argument 0
/// "/bin/quellmark", then `work`; a thrown ERROR_EXCEPTION ends in the failure exit.
[[nodiscard]] std::function<int()> Step(std::vector<std::string> arguments,
                                        std::function<int(CONTROLLER_IFC&)> work);

}  // namespace quellmark::test
