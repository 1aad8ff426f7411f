// The one process-wide log. It depends on neither pool nor controller, so that both can use it.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "basic/string.h"
#include "basic/unique_fd.h"

namespace quellmark::runtime {

/// Levels of messages and thresholds. The numbers are part of the interface ("lfl", "lsl").
enum class LogLevel : int {
  kTrace = 1,
  kDebug = 2,
  kParameter = 3,
  kInfo = 4,
  kQaWarning = 5,
  kWarning = 6,
  kException = 7,
  kAlarm = 8,
  kSilent = 9,  ///< a threshold above every level
};

/// The level that a text names: by its decimal number or by its name ("ALARM"). Returns kSilent for
/// any other text.
[[nodiscard]] LogLevel ParseLogLevel(std::string_view text);

/// The five characters that start a line of this level.
[[nodiscard]] std::string_view LogLevelTag(LogLevel level);

/// Directories for the temporary log, tried in this order.
inline constexpr std::array<std::string_view, 3> kTemporaryDirectories = {"/tmp/", "/var/tmp/",
                                                                          "./"};

/// BuildDate() is the day on which the build was configured; CompilerName() is for example "gcc
/// 12.2.0".
[[nodiscard]] std::string_view BuildDate();
[[nodiscard]] std::string_view CompilerName();

/// The footer's text for an elapsed time in whole seconds, such as "execution time: 1 hour(s) 1
/// second(s)".
[[nodiscard]] std::string ExecutionTimeText(long long seconds);

}  // namespace quellmark::runtime

/// What the log's header says about the program. The texts must outlive the record.
struct VERSION_RECORD {
  std::string_view full_version;  ///< "name.vVERSION.system..."
  std::string_view revision_date;
  std::string_view version;
  std::string_view title;  ///< one line

  /// The program's name: the full version up to its first '.'.
  [[nodiscard]] std::string_view ProgramName() const {
    return full_version.substr(0, full_version.find('.'));
  }
};

/// Writes messages to the screen and to a file, each with a threshold of its own. Start() begins a
/// message with its level; the pieces that follow continue it and include its line end. What cannot
/// be written (a full disk, a closed screen) is dropped and never ends the program. Only one thread
/// at a time may use a log.
class LOG {
 public:
  using Level = quellmark::runtime::LogLevel;
  /// Receives one message at a time, without its tag and its last line end. Text that follows a
  /// line end within a message arrives as a message of its own. Exceptions of the sink are dropped.
  using Sink = std::function<void(Level level, std::string_view text)>;

  /// A log that stays silent until it is initialised.
  LOG() = default;
  /// A log that passes the messages from `threshold` on to `sink` and writes nothing. Its
  /// Initialise(), Release() and Open() do nothing.
  explicit LOG(Sink sink, Level threshold = Level::kTrace);
  LOG(const LOG&) = delete;
  LOG& operator=(const LOG&) = delete;
  ~LOG() = default;

  /// Calls are counted. The first one names the log "global", sets both thresholds to 2 and opens a
  /// temporary file in the first of `directories` (each ends in "/") that accepts one; if none
  /// does, the log has no file. It also opens standard streams that are closed, and ignores SIGPIPE
  /// and SIGXFSZ, so that writing to a pipe without reader or to a file at its size limit fails
  /// instead of ending the process. Does not throw, whatever is missing.
  void Initialise(std::span<const std::string_view> directories =
                      quellmark::runtime::kTemporaryDirectories) noexcept;
  /// Counts down; the last call closes the file.
  void Release();

  /// Whether a message at `level` reaches screen or file. A suppressed line costs no more than
  /// this.
  [[nodiscard]] bool Passes(Level level) const {
    return level >= screen_threshold_ || level >= file_threshold_;
  }

  /// Starts a message. Ends the line of the message before it if that is still open.
  LOG& Start(Level level) {
    if (Concerns(level)) Begin(level, kScreen | kFile);
    return *this;
  }
  LOG& operator<<(std::string_view text) {
    if (active_) Append(text);
    return *this;
  }
  LOG& operator<<(const char* text) { return *this << std::string_view(text); }
  LOG& operator<<(const std::string& text) { return *this << std::string_view(text); }
  LOG& operator<<(const STRING& text) { return *this << text.View(); }
  LOG& operator<<(char c) { return *this << std::string_view(&c, 1); }
  /// Writes integers in decimal and floating values as "%g".
  template <class Number>
  requires std::is_arithmetic_v<Number> LOG& operator<<(Number number) {
    if (active_) {
      if constexpr (std::is_floating_point_v<Number>) {
        AppendFloating(static_cast<double>(number));
      } else if constexpr (std::is_signed_v<Number>) {
        AppendSigned(static_cast<long long>(number));
      } else {
        AppendUnsigned(static_cast<unsigned long long>(number));
      }
    }
    return *this;
  }

  /// Writes a formatted message. On the screen, levels above kQaWarning are highlighted unless the
  /// environment has NO_COLOR. Adds a line end if the text has none.
  __attribute__((format(printf, 3, 4))) void Print(Level level, const char* format, ...);

  /// Ends the line of the current message if its last piece has not.
  void EndLine();

  /// Writes who runs (name, version, host, start time) and with which configuration file.
  void WriteHeader(const VERSION_RECORD& version, std::string_view configuration_path);
  /// Writes the time elapsed since the first initialisation, and the end time.
  void WriteFooter();

