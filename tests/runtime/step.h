// Runs a test's work inside a program with a controller.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "runtime/controller_ifc.h"
#include "tests/support/child.h"
#include "tests/support/files.h"

namespace quellmark::test {

using Work = std::function<int(CONTROLLER_IFC&)>;

/// Runs in a Child: calls init() with the arguments after argument 0 "/bin/quellmark", then `work`.
/// A thrown ERROR_EXCEPTION ends in the failure exit. The fatal signals are blocked at the start,
/// as some starters leave them.
[[nodiscard]] std::function<int()> Step(std::vector<std::string> arguments, Work work,
                                        int message_mode = 1);

/// A Step that runs in `directory`.
[[nodiscard]] Child StartStep(const TempDir& directory, std::vector<std::string> arguments,
                              Work work, Child::Streams streams = Child::Streams::kSocket);

/// The names and contents of the existing status files: "OK.quellmark=0 ".
[[nodiscard]] std::string StatusFiles(const TempDir& directory);

/// Writes to standard output without buffering.
void Say(std::string_view text);

}  // namespace quellmark::test
