#include "pool/line_reader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace quellmark::pool {
namespace {

// Large enough to make system calls rare, small enough to stay in the second-level cache.
constexpr std::size_t kBlock = 65'536;

// Returns the first place from `from` on with this `text`, or null. Most blocks contain numbers, in
// which the first letter of a key is rare, so the search for that letter is fastest.
const char* FindText(const char* from, const char* end, std::string_view text) {
  constexpr int kTries = 16;
  for (int i = 0; i < kTries; ++i) {
    from = static_cast<const char*>(
        std::memchr(from, text.front(), static_cast<std::size_t>(end - from)));
    if (from == nullptr || static_cast<std::size_t>(end - from) < text.size()) return nullptr;
    if (std::memcmp(from, text.data(), text.size()) == 0) return from;
    ++from;
  }
  return static_cast<const char*>(
      ::memmem(from, static_cast<std::size_t>(end - from), text.data(), text.size()));
}

}  // namespace

std::string_view KeyOf(std::string_view line) {
  const auto* const end =
      std::find_if(line.begin(), line.begin() + std::min(line.size(), kKeyLimit),
                   [](char c) { return IsBlank(c) || IsLineEnd(c); });
  return {line.begin(), end};
}

void LineReader::Rewind(int fd) {
  if (!buffer_) buffer_ = std::make_unique_for_overwrite<char[]>(kBlock);
  fd_ = fd;
  offset_ = 0;
  error_ = 0;
  at_end_ = false;
  begin_ = end_ = buffer_.get();
}

void LineReader::Rewind(std::string_view text) {
  error_ = 0;
  at_end_ = true;  // there is no file to read from
  begin_ = text.data();
  end_ = begin_ + text.size();
}

std::size_t LineReader::Remaining() const {
  const auto held = static_cast<std::size_t>(end_ - begin_);
  struct stat file {};
  if (at_end_ || ::fstat(fd_, &file) != 0 || file.st_size <= offset_) return held;
  return held + static_cast<std::size_t>(file.st_size - offset_);
}

// Moves the unread bytes to the front of the buffer and fills the rest from the file.
void LineReader::Refill() {
  std::size_t held = static_cast<std::size_t>(end_ - begin_);
  if (held != 0) std::memmove(buffer_.get(), begin_, held);
  while (held < kLineLimit && !at_end_) {
    const ssize_t got = ::pread(fd_, buffer_.get() + held, kBlock - held, offset_);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) error_ = errno;
    at_end_ = got <= 0;
    if (at_end_) break;
    held += static_cast<std::size_t>(got);
    offset_ += got;
  }
  begin_ = buffer_.get();
  end_ = begin_ + held;
}

std::size_t LineReader::LineSize() const {
  const std::size_t held = std::min(kLineLimit, static_cast<std::size_t>(end_ - begin_));
  const std::string_view start(begin_, held);
  const std::size_t line_feed = start.find('\n');
  const std::size_t carriage_return = start.substr(0, line_feed).find('\r');
  const std::size_t line_end = std::min(line_feed, carriage_return);
  if (line_end != std::string_view::npos) return line_end + 1;
  return held == kLineLimit || at_end_ ? held : 0;
}

bool LineReader::Next(std::string_view& line) {
  std::size_t size = LineSize();
  if (size == 0 && !at_end_) {
    Refill();
    size = LineSize();
  }
  if (size == 0 || error_ != 0) return false;
  line = {begin_, size};
  begin_ += size;
  return true;
}

void LineReader::SkipLinesBefore(const char* limit) {
  while (begin_ < limit) {
    const std::string_view window(begin_,
                                  std::min(kLineLimit, static_cast<std::size_t>(limit - begin_)));
    if (const void* line_feed = ::memrchr(begin_, '\n', window.size())) {
      begin_ = static_cast<const char*>(line_feed) + 1;
    } else if (const std::size_t carriage_return = window.rfind('\r');
               carriage_return != std::string_view::npos) {
      begin_ += carriage_return + 1;
    } else if (window.size() == kLineLimit) {
      begin_ += kLineLimit;  // the rest of a longer line counts as a line of its own
    } else {
      return;  // this line ends after the limit
    }
  }
}

bool LineReader::SkipTo(std::string_view start) {
  const char* search = begin_;
  for (;;) {
    const char* const found = FindText(search, end_, start);
    SkipLinesBefore(found != nullptr ? found : end_);
    if (found != nullptr) {
      if (found == begin_) return true;
      search = found + 1;  // the match was inside a line
    } else if (at_end_) {
      begin_ = end_;
      return false;
    } else {
      Refill();
      search = begin_;
    }
  }
}

std::string_view TokenCursor::Rest() {
  const auto* const begin =
      std::find_if(rest_.begin(), rest_.end(), [](char c) { return !IsBlank(c) && c != '\r'; });
  rest_.remove_prefix(static_cast<std::size_t>(begin - rest_.begin()));
  return rest_;
}

std::string_view TokenCursor::Next() {
  const std::string_view rest = Rest();
  const auto* const end =
      std::find_if(rest.begin(), rest.end(), [](char c) { return IsBlank(c) || IsLineEnd(c); });
  const std::string_view token(rest.begin(), end);
  rest_.remove_prefix(token.size());
  return token;
}

}  // namespace quellmark::pool
