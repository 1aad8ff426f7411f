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
#include <new>
#include <optional>
#include <utility>

#include "basic/alarm.h"
#include "runtime/signal_hold.h"
#include "runtime/streams.h"

using namespace quellmark::runtime;
using quellmark::basic::UniqueFd;

namespace {

struct LevelRow {
  std::string_view name;  // accepted for a threshold
  std::string_view tag;   // written before a message
};

// A level's number is its row. The programs around this one read the texts: kept exactly.
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

// Returns the bytes that switch the terminal's highlighting on before a text of this level.
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

// Creates a file with a new name; mkstemp() never opens an existing file or follows a link.
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

// Opens `path` as an empty log file. Opening must not wait, for example for the reader of a fifo;
// later writes may.
UniqueFd OpenForWriting(const std::string& path) {
  UniqueFd fd(::open(path.c_str(),
                     O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK,
                     0666));
  if (fd.IsOpen()) static_cast<void>(::fcntl(fd.Get(), F_SETFL, O_APPEND));
  return fd;
}

// Called in a signal handler: a screen that accepts nothing (a full pipe, a stopped terminal) must
// not keep the process alive.
void PutFromSignal(int fd, std::string_view bytes) noexcept {
  if (fd < 0 || bytes.empty()) return;
  pollfd screen{.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
  if (fd == STDOUT_FILENO && (::poll(&screen, 1, 0) != 1 || (screen.revents & POLLOUT) == 0))
    return;
  WriteAll(fd, bytes);
}

}  // namespace

LOG::LOG(Sink sink, Level threshold) : file_threshold_(threshold), sink_(std::move(sink)) {}

void LOG::Initialise(std::span<const std::string_view> directories) noexcept {
  if (sink_ || initialisations_++ > 0) return;
  start_time_ = std::time(nullptr);
  start_ = std::chrono::steady_clock::now();
  EnsureStandardStreams();
  IgnoreWriteSignals();
  const SignalHold hold;
  name_ = "global";
  screen_threshold_ = Level::kDebug;
  file_threshold_ = Level::kDebug;
  try {
    if (auto temporary = CreateTemporary(directories)) {
      file_fd_ = std::move(temporary->fd);
      file_path_ = std::move(temporary->path);
      file_is_temporary_ = true;
    }
  } catch (const std::bad_alloc&) {
    file_path_.clear();  // there is no log file until one is named
  }
}

void LOG::Release() {
  if (initialisations_ == 0 || --initialisations_ > 0) return;
  EndLine();
  Flush();
  const SignalHold hold;
  file_fd_.Reset();
  file_path_.clear();
  file_is_temporary_ = false;
}

void LOG::Begin(Level level, unsigned allowed_targets) {
  EndLine();
  if (level == Level::kQaWarning) qa_warning_ = true;
  unsigned targets = 0;
  if (level >= screen_threshold_) targets |= kScreen;
  if (level >= file_threshold_ && (file_fd_.IsOpen() || sink_)) targets |= kFile;
  targets &= allowed_targets;
  active_ = targets != 0;
  if (!active_) return;
  // Waiting bytes are written first if they have other targets, or if they leave too little room
  // for a line of usual length, which would otherwise be written in two parts.
  constexpr std::size_t kUsualLine = 1024;
  if (targets != targets_ || size_ > bytes_.size() - kUsualLine) Flush();
  targets_ = targets;
  level_ = level;
  if (!sink_) {
    Append(LogLevelTag(level));
    Append(" : ");
  }
  Append({prefix_.data(), prefix_length_});
}

void LOG::Append(std::string_view text) {
  if (text.empty()) return;
  at_line_start_ = text.back() == '\n';
  while (!text.empty()) {
    std::size_t used = size_.load(std::memory_order_relaxed);
    if (used == bytes_.size()) {
      Flush();
      used = 0;
    }
    const std::size_t count = text.copy(bytes_.data() + used, bytes_.size() - used);
    std::atomic_signal_fence(std::memory_order_release);
    size_.store(used + count, std::memory_order_relaxed);
    text.remove_prefix(count);
  }
  if (at_line_start_ && (batches_ == 0 || level_ > Level::kQaWarning || sink_)) Flush();
}

// The file comes first: a screen that accepts nothing must not keep the line from the file.
void LOG::Flush() noexcept {
  const std::size_t used = size_.load(std::memory_order_relaxed);
  if (used == 0) return;
  const std::string_view bytes(bytes_.data(), used);
  const unsigned targets = targets_;
  if (sink_) {
    Deliver(bytes);
  } else {
    if ((targets & kFile) != 0) WriteQuietly(file_fd_.Get(), bytes);
    targets_ = targets & kScreen;
    if ((targets & kScreen) != 0) WriteToScreen(bytes);
  }
  size_.store(0, std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_release);
  targets_ = targets;
}

void LOG::Deliver(std::string_view bytes) noexcept {
  try {
    const bool whole = bytes.back() == '\n';
    if (whole) bytes.remove_suffix(1);
    if (whole && sink_text_.empty()) {  // the usual case, which allocates nothing
      sink_(level_, bytes);
      return;
    }
    sink_text_ += bytes;
    if (whole) sink_(level_, std::exchange(sink_text_, {}));
  } catch (...) {
    sink_text_.clear();  // dropped, like everything that cannot be written
  }
}

void LOG::WriteToScreen(std::string_view bytes) noexcept {
  if (!SignalHold::IsHeld()) {
    WriteQuietly(STDOUT_FILENO, bytes);
    return;
  }
  try {
    deferred_ += bytes;
  } catch (const std::bad_alloc&) {
    return;  // the file has the bytes
  }
}

void LOG::WriteDeferred() noexcept {
  if (deferred_.empty()) return;
  WriteQuietly(STDOUT_FILENO, deferred_);
  deferred_.clear();
}

void LOG::EndBatch() {
  if (--batches_ == 0) Flush();
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
  if (!Concerns(level)) return;
  std::va_list arguments;
  va_start(arguments, format);
  std::va_list again;
  va_copy(again, arguments);
  std::array<char, 512> usual;
  std::string longer;
  const int length = std::vsnprintf(usual.data(), usual.size(), format, arguments);
  va_end(arguments);
  std::string_view text(usual.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
  if (text.size() >= usual.size()) {
    longer.resize(text.size());
    std::vsnprintf(longer.data(), longer.size() + 1, format, again);
    text = longer;
  }
  va_end(again);

  // The line's end comes after the reset, so that the highlighting stays within the line.
  if (text.ends_with('\n')) text.remove_suffix(1);
  const bool highlight = level > Level::kQaWarning && std::getenv("NO_COLOR") == nullptr;
  Begin(level, highlight ? kFile : kFile | kScreen);
  *this << text << "\n";
  if (!highlight) return;
  Begin(level, kScreen);
  *this << HighlightOn(level) << text << kHighlightOff << "\n";
}

void LOG::Open(const std::string& path) {
  EndLine();
  Flush();
  if (sink_ || (file_fd_.IsOpen() && path == file_path_)) return;
  // A signal finds the log either at its old place or, with all its lines, at the new one.
  const SignalHold hold;
  UniqueFd fd = OpenForWriting(path);
  if (!fd.IsOpen()) {
    Start(Level::kAlarm) << "can not open logging file: " << path << "\n";
    return;
  }
  std::string old_path = path;
  const bool was_temporary = std::exchange(file_is_temporary_, false);
  file_fd_ = std::move(fd);
  file_path_.swap(old_path);
  if (was_temporary) CarryOver(old_path);
}

void LOG::CarryOver(const std::string& temporary_path) {
  const UniqueFd temporary(::open(temporary_path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (!temporary.IsOpen()) {
    Start(Level::kAlarm) << " can not reopen tmp logging file: " << temporary_path << "\n";
    return;
  }
  if (!CopyAll(temporary.Get(), file_fd_.Get())) {
    Start(Level::kAlarm) << "can not copy tmp logging file: " << temporary_path << "\n";
    return;  // the lines are still in the temporary file
  }
  if (::unlink(temporary_path.c_str()) != 0) {
    const int error = errno;
    Print(Level::kAlarm, "can not remove tmp file: %s", temporary_path.c_str());
    Print(Level::kAlarm, "reason: %s", std::strerror(error));
  }
}

void LOG::SetProcessName(std::string_view name) {
  constexpr std::string_view kSeparator = " : ";
  const SignalHold hold;
  prefix_length_ = name.copy(prefix_.data(), prefix_.size() - kSeparator.size());
  prefix_length_ += kSeparator.copy(prefix_.data() + prefix_length_, kSeparator.size());
}

void LOG::WriteFromSignal(Level level, std::initializer_list<std::string_view> pieces) noexcept {
  std::array<char, 1024> line;
  std::size_t used = 0;
  const auto add = [&](std::string_view text) {
    used += text.copy(line.data() + used, line.size() - 1 - used);  // keeps room for the line end
  };
  add(LogLevelTag(level));
  add(" : ");
  add({prefix_.data(), prefix_length_});
  for (const std::string_view piece : pieces) add(piece);
  line[used++] = '\n';

  const std::string_view waiting(bytes_.data(), size_.exchange(0, std::memory_order_relaxed));
  std::atomic_signal_fence(std::memory_order_acquire);
  const auto put = [&](Target target, Level threshold, int fd) {
    if ((targets_ & target) != 0) {
      PutFromSignal(fd, waiting);
      if (!waiting.empty() && waiting.back() != '\n') PutFromSignal(fd, "\n");
    }
    if (level >= threshold) PutFromSignal(fd, {line.data(), used});
  };
  put(kFile, file_threshold_, file_fd_.Get());
  PutFromSignal(STDOUT_FILENO, deferred_);
  put(kScreen, screen_threshold_, STDOUT_FILENO);
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

std::string_view LogLevelTag(LogLevel level) {
  const auto index = static_cast<std::size_t>(level);
  return index < kLevels.size() ? kLevels[index].tag : kLevels[0].tag;
}

LOG& CreateLog() noexcept {
  alignas(LOG) static std::array<std::byte, sizeof(LOG)> storage;
  // From now on, alarms of the layer below go to this log.
  static_cast<void>(
      basic::SetAlarmSink([](std::string_view line) { LogLine(LogLevel::kAlarm, line); }));
  // Writes a line that is still open when the process exits.
  static_cast<void>(std::atexit([] {
    ProcessLog().EndLine();
    ProcessLog().Flush();
  }));
  return *new (storage.data()) LOG;
}

LogScope::LogScope(LOG& log) noexcept : saved_(scoped_log) {
  static_cast<void>(ProcessLog());  // makes sure that alarms of the layer below go to a log
  scoped_log = &log;
}

LogScope::~LogScope() {
  scoped_log->EndLine();
  scoped_log->Flush();
  scoped_log = saved_;
}

}  // namespace quellmark::runtime
