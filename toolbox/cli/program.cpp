#include "toolbox/cli/program.h"

#include <cstdio>
#include <exception>
#include <utility>
#include <vector>

#include <quellmark/error.h>
#include <quellmark/version.h>

#include <CLI/CLI.hpp>

namespace quellmark::cli {

namespace {

class Program {
 public:
  Program(std::string name, const std::string& description, std::span<const CommandRow> rows)
      : name_(std::move(name)), app_(description, name_) {
    app_.set_version_flag("--version", name_ + ' ' + std::string(LibraryVersion()));
    app_.require_subcommand(1);
    app_.footer(name_ + " COMMAND --help tells about a command.");
    for (const CommandRow& row : rows) {
      CLI::App* const command = app_.add_subcommand(row.name);
      commands_.emplace_back(command, row.add(*command));
    }
  }

  int Run(int argc, char** argv) {
    try {
      app_.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
      return app_.exit(error) == 0 ? kDone : kUsage;
    }
    for (const auto& [command, run] : commands_) {
      if (command->parsed()) return RunCommandReported(name_ + ' ' + command->get_name(), run);
    }
    return kUsage;
  }

 private:
  static void Tell(const std::string& command, const std::string& what) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s: %s\n", command.c_str(), what.c_str());
  }

  // Returns the message with "FILE:LINE: " before it, if they are known and not already in it.
  static std::string Placed(const Error& error) {
    std::string what = error.what();
    if (error.File().empty() || what.starts_with(error.File())) return what;
    std::string place = error.File() + ':';
    if (error.Line() != 0) place += std::to_string(error.Line()) + ':';
    return place + ' ' + what;
  }

  // No exception leaves this function.
  static int RunCommandReported(const std::string& command, const RunCommand& run) {
    try {
      return run();
    } catch (const UsageError& error) {
      Tell(command, error.message);
      return kUsage;
    } catch (const Error& error) {
      Tell(command, Placed(error));
    } catch (const std::exception& error) {
      Tell(command, error.what());
    } catch (...) {
      Tell(command, "unknown failure");
    }
    return kFailed;
  }

  std::string name_;
  CLI::App app_;
  std::vector<std::pair<CLI::App*, RunCommand>> commands_;
};

}  // namespace

int RunProgram(int argc, char** argv, const std::string& program, const std::string& description,
               std::span<const CommandRow> commands) {
  try {
    return Program(program, description, commands).Run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", program.c_str(), error.what());
    return kFailed;
  }
}

}  // namespace quellmark::cli
