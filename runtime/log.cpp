#include "runtime/log.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>

#include "basic/alarm.h"
#include "runtime/signal_hold.h"
#include "runtime/streams.h"

using quellmark::basic::UniqueFd;
using quellmark::runtime::SignalHold;
using quellmark::runtime::WriteAll;
using quellmark::runtime::WriteQuietly;

namespace {

struct LevelRow {
  std::string_view name;  // as accepted for a threshold
  std::string_view tag;   // as written before a message
};

// The row is the level's number. Read by the programs around this one: kept exactly.
constexpr std::array<LevelRow, 9> kLevels = {{
    {"", "LEV_?"},
    {"TRACE", "TRACE"},
    {"DEBUG", "DEBUG"},
    {"PARAMETER", "PARAM"},
    {"INFO", "INFO "},
    {"QA_WARNING", "QA_WA"},
    {"WARNING", "WARN "},
    {"EXCEPTION", "EXCEP"},
    {"ALARM", "ALARM"},
}};

std::string_view LevelTag(LOG::Level level) {
  const auto index = static_cast<std::size_t>(level);
  return index < kLevels.size() ? kLevels[index].tag : kLevels[0].tag;
}

// What the terminal is told before a text of this level.
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

struct TemporaryFile {
  UniqueFd fd;
  std::string path;
};

// Creates a file of a new name, never through one (or a link) that exists.
std::optional<TemporaryFile> CreateTemporary(std::span<const std::string_view> directories) {
  for (const std::string_view directory : directories) {
    std::string path = std::string(directory) + "log.XXXXXX";
    UniqueFd fd(::mkstemp(path.data()));
    if (!fd.IsOpen()) continue;
    static_cast<void>(::fcntl(fd.Get(), F_SETFD, FD_CLOEXEC));
    return TemporaryFile{std::move(fd), std::move(path)};
  }
  return std::nullopt;
}

// Opens `path` as an empty log file. The open itself must not wait (a fifo without reader), the
// later writes may.
UniqueFd OpenForWriting(const std::string& path) {
  UniqueFd fd(::open(path.c_str(),
                     O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK,
                     0666));
  if (fd.IsOpen()) static_cast<void>(::fcntl(fd.Get(), F_SETFL, O_APPEND));
  return fd;
}

// Copies all of `from`; false if not every byte arrived.
bool CopyAll(int from, int to) {
  std::array<char, 8192> block;
  while (true) {
    const ssize_t got = ::read(from, block.data(), block.size());
    if (got == 0) return true;
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 || !WriteQuietly(to, {block.data(), static_cast<std::size_t>(got)})) return false;
  }
}

// From within a signal handler: a screen that takes nothing (a full pipe, a stopped terminal) must
// not keep the process alive.
void PutFromSignal(int fd, std::string_view bytes) noexcept {
  if (fd < 0 || bytes.empty()) return;
  pollfd screen{.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
  if (fd == STDOUT_FILENO && (::poll(&screen, 1, 0) != 1 || (screen.revents & POLLOUT) == 0))
    return;
  WriteAll(fd, bytes);
}

}  // namespace

void LOG::Sink::Append(std::string_view text, int fd) {
  if (!active) return;
  const bool ends_line = text.back() == '\n';
  while (!text.empty()) {
    std::size_t used = size.load(std::memory_order_relaxed);
    if (used == bytes.size()) {
      Flush(fd);
      used = 0;
    }
    const std::size_t count = text.copy(bytes.data() + used, bytes.size() - used);
    std::atomic_signal_fence(std::memory_order_release);
    size.store(used + count, std::memory_order_relaxed);
    text.remove_prefix(count);
  }
  if (ends_line) Flush(fd);
}

void LOG::Sink::Flush(int fd) noexcept {
  const std::size_t used = size.load(std::memory_order_relaxed);
  if (used > 0) WriteQuietly(fd, {bytes.data(), used});
  size.store(0, std::memory_order_relaxed);
}

void LOG::Initialise(std::span<const std::string_view> directories) {
  if (state_.initialisations++ > 0) return;
  start_time_ = std::time(nullptr);
  start_ = std::chrono::steady_clock::now();
  quellmark::runtime::EnsureStandardStreams();
  const SignalHold hold;
  state_.name = "global";
  state_.screen_threshold = Level::kDebug;
  state_.file_threshold = Level::kDebug;
  if (auto temporary = CreateTemporary(directories)) {
    state_.file_fd = std::move(temporary->fd);
    state_.file_path = std::move(temporary->path);
    state_.file_is_temporary = true;
  }
}

void LOG::Release() {
  if (state_.initialisations == 0 || --state_.initialisations > 0) return;
  EndLine();
  const SignalHold hold;
  state_.file_fd.Reset();
  state_.file_path.clear();
  state_.file_is_temporary = false;
}

