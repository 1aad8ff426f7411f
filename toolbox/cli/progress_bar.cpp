#include "toolbox/cli/progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace quellmark::cli {

namespace {

// Returns a time like "1:02:03" or "2:03".
std::string Clock(double seconds) {
  const long long whole = std::llround(std::min(seconds, 1e9));
  char text[40];
  if (whole >= 3600) {
    std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60,
                  whole % 60);
  } else {
    std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
  }
  return text;
}

std::string Number(double value) {
  char text[40];
  std::snprintf(text, sizeof text, value < 10.0 ? "%.1f" : "%.0f", value);
  return text;
}

}  // namespace

ProgressBar::ProgressBar(std::string unit, Elsewhere elsewhere)
    : unit_(std::move(unit)), elsewhere_(elsewhere), is_terminal_(::isatty(STDERR_FILENO) == 1) {}

void ProgressBar::Show(std::size_t done, std::size_t total, std::size_t skipped, double seconds,
                       const std::string& note) {
  if (!is_terminal_ && elsewhere_ == Elsewhere::kNothing) return;
  const double share = total == 0 ? 1.0 : static_cast<double>(done) / static_cast<double>(total);
  const double rate =
      seconds > 0.0 ? static_cast<double>(done - std::min(skipped, done)) / seconds : 0.0;
  const auto percent = static_cast<std::size_t>(share * 100.0);
  std::string numbers = std::to_string(percent) + " %  " + std::to_string(done) + " of " +
                        std::to_string(total) + ' ' + unit_ + "  " + Number(rate) + "/s";
  if (rate > 0.0 && done < total) {
    numbers += "  " + Clock(static_cast<double>(total - done) / rate) + " left";
  }
  if (!note.empty()) numbers += "  " + note;

  if (!is_terminal_) {
    constexpr double kShort_s = 2.0;  // short runs need no lines
    if (percent / 10 <= tenths_ || seconds < kShort_s) return;
    tenths_ = percent / 10;
    std::fprintf(stderr, "%s\n", numbers.c_str());
    return;
  }
  constexpr double kRedraw_s = 0.1;
  if (seconds < shown_at_s_ + kRedraw_s && done < total) return;
  shown_at_s_ = seconds;
  is_open_ = true;
  constexpr std::size_t kWidth = 24;
  const auto filled = static_cast<std::size_t>(share * static_cast<double>(kWidth));
  const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
  std::fprintf(stderr, "\r[%s] %s\033[K", bar.c_str(), numbers.c_str());
  std::fflush(stderr);
}

void ProgressBar::End() {
  if (is_open_) std::fprintf(stderr, "\n");
  is_open_ = false;
}

}  // namespace quellmark::cli
