#include "runtime/streams.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace quellmark::runtime {
namespace {

// Tells the handler of SIGXFSZ that a quiet write has raised it.
constinit thread_local volatile std::sig_atomic_t writing_quietly = 0;

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
  writing_quietly = 1;
  const bool whole = WriteAll(fd, bytes);
  writing_quietly = 0;
  return whole;
}

bool IsWritingQuietly() noexcept { return writing_quietly != 0; }

void IgnoreWriteSignals() noexcept {
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
}

bool CopyAll(int from, int to) noexcept {
  std::array<char, 65'536> block;
  for (;;) {
    const ssize_t got = ::read(from, block.data(), block.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return got == 0;
    if (!WriteQuietly(to, {block.data(), static_cast<std::size_t>(got)})) return false;
  }
}

void EnsureStandardStreams() noexcept {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(fd, F_GETFD) != -1 || errno != EBADF) continue;
    // open() returns the lowest free descriptor, which is this one. If "/dev/null" is missing, the
    // root directory takes the place; it can be neither read nor written.
    const int mode = fd == STDIN_FILENO ? O_RDONLY : O_WRONLY;
    if (::open("/dev/null", mode) < 0) static_cast<void>(::open("/", O_RDONLY));
  }
}

}  // namespace quellmark::runtime
