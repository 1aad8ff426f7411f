// The frame of a program around a test's work.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "runtime/controller_ifc.h"
#include "tests/support/child.h"
#include "tests/support/files.h"

namespace quellmark::test {

using Work = std::function<int(CONTROLLER_IFC&)>;

/// To be run by a Child: init with the arguments after argument 0 "/bin/quellmark", then `work`; a
/// thrown ERROR_EXCEPTION ends in the failure exit. The fatal signals are blocked at the start, as
/// some starters leave them.
[[nodiscard]] std::function<int()> Step(std::vector<std::string> arguments, Work work,
                                        int message_mode = 1);

/// A Step under way in `directory`.
[[nodiscard]] Child StartStep(const TempDir& directory, std::vector<std::string> arguments,
                              Work work, Child::Streams streams = Child::Streams::kSocket);

/// The names and contents of the status files that are there: "OK.quellmark=0 ".
[[nodiscard]] std::string StatusFiles(const TempDir& directory);

/// Writes to standard output, at once.
void Say(std::string_view text);

}  // namespace quellmark::test
