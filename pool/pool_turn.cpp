#include "pool/pool_turn.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "runtime/log.h"

namespace quellmark::pool {
namespace {

// Of the whole file; does not wait. False if another process holds a lock.
bool SetLock(int fd, short type) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  return ::fcntl(fd, F_SETLK, &lock) == 0 || (errno != EAGAIN && errno != EACCES);
}

}  // namespace

PoolTurn::PoolTurn(int fd, const std::string& path) : fd_(fd) {
  constexpr int kTries = 10'000;
  constexpr timespec kPause{.tv_sec = 0, .tv_nsec = 1'000'000};
  for (int i = 0; i < kTries; ++i) {
    if (SetLock(fd_, F_WRLCK)) return;
    ::nanosleep(&kPause, nullptr);
  }
  runtime::LogLine(runtime::LogLevel::kWarning, "another process keeps the pool locked: ", path,
                   "\n");
}

PoolTurn::~PoolTurn() { static_cast<void>(SetLock(fd_, F_UNLCK)); }

}  // namespace quellmark::pool
