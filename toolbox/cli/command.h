// What every command of qmtool is to its main program.
#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace quellmark::cli {

/// The exit statuses of qmtool.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;  ///< or a check has found errors
inline constexpr int kUsage = 2;
inline constexpr int kStopped = 3;  ///< a long run was ended in order before its end

/// Runs a command whose options have been read and returns the exit status. What it throws becomes
/// a line on standard error and kFailed.
using RunCommand = std::function<int()>;

/// Thrown for options that do not go together; ends with kUsage.
struct UsageError {
  const char* message;
};

/// Adds the options of one command to its parser and returns what runs it afterwards.
using AddCommand = RunCommand (*)(CLI::App& command);

RunCommand AddBatch(CLI::App& command);
RunCommand AddCheck(CLI::App& command);
RunCommand AddImport(CLI::App& command);
RunCommand AddLocate(CLI::App& command);
RunCommand AddMap(CLI::App& command);
RunCommand AddPool(CLI::App& command);

}  // namespace quellmark::cli
