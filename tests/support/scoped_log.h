// Takes the process-wide log for the time of a test.
#pragma once

#include <string>

#include "runtime/log.h"

namespace quellmark::test {

/// Sends all levels of the log to memory and none to the screen until it goes out of scope. Lines
/// read "TAG   : text": the process name is left out. Scopes may be nested. The log counts as
/// initialised: a controller made meanwhile leaves no temporary file behind.
class ScopedLog {
 public:
  explicit ScopedLog(LOG::Level threshold = LOG::Level::kTrace);
  ScopedLog(const ScopedLog&) = delete;
  ScopedLog& operator=(const ScopedLog&) = delete;
  ~ScopedLog();

  /// What was written since construction.
  [[nodiscard]] std::string Text() const;

 private:
  LOG::State saved_;
  basic::UniqueFd memory_;
};

}  // namespace quellmark::test
