#include "tests/support/scoped_log.h"

#include <sys/mman.h>
#include <unistd.h>

namespace quellmark::test {

ScopedLog::ScopedLog(LOG::Level threshold) : memory_(::memfd_create("scoped_log", MFD_CLOEXEC)) {
  saved_ = runtime::Log().SwapState(LOG::State{.file_fd = basic::UniqueFd(::dup(memory_.Get())),
                                               .screen_threshold = LOG::Level::kSilent,
                                               .file_threshold = threshold,
                                               .prefix = "",
                                               .name = "scoped",
                                               .file_path = "/dev/null",
                                               .initialisations = 1});
}

ScopedLog::~ScopedLog() { static_cast<void>(runtime::Log().SwapState(std::move(saved_))); }

std::string ScopedLog::Text() const {
  runtime::Log().EndLine();
  std::string text(static_cast<std::size_t>(::lseek(memory_.Get(), 0, SEEK_END)), '\0');
  const ssize_t got = ::pread(memory_.Get(), text.data(), text.size(), 0);
  text.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
  return text;
}

}  // namespace quellmark::test
