// The commands of qmtool-dem.
#pragma once

#include "toolbox/cli/command.h"

namespace quellmark::cli {

RunCommand AddDemImport(CLI::App& command);
RunCommand AddDemCheck(CLI::App& command);
RunCommand AddDemInfo(CLI::App& command);

}  // namespace quellmark::cli
