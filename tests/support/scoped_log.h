// Collects the log lines of a test.
#pragma once

#include <string>

#include "basic/unique_fd.h"
#include "runtime/log.h"

namespace quellmark::test {

/// Collects the log lines of this thread and of its forked children, from a level on, until it goes
/// out of scope. The lines reach neither screen nor file. They read "TAG : text", without the
/// process name. Scopes may be nested.
class ScopedLog {
 public:
  explicit ScopedLog(LOG::Level threshold = LOG::Level::kTrace);
  ScopedLog(const ScopedLog&) = delete;
  ScopedLog& operator=(const ScopedLog&) = delete;
  ~ScopedLog() = default;

  /// The lines that were written since construction.
  [[nodiscard]] std::string Text() const;

 private:
  basic::UniqueFd memory_;
  LOG log_;
  runtime::LogScope scope_;
};

}  // namespace quellmark::test
