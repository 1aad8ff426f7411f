#include "tests/support/scoped_log.h"

#include <sys/mman.h>
#include <unistd.h>

#include "runtime/streams.h"

namespace quellmark::test {

ScopedLog::ScopedLog(LOG::Level threshold)
    : memory_(::memfd_create("scoped_log", MFD_CLOEXEC)),
      log_(
          [this](LOG::Level level, std::string_view line) {
            for (const std::string_view piece :
                 {runtime::LogLevelTag(level), std::string_view(" : "), line,
                  std::string_view("\n")}) {
              runtime::WriteAll(memory_.Get(), piece);
            }
          },
          threshold),
      scope_(log_) {}

std::string ScopedLog::Text() const {
  runtime::Log().EndLine();
  std::string text(static_cast<std::size_t>(::lseek(memory_.Get(), 0, SEEK_END)), '\0');
  const ssize_t got = ::pread(memory_.Get(), text.data(), text.size(), 0);
  text.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
  return text;
}

}  // namespace quellmark::test
