// Takes the log for the time of a test.
#pragma once

#include <string>

#include "basic/unique_fd.h"
#include "runtime/log.h"

namespace quellmark::test {

/// Collects this thread's log lines from a level on, and those of its forked children, until it
/// goes out of scope; none reaches screen or file. Lines read "TAG   : text": the process name is
/// left out. Scopes may be nested.
class ScopedLog {
 public:
  explicit ScopedLog(LOG::Level threshold = LOG::Level::kTrace);
  ScopedLog(const ScopedLog&) = delete;
  ScopedLog& operator=(const ScopedLog&) = delete;
  ~ScopedLog() = default;

  /// What was written since construction.
  [[nodiscard]] std::string Text() const;

 private:
  basic::UniqueFd memory_;
  LOG log_;
  runtime::LogScope scope_;
};

}  // namespace quellmark::test
