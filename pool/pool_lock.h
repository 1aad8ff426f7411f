#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <utility>

namespace quellmark::pool {

/// The time that a run may still wait for other processes. The pools of a run share it, so that all
/// waits together have one limit.
class LockWait {
 public:
  static constexpr std::chrono::seconds kLimit{120};

  explicit LockWait(std::chrono::nanoseconds limit = kLimit) : left_(limit) {}

  /// Repeats `attempt` until it returns true or the time is used up. Returns whether it returned
  /// true. Signals are not held back meanwhile.
  [[nodiscard]] bool Until(const std::function<bool()>& attempt);

 private:
  std::chrono::nanoseconds left_;
};

/// A lock of a pool file against other programs that lock it too. A shared lock excludes updates,
/// an exclusive lock also excludes readers. The lock is advisory. It belongs to the opened file,
/// not to the process, so closing another descriptor of the same file does not end it. A file
/// system without locks grants every lock.
class PoolLock {
 public:
  enum class Kind { kShared, kExclusive };

  /// Locks nothing.
  PoolLock() = default;
  /// Locks the whole file behind `fd`, which must be open for writing if the lock is exclusive and
  /// must stay open. Waits for other processes and logs that once. When the waiting time is used
  /// up, logs who holds the file, and IsHeld() is then false. `path` is for the log.
  PoolLock(int fd, const std::string& path, Kind kind, LockWait& wait);
  PoolLock(PoolLock&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  PoolLock& operator=(PoolLock&& other) noexcept;
  ~PoolLock() { Release(); }

  [[nodiscard]] bool IsHeld() const { return fd_ >= 0; }
  void Release() noexcept;

 private:
  int fd_ = -1;  ///< -1 if not held
};

}  // namespace quellmark::pool
