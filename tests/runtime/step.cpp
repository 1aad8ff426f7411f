#include "tests/runtime/step.h"

#include <unistd.h>

#include <array>
#include <csignal>
#include <utility>

#include "basic/errors.h"
#include "runtime/log.h"
#include "runtime/streams.h"

namespace quellmark::test {

std::function<int()> Step(std::vector<std::string> arguments, Work work, int message_mode) {
  arguments.insert(arguments.begin(), "/bin/quellmark");
  return [arguments = std::move(arguments), work = std::move(work), message_mode]() mutable {
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
    // Keeps the temporary log in the test's directory.
    runtime::Log().Initialise(std::array<std::string_view, 1>{"./"});
    CONTROLLER_IFC controller;
    try {
      controller.init(static_cast<int>(arguments.size()), argv.data(), message_mode);
      return work(controller);
    } catch (const ERROR_EXCEPTION&) {
      controller.FailureExit();
    }
  };
}

Child StartStep(const TempDir& directory, std::vector<std::string> arguments, Work work,
                Child::Streams streams) {
  return {directory.Path(), Step(std::move(arguments), std::move(work)), streams};
}

std::string StatusFiles(const TempDir& directory) {
  std::string found;
  for (const char* const name : {"OK.quellmark", "ERROR.quellmark", "STOP.quellmark"}) {
    if (!std::filesystem::exists(directory / name)) continue;
    const bool is_directory = std::filesystem::is_directory(directory / name);
    found +=
        std::string(name) + "=" + (is_directory ? "DIRECTORY" : ReadFile(directory / name)) + " ";
  }
  return found;
}

void Say(std::string_view text) { runtime::WriteQuietly(STDOUT_FILENO, text); }

}  // namespace quellmark::test
