// The one process-wide log. It knows neither pool nor controller, so that everything may report.
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

/// Levels of messages and thresholds; the numbers are part of the interface ("lfl", "lsl").
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

/// The level that a text means: a decimal number is the level's number, everything else its name
/// ("ALARM"); what is neither gives kSilent.
[[nodiscard]] LogLevel ParseLogLevel(std::string_view text);

/// The five characters that start a line of this level.
[[nodiscard]] std::string_view LogLevelTag(LogLevel level);

/// The directories that are tried in turn for the temporary log.
inline constexpr std::array<std::string_view, 3> kTemporaryDirectories = {"/tmp/", "/var/tmp/",
                                                                          "./"};

/// The day of the configuration, and what has compiled this: "gcc 12.2.0".
[[nodiscard]] std::string_view BuildDate();
[[nodiscard]] std::string_view CompilerName();

/// The footer's words for an elapsed time in whole seconds: "execution time: 1 hour(s) 1
/// second(s)".
[[nodiscard]] std::string ExecutionTimeText(long long seconds);

}  // namespace quellmark::runtime

/// What the log's header says about the program; views of texts that outlive the record.
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

/// Writes messages to the screen and to a file, each with a threshold of its own. A message is
/// started with its level; the pieces that follow go to the same line and carry their own line end.
/// What cannot be written (a full disk, a closed screen) is dropped and never ends the program.
/// One thread at a time may use a log.
class LOG {
 public:
  using Level = quellmark::runtime::LogLevel;
  /// Takes one message at a time, without its tag and its last line end; what is appended to a
  /// message after a line end comes as another one. What it throws is dropped.
  using Sink = std::function<void(Level level, std::string_view text)>;

  /// A log that stays silent until it is initialised.
  LOG() = default;
  /// A log that hands the messages from `threshold` on to `sink` and writes nothing. Initialise(),
  /// Release() and Open() do nothing.
  explicit LOG(Sink sink, Level threshold = Level::kTrace);
  LOG(const LOG&) = delete;
  LOG& operator=(const LOG&) = delete;
  ~LOG() = default;

  /// Counted. The first one names the log "global", sets both thresholds to 2 and opens a temporary
  /// file in the first of `directories` (each ends in "/") that allows it; without any the log has
  /// no file. It also makes sure that the standard streams are open, and that a write to a pipe
  /// without reader or to a file at its size limit fails instead of ending the process (SIGPIPE and
  /// SIGXFSZ are ignored). Does not throw, whatever is missing.
  void Initialise(std::span<const std::string_view> directories =
                      quellmark::runtime::kTemporaryDirectories) noexcept;
  /// Counts down; the last one closes the file.
  void Release();

  /// Whether a message at `level` reaches screen or file: what a suppressed line costs.
  [[nodiscard]] bool Passes(Level level) const {
    return level >= screen_threshold_ || level >= file_threshold_;
  }

  /// Starts a message; ends the line of the message before it if that was left open.
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
  /// Integers in decimal, floating values as "%g".
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

  /// Formatted message; on the screen, levels above kQaWarning are highlighted unless the
  /// environment has NO_COLOR. The code ends the line if the text has not.
  __attribute__((format(printf, 3, 4))) void Print(Level level, const char* format, ...);

  /// Ends the line of the message under way if its last piece has not.
  void EndLine();

  /// Who runs (name, version, host, start time) and with which configuration file.
  void WriteHeader(const VERSION_RECORD& version, std::string_view configuration_path);
  /// How long it took since the first initialisation, and the end time.
  void WriteFooter();

  /// Moves the log to `path`: what stood there is replaced, the lines of a temporary log are
  /// carried over and the temporary file goes. Nothing happens if `path` is the log's file already.
  /// Failures are reported in the log, which then stays where it was.
  void Open(const std::string& path);
  /// The path of the log's file; empty without one.
  [[nodiscard]] const std::string& FilePath() const { return file_path_; }

  void SetScreenThreshold(Level level) { screen_threshold_ = level; }
  void SetFileThreshold(Level level) { file_threshold_ = level; }
  [[nodiscard]] Level ScreenThreshold() const { return screen_threshold_; }
  [[nodiscard]] Level FileThreshold() const { return file_threshold_; }
  /// The process name that stands before each message, cut after 255 bytes.
  void SetProcessName(std::string_view name);
  /// Whether a message at level kQaWarning was started, passed or not.
  [[nodiscard]] bool HasQaWarning() const { return qa_warning_; }

