// qmtool: imports, checks, locates and maps scenes, and runs the step for many of them.
#include <array>

#include "toolbox/cli/program.h"

int main(int argc, char** argv) {
  using namespace quellmark::cli;
  constexpr std::array kCommands = {
      CommandRow{"check", AddCheck},   CommandRow{"import", AddImport},
      CommandRow{"locate", AddLocate}, CommandRow{"map", AddMap},
      CommandRow{"pool", AddPool},     CommandRow{"batch", AddBatch},
  };
  return RunProgram(argc, argv, "qmtool",
                    "Works with scenes and products around the quellmark step", kCommands);
}
