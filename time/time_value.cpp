#include "time/time_value.h"

#include <charconv>
#include <cmath>
#include <optional>

#include "time/met_scanner.h"
#include "time/utc_scanner.h"

namespace quellmark::time {

namespace {

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kWhite = " \t";
  const std::size_t begin = text.find_first_not_of(kWhite);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kWhite) - begin + 1);
}

std::optional<double> FiniteNumber(std::string_view text) {
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  double number = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) {
    return std::nullopt;
  }
  return number;
}

// Only a mission elapsed time may start with a sign or have a "/" after its first number. This
// check keeps the complaints of the wrong scanner out of the log.
bool LooksLikeMet(std::string_view text) {
  if (text.starts_with('+') || text.starts_with('-')) return true;
  const std::size_t after_number = text.find_first_not_of("0123456789 \t");
  return after_number != std::string_view::npos && text[after_number] == '/';
}

}  // namespace

TimeValue ScanTime(std::string_view text) {
  const std::string_view trimmed = Trimmed(text);
  if (const auto number = FiniteNumber(trimmed)) return *number;
  if (LooksLikeMet(trimmed)) return ScanMet(text);
  return ScanUtc(text);
}

}  // namespace quellmark::time
