#include "runtime/configuration_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>

#include "basic/unique_fd.h"
#include "runtime/log.h"

namespace quellmark::runtime {
namespace {

constexpr std::size_t kLineLimit = 1024;
constexpr std::string_view kBlanks = " \t\n\v\f\r";

// Reads one line without its end, or its next 1024 characters. Returns false at the end of the
// file.
bool ReadLine(std::FILE* file, std::array<char, kLineLimit>& buffer, std::string_view& line) {
  std::size_t length = 0;
  int c = EOF;
  while (length < buffer.size() && (c = ::getc_unlocked(file)) != EOF && c != '\n') {
    buffer[length++] = static_cast<char>(c);
  }
  line = {buffer.data(), length};
  return length > 0 || c == '\n';
}

// Cuts the first word off `text` and returns it; the word is empty if there is none.
std::string_view TakeWord(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
  text.remove_prefix(word.size());
  return word;
}

}  // namespace

bool ConfigurationFile::Open(const char* path) {
  // Opening must not wait for the writer of a fifo.
  basic::UniqueFd fd(::open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  struct stat status {};
  if (!fd.IsOpen() || ::fstat(fd.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  file_.reset(::fdopen(fd.Get(), "r"));
  if (IsOpen()) static_cast<void>(fd.Release());
  return IsOpen();
}

bool ConfigurationFile::Find(std::string_view name, std::string& value) {
  if (!IsOpen()) return false;
  if (FindToEnd(name, value)) return true;
  LogLine(LogLevel::kTrace, "rewinding file position\n");
  std::rewind(file_.get());
  return FindToEnd(name, value);
}

bool ConfigurationFile::FindToEnd(std::string_view name, std::string& value) {
  std::array<char, kLineLimit> buffer;
  std::string_view line;
  while (ReadLine(file_.get(), buffer, line)) {
    if (TakeWord(line) != name) continue;
    const std::string_view word = TakeWord(line);
    if (word.empty()) continue;
    value = word;
    return true;
  }
  return false;
}

}  // namespace quellmark::runtime
