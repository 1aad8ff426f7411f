// Shows the progress of a long run on standard error.
#pragma once

#include <cstddef>
#include <string>

namespace quellmark::cli {

/// On a terminal, draws a bar with rate and remaining time in one line, at most ten times a second.
class ProgressBar {
 public:
  /// What is printed where there is no terminal.
  enum class Elsewhere {
    kNothing,
    kLines,  ///< a line for each 10 %, but none in the first two seconds
  };

  /// `unit` is the plural of the counted things, such as "scenes".
  explicit ProgressBar(std::string unit, Elsewhere elsewhere = Elsewhere::kNothing);

  /// `skipped` of the `done` things took no time, so they do not count for the rate. `note` is
  /// shown after the numbers.
  void Show(std::size_t done, std::size_t total, std::size_t skipped, double seconds,
            const std::string& note = "");
  /// Ends the line of the bar.
  void End();

 private:
  std::string unit_;
  Elsewhere elsewhere_;
  bool is_terminal_;
  double shown_at_s_ = -1.0;
  std::size_t tenths_ = 0;
  bool is_open_ = false;
};

}  // namespace quellmark::cli
