// The frame of every call that enters the core: its log lines are caught, and what it throws
// becomes an Error.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "runtime/log.h"
#include <quellmark/error.h>
#include <quellmark/log.h>

namespace quellmark::api {

/// Which Error a failure becomes, if its class does not say so.
enum class Concern { kArgument, kPool, kOrbit, kDem, kScene };

/// What a call is about; the views must outlive the call.
struct Subject {
  Concern concern = Concern::kArgument;
  std::string_view file = {};
  std::string_view key = {};
  std::size_t line = 0;
};

/// While it lives, the log lines of the thread that made it are kept, and handed to the caller's
/// sink if there is one, instead of being written.
class Capture {
 public:
  Capture();
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;
  ~Capture() = default;

  /// To be called from a handler: throws what is being handled as an Error.
  [[noreturn]] void Rethrow(const Subject& subject);

 private:
  struct Line {
    LogLevel level;
    std::string text;
  };

  void Take(LogLevel level, std::string_view line);
  [[noreturn]] void Throw(const Subject& subject, ErrorClass error_class, std::string_view text);

  std::vector<Line> lines_;
  LOG log_;
  runtime::LogScope scope_;
};

/// Calls `function` within such a frame.
template <class Function>
decltype(auto) Call(const Subject& subject, Function&& function) {
  Capture capture;
  try {
    return std::forward<Function>(function)();
  } catch (...) {
    capture.Rethrow(subject);
  }
}

/// Throws an ArgumentError.
[[noreturn]] void FailArgument(const std::string& what);
/// Throws an ArgumentError unless the sizes are equal.
inline void CheckSizes(std::size_t a, std::size_t b, const char* what) {
  if (a != b) FailArgument(std::string(what) + " have different lengths");
}

}  // namespace quellmark::api
