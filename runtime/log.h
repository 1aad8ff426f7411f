// The one process-wide log. It knows neither pool nor controller, so that everything may report.
#pragma once

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

}  // namespace quellmark::runtime

/// Writes messages to the screen and to a file, each with a threshold of its own. A message is
/// started with its level; the pieces that follow go to the same line and carry their own line end.
class LOG {
 public:
  using Level = quellmark::runtime::LogLevel;

  /// What a scope may take over and give back; see SwapState().
  struct State {
    quellmark::basic::UniqueFd file_fd;
    Level screen_threshold = Level::kDebug;
    Level file_threshold = Level::kDebug;
    std::string prefix;
  };

  LOG();
  LOG(const LOG&) = delete;
  LOG& operator=(const LOG&) = delete;
  ~LOG();

  /// Whether a message at `level` reaches screen or file: what a suppressed line costs.
  [[nodiscard]] bool Passes(Level level) const {
    return level >= screen_.threshold || level >= file_.threshold;
  }

  /// Starts a message; ends the line of the message before it if that was left open.
  LOG& Start(Level level);
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
    requires std::is_arithmetic_v<Number>
  LOG& operator<<(Number number) {
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

  /// Formatted message; on the screen, levels above kQaWarning are highlighted. The code ends the
  /// line if the text has not.
  void Print(Level level, const char* format, ...) __attribute__((format(printf, 3, 4)));

  /// Ends the line of the message under way if its last piece has not.
  void EndLine();

  /// Moves the log to `path` (what stood there is replaced); reports a failure in the log.
  void Open(const std::string& path);
  void SetScreenThreshold(Level level) { screen_.threshold = level; }
  void SetFileThreshold(Level level) { file_.threshold = level; }
  [[nodiscard]] Level ScreenThreshold() const { return screen_.threshold; }
  [[nodiscard]] Level FileThreshold() const { return file_.threshold; }
  /// The process name that stands before each message.
  void SetProcessName(std::string_view name);
  /// Whether a message at level kQaWarning was written, passed or not.
  [[nodiscard]] bool HasQaWarning() const { return qa_warning_; }
  /// Installs another file, thresholds and prefix and gives back what was there before.
  [[nodiscard]] State SwapState(State state);

 private:
  struct Sink {
    int fd = -1;
    Level threshold = Level::kDebug;
    bool active = false;   ///< the message under way goes here
    std::string pending;   ///< bytes of the line under way, not yet written
    void Append(std::string_view text);
    void Flush() noexcept;
  };

  void Append(std::string_view text);
  void AppendSigned(long long number);
  void AppendUnsigned(unsigned long long number);
  void AppendFloating(double number);

  Sink screen_;
  Sink file_;
  quellmark::basic::UniqueFd file_fd_;  ///< owns file_.fd
  std::string prefix_;
  bool active_ = false;         ///< the message under way goes anywhere at all
  bool at_line_start_ = true;   ///< the last piece ended its line
  bool qa_warning_ = false;
};

namespace quellmark::runtime {

/// The process-wide log.
[[nodiscard]] LOG& Log();

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
