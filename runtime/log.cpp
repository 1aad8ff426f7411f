#include "runtime/log.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <utility>

namespace {

constexpr std::array<std::string_view, 9> kLevelTags = {
    "LEV_?", "TRACE", "DEBUG", "PARAM", "INFO ", "QA_WA", "WARN ", "EXCEP", "ALARM"};

// Beyond this many bytes an unfinished line is written without waiting for its end.
constexpr std::size_t kPendingLimit = 4096;

std::string_view LevelTag(LOG::Level level) {
  const auto index = static_cast<std::size_t>(level);
  return index < kLevelTags.size() ? kLevelTags[index] : kLevelTags[0];
}

// What can not be written is dropped: a full disk or a closed screen must not end the program.
void WriteAll(int fd, std::string_view bytes) noexcept {
  while (!bytes.empty()) {
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

// What the terminal is told before a text of this level; empty for levels without highlighting.
std::string_view HighlightOn(LOG::Level level) {
  switch (level) {
    case LOG::Level::kWarning:
      return "\033[4m";
    case LOG::Level::kException:
      return "\033[1m";
    case LOG::Level::kAlarm:
      return "\033[7m";
    default:
      return {};
  }
}

constexpr std::string_view kHighlightOff = "\033[0m";

}  // namespace

void LOG::Sink::Append(std::string_view text) {
  if (!active) return;
  pending += text;
  if ((!text.empty() && text.back() == '\n') || pending.size() > kPendingLimit) Flush();
}

void LOG::Sink::Flush() noexcept {
  if (fd >= 0) WriteAll(fd, pending);
  pending.clear();
}

LOG::LOG() { screen_.fd = STDOUT_FILENO; }

LOG::~LOG() {
  screen_.Flush();
  file_.Flush();
}

LOG& LOG::Start(Level level) {
  EndLine();
  if (level == Level::kQaWarning) qa_warning_ = true;
  screen_.active = level >= screen_.threshold;
  file_.active = file_.fd >= 0 && level >= file_.threshold;
  active_ = screen_.active || file_.active;
  if (!active_) return *this;
  const std::string_view tag = LevelTag(level);
  Append(tag);
  Append(" : ");
  Append(prefix_);
  return *this;
}

void LOG::Append(std::string_view text) {
  if (text.empty()) return;
  screen_.Append(text);
  file_.Append(text);
  at_line_start_ = text.back() == '\n';
}

void LOG::AppendSigned(long long number) {
  std::array<char, 24> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  Append({digits.data(), static_cast<std::size_t>(end - digits.data())});
}

void LOG::AppendUnsigned(unsigned long long number) {
  std::array<char, 24> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  Append({digits.data(), static_cast<std::size_t>(end - digits.data())});
}

void LOG::AppendFloating(double number) {
  std::array<char, 32> digits;
  const int length = std::snprintf(digits.data(), digits.size(), "%g", number);
  Append({digits.data(), static_cast<std::size_t>(length)});
}

void LOG::EndLine() {
  if (active_ && !at_line_start_) Append("\n");
}

void LOG::Print(Level level, const char* format, ...) {
  Start(level);
  if (!active_) return;
  std::va_list arguments;
  va_start(arguments, format);
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  const std::string_view highlight = HighlightOn(level);
  if (!highlight.empty()) screen_.Append(highlight);
  Append(text);
  if (!highlight.empty()) screen_.Append(kHighlightOff);
  EndLine();
}

void LOG::Open(const std::string& path) {
  quellmark::basic::UniqueFd fd(
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666));
  if (!fd.IsOpen()) {
    Start(Level::kAlarm) << "can not open logging file: " << path << "\n";
    return;
  }
  file_fd_ = std::move(fd);
  file_.fd = file_fd_.Get();
}

LOG::State LOG::SwapState(State state) {
  EndLine();
  std::swap(file_fd_, state.file_fd);
  std::swap(screen_.threshold, state.screen_threshold);
  std::swap(file_.threshold, state.file_threshold);
  std::swap(prefix_, state.prefix);
  file_.fd = file_fd_.Get();
  return state;
}

void LOG::SetProcessName(std::string_view name) {
  prefix_ = name;
  prefix_ += " : ";
}

namespace quellmark::runtime {

LOG& Log() {
  static LOG log;
  return log;
}

}  // namespace quellmark::runtime
