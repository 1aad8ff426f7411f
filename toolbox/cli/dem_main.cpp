// qmtool-dem: makes DEMs of rasters and looks at them. A program of its own, since GDAL takes
// longer to load than qmtool takes to run.
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
