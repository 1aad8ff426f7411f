#pragma once

#include <utility>

namespace quellmark::basic {

/// Owns a file descriptor; -1 means none.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) noexcept : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) Reset(std::exchange(other.fd_, -1));
    return *this;
  }
  ~UniqueFd() { Reset(); }

  [[nodiscard]] int Get() const noexcept { return fd_; }
  [[nodiscard]] bool IsOpen() const noexcept { return fd_ >= 0; }
  /// Hands the descriptor over to the caller.
  [[nodiscard]] int Release() noexcept { return std::exchange(fd_, -1); }
  /// Closes the held descriptor and takes `fd`. An error of close() is ignored; Close() returns it.
  void Reset(int fd = -1) noexcept;
  /// Closes and returns the result of close(): 0, or -1 with errno set (a late write error).
  [[nodiscard]] int Close() noexcept;

 private:
  int fd_ = -1;
};

}  // namespace quellmark::basic