  /// Moves the log to `path` and replaces what stood there. The lines of a temporary log are
  /// carried over, and the temporary file is removed. Does nothing if `path` is already the log's
  /// file. Failures are reported in the log; if `path` cannot be opened, the log stays where it
  /// was.
  void Open(const std::string& path);
  /// The path of the log's file; empty if there is none.
  [[nodiscard]] const std::string& FilePath() const { return file_path_; }

  void SetScreenThreshold(Level level) { screen_threshold_ = level; }
  void SetFileThreshold(Level level) { file_threshold_ = level; }
  [[nodiscard]] Level ScreenThreshold() const { return screen_threshold_; }
  [[nodiscard]] Level FileThreshold() const { return file_threshold_; }
  /// Sets the process name that stands before each message; it is cut after 255 bytes.
  void SetProcessName(std::string_view name);
  /// Whether any message at level kQaWarning was started, even one below both thresholds.
  [[nodiscard]] bool HasQaWarning() const { return qa_warning_; }

  /// From BeginBatch() to EndBatch(), lines up to level kQaWarning are collected and written
  /// together; see LogBatch.
  void BeginBatch() { ++batches_; }
  void EndBatch();
  /// Writes what has been collected so far.
  void Flush() noexcept;

  /// Writes to the screen what was kept back while signals were held; see SignalHold.
  void WriteDeferred() noexcept;

  /// Writes one whole message from within a signal handler; neither allocates nor waits for the
  /// screen. First writes what has been collected, and ends a line that the signal has interrupted.
  void WriteFromSignal(Level level, std::initializer_list<std::string_view> pieces) noexcept;

 private:
  // Where a message goes; a bit set.
  enum Target : unsigned { kScreen = 1, kFile = 2 };

  // Whether a message at this level has any effect: it may be written, or it ends an open line.
  [[nodiscard]] bool Concerns(Level level) const {
    return active_ || Passes(level) || level == Level::kQaWarning;
  }
  void Begin(Level level, unsigned allowed_targets);
  void Append(std::string_view text);
  void AppendSigned(long long number);
  void AppendUnsigned(unsigned long long number);
  void AppendFloating(double number);
  void Deliver(std::string_view bytes) noexcept;
  void WriteToScreen(std::string_view bytes) noexcept;
  void CarryOver(const std::string& temporary_path);

  std::string_view name_;  // the name of the log, such as "global"
  Level screen_threshold_ = Level::kSilent;
  Level file_threshold_ = Level::kSilent;
  quellmark::basic::UniqueFd file_fd_;
  std::string file_path_;  // path of file_fd_
  bool file_is_temporary_ = false;
  bool qa_warning_ = false;
  int initialisations_ = 0;
  std::array<char, 255 + 3> prefix_;  // the process name and " : "
  std::size_t prefix_length_ = 0;
  std::time_t start_time_ = 0;  // of the first initialisation
  std::chrono::steady_clock::time_point start_;

  // The current message.
  bool active_ = false;        // it has at least one target
  bool at_line_start_ = true;  // its last piece has ended its line
  Level level_ = Level::kSilent;
  int batches_ = 0;

  // The bytes that are not yet written, and their targets. A signal handler may read them at any
  // moment: `size_` is set after the bytes are complete, and a target is removed after it has
  // received them.
  std::array<char, 8192> bytes_;
  std::atomic<std::size_t> size_ = 0;
  std::atomic<unsigned> targets_ = 0;
  std::string deferred_;  // waits for the screen until a SignalHold ends

  Sink sink_;
  std::string sink_text_;  // the part of the current message that was flushed
};

namespace quellmark::runtime {

/// Makes the process-wide log; only ProcessLog() calls it.
[[nodiscard]] LOG& CreateLog() noexcept;

/// The process-wide log. It is never destroyed, so that everything can report until the very end.
[[nodiscard]] inline LOG& ProcessLog() {
  static LOG& log = CreateLog();
  return log;
}

/// Only LogScope sets it.
inline constinit thread_local LOG* scoped_log = nullptr;

/// The log that this thread reports to: the process-wide one unless a LogScope says otherwise.
[[nodiscard]] inline LOG& Log() { return scoped_log != nullptr ? *scoped_log : ProcessLog(); }

/// During its lifetime, `log` is the Log() of the thread that made it. Scopes may be nested.
class LogScope {
 public:
  explicit LogScope(LOG& log) noexcept;
  LogScope(const LogScope&) = delete;
  LogScope& operator=(const LogScope&) = delete;
  ~LogScope();

 private:
  LOG* saved_;
};

/// During its lifetime, lines up to level kQaWarning are collected. They are written together at
/// its end, or earlier before a line of a higher level. Use it for a group of lines without reading
/// or waiting in between, because a kill in the middle loses them.
class LogBatch {
 public:
  explicit LogBatch(LOG& log = Log()) : log_(log) { log_.BeginBatch(); }
  LogBatch(const LogBatch&) = delete;
  LogBatch& operator=(const LogBatch&) = delete;
  ~LogBatch() { log_.EndBatch(); }

 private:
  LOG& log_;
};

/// Writes one message of several pieces and ends its line if the last piece has not.
template <class... Pieces>
void LogLine(LogLevel level, const Pieces&... pieces) {
  LOG& log = Log();
  if (!log.Passes(level) && level != LogLevel::kQaWarning) return;
  log.Start(level);
  (log << ... << pieces);
  log.EndLine();
}

/// Writes the message at level kAlarm, then throws an `Error`. The order is fixed in this one
/// place.
template <class Error, class... Pieces>
[[noreturn]] void Fail(const Pieces&... pieces) {
  LogLine(LogLevel::kAlarm, pieces...);
  throw Error();
}

}  // namespace quellmark::runtime
