#include "orbit/time_kind.h"

#include <charconv>
#include <cmath>

#include "basic/errors.h"
#include "runtime/log.h"
#include "time/met_scanner.h"
#include "time/utc_scanner.h"

namespace quellmark::orbit {

namespace {

constexpr std::string_view kBlanks = " \t";

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool IsNumber(std::string_view text) {
  double seconds = 0.0;
  return ScanSeconds(text, seconds);
}

bool IsMet(std::string_view text) {
  text = Trimmed(text);
  if (text.empty() || IsNumber(text)) return false;
  const std::size_t after_digits = text.find_first_not_of("0123456789");
  return text[0] == '+' || text[0] == '-' ||
         (after_digits != std::string_view::npos && after_digits > 0 && text[after_digits] == '/');
}

}  // namespace

bool ScanSeconds(std::string_view text, double& seconds) {
  text = Trimmed(text);
  // A plus sign is part of a decimal number here, but not for from_chars.
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  const char* const end = text.data() + text.size();
  const auto [stop, status] = std::from_chars(text.data(), end, seconds);
  return status == std::errc() && stop == end && std::isfinite(seconds);
}

template <>
double TimeKind<double>::Scan(std::string_view text) {
  double seconds = 0.0;
  if (!ScanSeconds(text, seconds)) {
    runtime::Fail<INVALID_PARAMETER_VALUE>("ORBIT: not a number of seconds: ", text, "\n");
  }
  return seconds;
}

template <>
double TimeKind<double>::SecondsAfter(const double& time, const double& reference) {
  return time - reference;
}

template <>
bool TimeKind<double>::IsKindOf(std::string_view text) {
  return IsNumber(text);
}

template <>
UNIVERSAL_TIME TimeKind<UNIVERSAL_TIME>::Scan(std::string_view text) {
  return time::ScanUtc(text);
}

template <>
double TimeKind<UNIVERSAL_TIME>::SecondsAfter(const UNIVERSAL_TIME& time,
                                              const UNIVERSAL_TIME& reference) {
  return (time - reference).Seconds();
}

template <>
bool TimeKind<UNIVERSAL_TIME>::IsKindOf(std::string_view text) {
  return !IsNumber(text) && !IsMet(text);
}

template <>
MISSION_ELAPSED_TIME TimeKind<MISSION_ELAPSED_TIME>::Scan(std::string_view text) {
  return time::ScanMet(text);
}

template <>
double TimeKind<MISSION_ELAPSED_TIME>::SecondsAfter(const MISSION_ELAPSED_TIME& time,
                                                    const MISSION_ELAPSED_TIME& reference) {
  return (time - reference).Seconds();
}

template <>
bool TimeKind<MISSION_ELAPSED_TIME>::IsKindOf(std::string_view text) {
  return IsMet(text);
}

}  // namespace quellmark::orbit
