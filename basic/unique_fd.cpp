#include "basic/unique_fd.h"

#include <unistd.h>

namespace quellmark::basic {

void UniqueFd::Reset(int fd) noexcept {
  if (fd_ >= 0) static_cast<void>(::close(fd_));
  fd_ = fd;
}

int UniqueFd::Close() noexcept {
  const int fd = std::exchange(fd_, -1);
  return fd >= 0 ? ::close(fd) : 0;
}

}  // namespace quellmark::basic
