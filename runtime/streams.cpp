#include "runtime/streams.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>

namespace quellmark::runtime {
namespace {

// Holds back the signals by which a failing write() would end the program.
class WriteSignals {
 public:
  WriteSignals() noexcept {
    sigset_t held;
    sigemptyset(&held);
    sigaddset(&held, SIGPIPE);
    sigaddset(&held, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &held, &saved_);
  }
  WriteSignals(const WriteSignals&) = delete;
  WriteSignals& operator=(const WriteSignals&) = delete;
  ~WriteSignals() { pthread_sigmask(SIG_SETMASK, &saved_, nullptr); }

  // Takes back the signal that the failed write has sent.
  static void Discard(int number) noexcept {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, number);
    const timespec no_wait{};
    static_cast<void>(sigtimedwait(&set, nullptr, &no_wait));
  }

 private:
  sigset_t saved_;
};

}  // namespace

bool WriteAll(int fd, std::string_view bytes) noexcept {
  while (!bytes.empty()) {
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (written < 0 && errno == EAGAIN) {
      pollfd ready{.fd = fd, .events = POLLOUT, .revents = 0};
      static_cast<void>(::poll(&ready, 1, -1));
    } else if (written == 0 || errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool WriteQuietly(int fd, std::string_view bytes) noexcept {
  const WriteSignals held;
  if (WriteAll(fd, bytes)) return true;
  const int error = errno;
  if (error == EPIPE) WriteSignals::Discard(SIGPIPE);
  if (error == EFBIG) WriteSignals::Discard(SIGXFSZ);
  errno = error;
  return false;
}

void EnsureStandardStreams() noexcept {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(fd, F_GETFD) != -1 || errno != EBADF) continue;
    // The lowest free descriptor is taken, which is this one. Without a "/dev/null" the root
    // directory holds the place; it can neither be read nor written.
    const int mode = fd == STDIN_FILENO ? O_RDONLY : O_WRONLY;
    if (::open("/dev/null", mode) < 0) static_cast<void>(::open("/", O_RDONLY));
  }
}

}  // namespace quellmark::runtime
