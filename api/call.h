// Encloses every call into the core: catches its log lines, and turns what it throws into an Error.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "runtime/log.h"
#include <quellmark/error.h>
#include <quellmark/log.h>

namespace quellmark::api {

/// Which class of Error to throw for a failure whose own class does not determine that.
enum class Concern { kArgument, kPool, kOrbit, kDem, kScene };

/// The subject of a call. The views must outlive the call.
struct Subject {
  Concern concern = Concern::kArgument;
  std::string_view file = {};
  std::string_view key = {};
  std::size_t line = 0;
};

/// While it exists, the log lines of its thread are kept and passed to the user's sink, if there is
/// one. They are not written.
class Capture {
 public:
  Capture();
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;
  ~Capture() = default;

  /// Must be called from an exception handler. Throws the current exception as an Error.
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

/// Calls `function` with a Capture around it.
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
