// qmtool-dem: makes DEMs from rasters and inspects them. It is a separate program, because loading
// GDAL takes longer than a run of qmtool.
#include <array>

#include "toolbox/cli/dem_commands.h"
#include "toolbox/cli/program.h"

int main(int argc, char** argv) {
  using namespace quellmark::cli;
  constexpr std::array kCommands = {
      CommandRow{"import", AddDemImport},
      CommandRow{"check", AddDemCheck},
      CommandRow{"info", AddDemInfo},
  };
  return RunProgram(argc, argv, "qmtool-dem", "Makes DEMs for quellmark and looks at them",
                    kCommands);
}
