// The progress of a long run, on standard error.
#pragma once

#include <cstddef>
#include <string>

namespace quellmark::cli {

/// On a terminal a bar with rate and time left in one line, drawn at most ten times a second;
/// elsewhere a line for each 10 %, once it has taken two seconds.
class ProgressBar {
 public:
  /// `unit` is what is counted, such as "scenes".
  explicit ProgressBar(std::string unit);

  /// `skipped` of `done` took no time. `note` stands behind the numbers.
  void Show(std::size_t done, std::size_t total, std::size_t skipped, double seconds,
            const std::string& note = "");
  /// Ends the line of the bar.
  void End();

 private:
  std::string unit_;
  bool is_terminal_;
  double shown_at_s_ = -1.0;
  std::size_t tenths_ = 0;
  bool is_open_ = false;
};

}  // namespace quellmark::cli
