#include "runtime/keyboard.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace quellmark::runtime {
namespace {

bool IsBlank(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

}  // namespace

bool Keyboard::ReadWord(std::string& word) {
  word.clear();
  int c = NextByte();
  while (IsBlank(c)) c = NextByte();
  for (; c >= 0 && !IsBlank(c); c = NextByte()) word += static_cast<char>(c);
  return !word.empty();
}

int Keyboard::NextByte() {
  while (next_ == end_) {
    const ssize_t got = ::read(STDIN_FILENO, block_.data(), block_.size());
    if (got > 0) {
      next_ = 0;
      end_ = static_cast<std::size_t>(got);
    } else if (got < 0 && errno == EAGAIN) {
      pollfd input{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
      static_cast<void>(::poll(&input, 1, -1));
    } else if (got == 0 || errno != EINTR) {
      return -1;
    }
  }
  return static_cast<unsigned char>(block_[next_++]);
}

}  // namespace quellmark::runtime
