#pragma once

#include <mutex>

namespace quellmark::basic {

/// The process-wide lock of the texts that an enumeration error leaves behind.
[[nodiscard]] inline std::mutex& ErrorLock() {
  static std::mutex lock;
  return lock;
}

}  // namespace quellmark::basic
