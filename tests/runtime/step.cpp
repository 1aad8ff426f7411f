#include "tests/runtime/step.h"

#include <array>
#include <utility>

#include "basic/errors.h"
#include "runtime/log.h"

namespace quellmark::test {

std::function<int()> Step(std::vector<std::string> arguments,
                          std::function<int(CONTROLLER_IFC&)> work) {
  arguments.insert(arguments.begin(), "/bin/quellmark");
  return [arguments = std::move(arguments), work = std::move(work)]() mutable {
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    // The temporary log stays with the test.
    runtime::Log().Initialise(std::array<std::string_view, 1>{"./"});
    CONTROLLER_IFC controller;
    try {
      controller.init(static_cast<int>(arguments.size()), argv.data(), 1);
      return work(controller);
    } catch (const ERROR_EXCEPTION&) {
      controller.FailureExit();
    }
  };
}

}  // namespace quellmark::test
