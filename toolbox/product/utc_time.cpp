#include "toolbox/product/utc_time.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace quellmark::product {

namespace {

using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr sys_days kOrigin{std::chrono::year{2000} / 1 / 1};

constexpr std::int64_t SecondsOfMidnight(const year_month_day& day) {
  return (sys_days(day) - kOrigin).count() * kSecondsPerDay;
}

constexpr year_month_day Day(int year, unsigned month, unsigned day) {
  return std::chrono::year{year} / static_cast<int>(month) / static_cast<int>(day);
}

// Earlier midnights do not matter, because the first of these satellites was launched in 2006.
constexpr std::array kMidnightsOfInsertedSeconds = {
    SecondsOfMidnight(Day(2006, 1, 1)), SecondsOfMidnight(Day(2009, 1, 1)),
    SecondsOfMidnight(Day(2012, 7, 1)), SecondsOfMidnight(Day(2012, 7, 2)),
    SecondsOfMidnight(Day(2015, 7, 1)), SecondsOfMidnight(Day(2015, 7, 2)),
    SecondsOfMidnight(Day(2017, 1, 1)),
};

UtcTime Normalised(std::int64_t seconds, double fraction) {
  const double whole = std::floor(fraction);
  UtcTime time{seconds + static_cast<std::int64_t>(whole), fraction - whole};
  if (time.fraction >= 1.0) time = {time.seconds + 1, 0.0};  // -1e-17 - floor(-1e-17) is 1
  return time;
}

// Returns the number whose digits fill `text` from `at` on, or nothing if there is another
// character.
std::optional<int> Number(std::string_view text, std::size_t at, std::size_t digits) {
  int value = 0;
  if (text.size() < at + digits) return {};
  for (const char c : text.substr(at, digits)) {
    if (c < '0' || c > '9') return {};
    value = 10 * value + (c - '0');
  }
  return value;
}

// Converts the digits after the point, which are the whole of `text`.
std::optional<double> Fraction(std::string_view text) {
  if (text.empty()) return 0.0;
  if (text.size() < 2 || text[0] != '.' ||
      text.find_first_not_of("0123456789", 1) != std::string_view::npos) {
    return {};
  }
  double value = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return value;
}

}  // namespace

std::optional<UtcTime> ParseUtc(std::string_view text) {
  constexpr std::string_view kForm = "dddd-dd-ddTdd:dd:dd";
  if (text.size() < kForm.size()) return {};
  for (const std::size_t at : {4U, 7U, 13U, 16U}) {
    if (text[at] != kForm[at]) return {};
  }
  if (text[10] != 'T' && text[10] != ' ') return {};
  if (text.ends_with('Z')) text.remove_suffix(1);

  const auto year = Number(text, 0, 4), month = Number(text, 5, 2), day = Number(text, 8, 2);
  const auto hour = Number(text, 11, 2), minute = Number(text, 14, 2), second = Number(text, 17, 2);
  const auto fraction = Fraction(text.substr(std::min(text.size(), kForm.size())));
  if (!year || !month || !day || !hour || !minute || !second || !fraction) return {};
  const year_month_day date =
      Day(*year, static_cast<unsigned>(*month), static_cast<unsigned>(*day));
  // A leap second, 60, is read as the first second of the next day.
  if (!date.ok() || *year < 1 || *hour > 23 || *minute > 59 || *second > 60) return {};
  return Normalised(SecondsOfMidnight(date) + 3600L * *hour + 60L * *minute + *second, *fraction);
}

std::string UtcText(const UtcTime& time) {
  const UtcTime rounded = RoundedToMicrosecond(time);
  const std::int64_t day =
      (rounded.seconds - (rounded.seconds < 0 ? kSecondsPerDay - 1 : 0)) / kSecondsPerDay;
  const auto second = static_cast<int>(rounded.seconds - day * kSecondsPerDay);
  const year_month_day date(kOrigin + std::chrono::days(day));
  std::array<char, 64> text{};
  static_cast<void>(
      std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%06dZ",
                    static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                    static_cast<unsigned>(date.day()), second / 3600, second / 60 % 60, second % 60,
                    static_cast<int>(std::lround(rounded.fraction * 1e6))));
  return text.data();
}

UtcTime Shifted(const UtcTime& time, double seconds) {
  const double whole = std::floor(seconds);
  return Normalised(time.seconds + static_cast<std::int64_t>(whole),
                    time.fraction + (seconds - whole));
}

double SecondsBetween(const UtcTime& start, const UtcTime& end) {
  return static_cast<double>(end.seconds - start.seconds) + (end.fraction - start.fraction);
}

UtcTime RoundedToMicrosecond(const UtcTime& time) {
  const long microseconds = std::lround(time.fraction * 1e6);
  if (microseconds == 1'000'000) return {time.seconds + 1, 0.0};
  return {time.seconds, static_cast<double>(microseconds) / 1e6};
}

UtcTime WholeMinute(const UtcTime& time) {
  const std::int64_t second = (time.seconds % 60 + 60) % 60;
  return {time.seconds - second, 0.0};
}

std::optional<UtcTime> InsertedSecondBetween(const UtcTime& start, const UtcTime& end) {
  for (const std::int64_t midnight : kMidnightsOfInsertedSeconds) {
    if (start.seconds < midnight && midnight <= end.seconds) return UtcTime{midnight, 0.0};
  }
  return {};
}

}  // namespace quellmark::product
