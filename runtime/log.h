// The one process-wide log. It knows neither pool nor controller, so that everything may report.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <ctime>
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

/// The directories that are tried in turn for the temporary log.
inline constexpr std::array<std::string_view, 3> kTemporaryDirectories = {"/tmp/", "/var/tmp/",
                                                                          "./"};

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
/// What can not be written (a full disk, a closed screen) is dropped and never ends the program.
class LOG {
 public:
  using Level = quellmark::runtime::LogLevel;

  /// What a scope may take over and give back; see SwapState().
  struct State {
    quellmark::basic::UniqueFd file_fd;
    Level screen_threshold = Level::kDebug;
    Level file_threshold = Level::kDebug;
    std::string prefix;     ///< the process name and " : "
    std::string name;       ///< the log's own name
    std::string file_path;  ///< of file_fd
    bool file_is_temporary = false;
    bool qa_warning = false;  ///< a message at level kQaWarning was started
    int initialisations = 0;
  };

  LOG() = default;
  LOG(const LOG&) = delete;
  LOG& operator=(const LOG&) = delete;
  ~LOG() = default;

  /// Counted. The first one names the log "global", sets both thresholds to 2 and opens a temporary
  /// file in the first of `directories` (each ends in "/") that allows it; without any the log has
  /// no file. It also makes sure that the standard streams are open.
  void Initialise(
      std::span<const std::string_view> directories = quellmark::runtime::kTemporaryDirectories);
  /// Counts down; the last one closes the file.
  void Release();

  /// Whether a message at `level` reaches screen or file: what a suppressed line costs.
  [[nodiscard]] bool Passes(Level level) const {
    return level >= state_.screen_threshold || level >= state_.file_threshold;
  }

  /// Starts a message; ends the line of the message before it if that was left open.
  LOG& Start(Level level) {
    if (Concerns(level)) Begin(level);
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
#if defined(__GNUC__) && !defined(__clang__)
  // Inlined where that can be done, so that a suppressed message does not spill its arguments.
  __attribute__((always_inline, format(printf, 3, 4))) void Print(Level level, const char* format,
                                                                  ...) {
    if (Concerns(level)) PrintAlways(level, format, __builtin_va_arg_pack());
  }
  void PrintAlways(Level level, const char* format, ...);
#else
  __attribute__((format(printf, 3, 4))) void Print(Level level, const char* format, ...);
#endif

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
  [[nodiscard]] const std::string& FilePath() const { return state_.file_path; }

  void SetScreenThreshold(Level level) { state_.screen_threshold = level; }
  void SetFileThreshold(Level level) { state_.file_threshold = level; }
  [[nodiscard]] Level ScreenThreshold() const { return state_.screen_threshold; }
  [[nodiscard]] Level FileThreshold() const { return state_.file_threshold; }
  /// The process name that stands before each message.
  void SetProcessName(std::string_view name);
  /// Whether a message at level kQaWarning was started, passed or not.
  [[nodiscard]] bool HasQaWarning() const { return state_.qa_warning; }
  /// Installs another file, thresholds and prefix and gives back what was there before.
  [[nodiscard]] State SwapState(State state);

  /// One whole message from within a signal handler: neither allocates nor waits for the screen.
  /// The line that the signal has interrupted is ended first.
  void WriteFromSignal(Level level, std::initializer_list<std::string_view> pieces) noexcept;

 private:
  // The bytes of the line under way that are not yet written. A signal handler may look at them at
  // any moment: `size` counts whole bytes only and is set last.
  struct Sink {
    bool active = false;  // the message under way goes here
    std::array<char, 4096> bytes{};
    std::atomic<std::size_t> size = 0;

    void Append(std::string_view text, int fd);
    void Flush(int fd) noexcept;
    void WriteFromSignal(std::string_view line, int fd) noexcept;
  };

  // Whether a message at this level changes anything: it may be written, or it ends an open line.
  [[nodiscard]] bool Concerns(Level level) const {
    return active_ || Passes(level) || level == Level::kQaWarning;
  }
  void Begin(Level level);
  void Append(std::string_view text);
  void AppendSigned(long long number);
  void AppendUnsigned(unsigned long long number);
  void AppendFloating(double number);
  void CarryOver(const std::string& temporary_path);

  State state_;
  Sink screen_;
  Sink file_;
  bool active_ = false;         // the message under way goes anywhere at all
  bool at_line_start_ = true;   // the last piece ended its line
  std::time_t start_time_ = 0;  // of the first initialisation
  std::chrono::steady_clock::time_point start_;
};

namespace quellmark::runtime {

/// Makes the one log; for Log() alone.
[[nodiscard]] LOG& CreateLog();

/// The process-wide log. It is never destroyed, so that everything may report until the very end.
[[nodiscard]] inline LOG& Log() {
  static LOG& log = CreateLog();
  return log;
}

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