  /// Between the two, lines up to level kQaWarning are collected and written together; see
  /// LogBatch.
  void BeginBatch() { ++batches_; }
  void EndBatch();
  /// Writes what was collected so far.
  void Flush() noexcept;

  /// Writes what the screen was not given while signals were held; see SignalHold.
  void WriteDeferred() noexcept;

  /// One whole message from within a signal handler: neither allocates nor waits for the screen.
  /// What was collected is written first, and the line that the signal has interrupted is ended.
  void WriteFromSignal(Level level, std::initializer_list<std::string_view> pieces) noexcept;

 private:
  // Where a message goes: a set of these.
  enum Target : unsigned { kScreen = 1, kFile = 2 };

  // Whether a message at this level changes anything: it may be written, or it ends an open line.
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

  std::string_view name_;  // the log's own
  Level screen_threshold_ = Level::kSilent;
  Level file_threshold_ = Level::kSilent;
  quellmark::basic::UniqueFd file_fd_;
  std::string file_path_;  // of file_fd_
  bool file_is_temporary_ = false;
  bool qa_warning_ = false;
  int initialisations_ = 0;
  std::array<char, 255 + 3> prefix_;  // the process name and " : "
  std::size_t prefix_length_ = 0;
  std::time_t start_time_ = 0;  // of the first initialisation
  std::chrono::steady_clock::time_point start_;

  // The message under way.
  bool active_ = false;        // it goes anywhere at all
  bool at_line_start_ = true;  // its last piece has ended its line
  Level level_ = Level::kSilent;
  int batches_ = 0;

  // The bytes that are not yet written and where they go. A signal handler may look at them at any
  // moment: `size_` counts whole bytes only and is set last, a target goes once it has its bytes.
  std::array<char, 8192> bytes_;
  std::atomic<std::size_t> size_ = 0;
  std::atomic<unsigned> targets_ = 0;
  std::string deferred_;  // for the screen, after a SignalHold

  Sink sink_;
  std::string sink_text_;  // the message under way, as far as it was flushed
};

namespace quellmark::runtime {

/// Makes the process-wide log; for ProcessLog() alone.
[[nodiscard]] LOG& CreateLog() noexcept;

/// The process-wide log. It is never destroyed, so that everything may report until the very end.
[[nodiscard]] inline LOG& ProcessLog() {
  static LOG& log = CreateLog();
  return log;
}

/// Set by LogScope alone.
inline constinit thread_local LOG* scoped_log = nullptr;

/// The log that this thread reports to: the process-wide one unless a LogScope says otherwise.
[[nodiscard]] inline LOG& Log() { return scoped_log != nullptr ? *scoped_log : ProcessLog(); }

/// While it lives, `log` is the Log() of the thread that made it. Scopes may be nested.
class LogScope {
 public:
  explicit LogScope(LOG& log) noexcept;
  LogScope(const LogScope&) = delete;
  LogScope& operator=(const LogScope&) = delete;
  ~LogScope();

 private:
  LOG* saved_;
};

/// While it lives, lines up to level kQaWarning are written together, at the latest at its end or
/// before the first line above. Meant for a group of lines without reading or waiting in between: a
/// kill in the middle would lose them.
class LogBatch {
 public:
  explicit LogBatch(LOG& log = Log()) : log_(log) { log_.BeginBatch(); }
  LogBatch(const LogBatch&) = delete;
  LogBatch& operator=(const LogBatch&) = delete;
  ~LogBatch() { log_.EndBatch(); }

 private:
  LOG& log_;
};

/// One message of several pieces; ends the line if the last piece has not.
template <class... Pieces>
void LogLine(LogLevel level, const Pieces&... pieces) {
  LOG& log = Log();
  if (!log.Passes(level) && level != LogLevel::kQaWarning) return;
  log.Start(level);
  (log << ... << pieces);
  log.EndLine();
}

/// Writes the message at level kAlarm, then throws an `Error`: the one place that fixes this order.
template <class Error, class... Pieces>
[[noreturn]] void Fail(const Pieces&... pieces) {
  LogLine(LogLevel::kAlarm, pieces...);
  throw Error();
}

}  // namespace quellmark::runtime
