/// @file
/// Access to the log lines of the library.
#pragma once

#include <functional>
#include <string_view>

#include <quellmark/export.h>

namespace quellmark {

/// The importance of a log line. The numbers are those of the batch step's options.
enum class LogLevel : int {
  kTrace = 1,      ///< every step of an algorithm
  kDebug = 2,      ///< files that were opened or written
  kParameter = 3,  ///< values that were read
  kInfo = 4,       ///< progress and results
  kQaWarning = 5,  ///< the quality of a result is in doubt
  kWarning = 6,    ///< something was done in a different way than requested
  kException = 7,  ///< the cause of a failure
  kAlarm = 8,      ///< a failure
};

/// Receives one log line, without its line end. The thread that logs calls it, so several threads
/// may call it at the same time. Exceptions that it throws are ignored.
using LogSink = std::function<void(LogLevel level, std::string_view line)>;

/// Passes all log lines of this library from `threshold` on to `sink`, from now on and in the whole
/// process. An empty sink ends this. Without a sink no line is written anywhere. An Error always
/// contains the lines of its failure.
QM_API void SetLogSink(LogSink sink, LogLevel threshold = LogLevel::kInfo);

}  // namespace quellmark