void LOG::Begin(Level level) {
  EndLine();
  if (level == Level::kQaWarning) state_.qa_warning = true;
  screen_.active = level >= state_.screen_threshold;
  file_.active = state_.file_fd.IsOpen() && level >= state_.file_threshold;
  active_ = screen_.active || file_.active;
  if (!active_) return;
  Append(LevelTag(level));
  Append(" : ");
  Append(state_.prefix);
}

void LOG::Append(std::string_view text) {
  if (text.empty()) return;
  screen_.Append(text, STDOUT_FILENO);
  file_.Append(text, state_.file_fd.Get());
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

#if defined(__GNUC__) && !defined(__clang__)
void LOG::PrintAlways(Level level, const char* format, ...) {
#else
void LOG::Print(Level level, const char* format, ...) {
#endif
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

  // The highlighting stays within the line: its end comes after the reset.
  if (text.ends_with('\n')) text.pop_back();
  const bool highlight = level > Level::kQaWarning && std::getenv("NO_COLOR") == nullptr;
  const std::string_view on = HighlightOn(level);
  if (highlight && !on.empty()) screen_.Append(on, STDOUT_FILENO);
  Append(text);
  if (highlight) screen_.Append(kHighlightOff, STDOUT_FILENO);
  Append("\n");
}

void LOG::Open(const std::string& path) {
  EndLine();
  if (state_.file_fd.IsOpen() && path == state_.file_path) return;
  // A signal finds the log at its old place or, with all its lines, at the new one.
  const SignalHold hold;
  UniqueFd fd = OpenForWriting(path);
  if (!fd.IsOpen()) {
    Start(Level::kAlarm) << "can not open logging file: " << path << "\n";
    return;
  }
  std::string old_path = path;
  const bool was_temporary = std::exchange(state_.file_is_temporary, false);
  state_.file_fd = std::move(fd);
  state_.file_path.swap(old_path);
  if (was_temporary) CarryOver(old_path);
}

void LOG::CarryOver(const std::string& temporary_path) {
  const UniqueFd temporary(::open(temporary_path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (!temporary.IsOpen()) {
    Start(Level::kAlarm) << " can not reopen tmp logging file: " << temporary_path << "\n";
    return;
  }
  if (!CopyAll(temporary.Get(), state_.file_fd.Get())) {
    Start(Level::kAlarm) << "can not copy tmp logging file: " << temporary_path << "\n";
    return;  // the lines are still there
  }
  if (::unlink(temporary_path.c_str()) != 0) {
    const int error = errno;
    Print(Level::kAlarm, "can not remove tmp file: %s", temporary_path.c_str());
    Print(Level::kAlarm, "reason: %s", std::strerror(error));
  }
}

LOG::State LOG::SwapState(State state) {
  EndLine();
  const SignalHold hold;
  std::swap(state_, state);
  return state;
}

void LOG::SetProcessName(std::string_view name) {
  std::string prefix(name);
  prefix += " : ";
  const SignalHold hold;
  state_.prefix.swap(prefix);
}

void LOG::WriteFromSignal(Level level, std::initializer_list<std::string_view> pieces) noexcept {
  std::array<char, 1024> line;
  std::size_t used = 0;
  const auto add = [&](std::string_view text) {
    used += text.copy(line.data() + used, line.size() - 1 - used);  // one byte is for the line end
  };
  add(LevelTag(level));
  add(" : ");
  add(state_.prefix);
  for (const std::string_view piece : pieces) add(piece);
  line[used++] = '\n';

  const auto passing = [&](Level threshold) -> std::string_view {
    return {line.data(), level >= threshold ? used : 0};
  };
  file_.WriteFromSignal(passing(state_.file_threshold), state_.file_fd.Get());
  screen_.WriteFromSignal(passing(state_.screen_threshold), STDOUT_FILENO);
}

void LOG::Sink::WriteFromSignal(std::string_view line, int fd) noexcept {
  const std::size_t open_line = size.exchange(0, std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_acquire);
  PutFromSignal(fd, {bytes.data(), open_line});
  if (open_line > 0 && bytes[open_line - 1] != '\n') PutFromSignal(fd, "\n");
  PutFromSignal(fd, line);
}

namespace quellmark::runtime {

LogLevel ParseLogLevel(std::string_view text) {
  int number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (!text.empty() && stop == end) {
    return error == std::errc() ? static_cast<LogLevel>(number) : LogLevel::kSilent;
  }
  const auto row = std::find_if(kLevels.begin() + 1, kLevels.end(),
                                [&](const LevelRow& level) { return level.name == text; });
  return row != kLevels.end() ? static_cast<LogLevel>(row - kLevels.begin()) : LogLevel::kSilent;
}

LOG& CreateLog() {
  // From now on the layer below reports here.
  static_cast<void>(
      basic::SetAlarmSink([](std::string_view line) { LogLine(LogLevel::kAlarm, line); }));
  // A line that is still open when the process exits is not lost.
  static_cast<void>(std::atexit([] { Log().EndLine(); }));
  return *new LOG;
}

}  // namespace quellmark::runtime
