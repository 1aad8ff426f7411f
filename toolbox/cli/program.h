// What the executables of the toolbox share: a table of commands, their failures and statuses.
#pragma once

#include <span>
#include <string>

#include "toolbox/cli/command.h"

namespace quellmark::cli {

struct CommandRow {
  const char* name;
  AddCommand add;
};

/// Reads the command line, runs the command that it names and returns the exit status. Every
/// failure becomes one line "PROGRAM COMMAND: ..." on standard error.
[[nodiscard]] int RunProgram(int argc, char** argv, const std::string& program,
                             const std::string& description, std::span<const CommandRow> commands);

}  // namespace quellmark::cli
