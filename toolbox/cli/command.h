// The interface between qmtool's commands and its main program.
#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace quellmark::cli {

/// The exit statuses of qmtool.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;  ///< the command failed, or a check has found errors
inline constexpr int kUsage = 2;
inline constexpr int kStopped = 3;  ///< a long run was stopped in an orderly way

/// Runs a command after its options were read, and returns the exit status. An exception becomes a
/// line on standard error and kFailed.
using RunCommand = std::function<int()>;

/// Thrown for options that contradict each other. The exit status is then kUsage.
struct UsageError {
  const char* message;
};

/// Adds the options of one command to its parser. Returns the function that runs the command.
using AddCommand = RunCommand (*)(CLI::App& command);

RunCommand AddBatch(CLI::App& command);
RunCommand AddCheck(CLI::App& command);
RunCommand AddImport(CLI::App& command);
RunCommand AddLocate(CLI::App& command);
RunCommand AddMap(CLI::App& command);
RunCommand AddPool(CLI::App& command);

}  // namespace quellmark::cli
