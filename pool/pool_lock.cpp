#include "pool/pool_lock.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include "runtime/log.h"

namespace quellmark::pool {
namespace {

// The lock on the first byte belongs to the opened file, so it does not tell which process holds
// it. Therefore the process also locks the second byte in its own name. That lock only serves to
// find out the number of the process.
constexpr off_t kLockByte = 0;
constexpr off_t kNameByte = 1;

struct flock Region(short type, off_t byte) {
  struct flock region {};
  region.l_type = type;
  region.l_whence = SEEK_SET;
  region.l_start = byte;
  region.l_len = 1;
  return region;
}

// Does not wait. Returns false if another process holds a lock that excludes this one.
bool SetLock(int fd, short type) {
  struct flock lock = Region(type, kLockByte);
  if (::fcntl(fd, F_OFD_SETLK, &lock) != 0 && (errno == EAGAIN || errno == EACCES)) return false;
  struct flock name = Region(type, kNameByte);
  static_cast<void>(::fcntl(fd, F_SETLK, &name));
  return true;
}

std::string HolderOf(int fd) {
  struct flock name = Region(F_WRLCK, kNameByte);
  const bool is_known = ::fcntl(fd, F_GETLK, &name) == 0 && name.l_type != F_UNLCK;
  // A process on another host has no number here.
  return is_known && name.l_pid > 0 ? "process " + std::to_string(name.l_pid) : "another process";
}

}  // namespace

bool LockWait::Until(const std::function<bool()>& attempt) {
  using std::chrono::nanoseconds;
  // The first pauses are short, because most updates take a few milliseconds. The last ones are
  // long, so that hundreds of processes can wait on a network file system.
  constexpr nanoseconds kFirstPause = std::chrono::milliseconds(1);
  constexpr nanoseconds kLongestPause = std::chrono::milliseconds(32);
  const auto start = std::chrono::steady_clock::now();
  const nanoseconds limit = left_;
  for (nanoseconds pause = kFirstPause; left_ > nanoseconds::zero();
       pause = std::min(2 * pause, kLongestPause)) {
    const timespec time{.tv_sec = 0, .tv_nsec = std::min(pause, left_).count()};
    ::nanosleep(&time, nullptr);
    const bool done = attempt();
    left_ = limit - (std::chrono::steady_clock::now() - start);
    if (done) return true;
  }
  return false;
}

PoolLock::PoolLock(int fd, const std::string& path, Kind kind, LockWait& wait) {
  const auto attempt = [fd, kind] {
    return SetLock(fd, kind == Kind::kShared ? F_RDLCK : F_WRLCK);
  };
  if (!attempt()) {
    runtime::LogLine(runtime::LogLevel::kInfo, "waiting for ", HolderOf(fd),
                     ", which keeps the pool locked: ", path, "\n");
    if (!wait.Until(attempt)) {
      runtime::LogLine(runtime::LogLevel::kAlarm, HolderOf(fd), " keeps the pool locked: ", path,
                       "\n");
      return;
    }
  }
  fd_ = fd;
}

PoolLock& PoolLock::operator=(PoolLock&& other) noexcept {
  if (this != &other) {
    Release();
    fd_ = std::exchange(other.fd_, -1);
  }
  return *this;
}

void PoolLock::Release() noexcept {
  if (fd_ >= 0) static_cast<void>(SetLock(std::exchange(fd_, -1), F_UNLCK));
}

}  // namespace quellmark::pool
