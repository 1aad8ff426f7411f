// The common part of the toolbox's executables: the table of commands, failures and exit statuses.
#pragma once

#include <span>
#include <string>

#include "toolbox/cli/command.h"

namespace quellmark::cli {

struct CommandRow {
  const char* name;
  AddCommand add;
};

/// Reads the command line, runs its command and returns the exit status. A failure becomes one line
/// "PROGRAM COMMAND: ..." on standard error.
[[nodiscard]] int RunProgram(int argc, char** argv, const std::string& program,
                             const std::string& description, std::span<const CommandRow> commands);

}  // namespace quellmark::cli
