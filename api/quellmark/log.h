/// @file
/// The lines that the library would log.
#pragma once

#include <functional>
#include <string_view>

#include <quellmark/export.h>

namespace quellmark {

/// How important a log line is; the numbers are those of the batch step's options.
enum class LogLevel : int {
  kTrace = 1,      ///< every step of an algorithm
  kDebug = 2,      ///< files that are opened and written
  kParameter = 3,  ///< values that were read
  kInfo = 4,       ///< progress and results
  kQaWarning = 5,  ///< the quality of a result is in doubt
  kWarning = 6,    ///< something was done in another way than asked for
  kException = 7,  ///< what precedes a failure
  kAlarm = 8,      ///< a failure
};

/// Takes one log line, without its line end. It is called by the thread that logs, so that several
/// threads may call it at once; an exception that it throws is dropped.
using LogSink = std::function<void(LogLevel level, std::string_view line)>;

/// Hands all log lines of this library at `threshold` and above to `sink`, from now on and for the
/// whole process; an empty sink ends that. Without a sink no line is written anywhere. The lines of
/// a failure are part of its Error in any case.
QM_API void SetLogSink(LogSink sink, LogLevel threshold = LogLevel::kInfo);

}  // namespace quellmark
