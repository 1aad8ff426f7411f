#include "time/universal_time.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

#include "runtime/log.h"
#include "time/calendar.h"
#include "time/leap_seconds.h"

using quellmark::time::kMicrosecondsPerDay;
using quellmark::time::LeapSeconds;
using quellmark::time::MonthName;
using quellmark::time::TimeOfDay_ms;

namespace {

// From here a plain number of seconds counts.
constexpr UNIVERSAL_TIME kEpoch = {1980, 1, 6, 0, 0, 0, 0, 0};

// Room for eight fields of the longest integer.
using TextBuffer = std::array<char, 128>;

}  // namespace

UNIVERSAL_TIME UNIVERSAL_TIME::FromSeconds(double seconds) {
  return kEpoch + DURATION::FromSeconds(seconds);
}

STRING UNIVERSAL_TIME::LongText() const {
  TextBuffer text;
  std::snprintf(text.data(), text.size(), "%.2d-%3s-%.4d/%.2d:%.2d:%.2d.%.3d%.3d", day,
                MonthName(month).data(), year, hour, minute, second, millisecond, microsecond);
  return text.data();
}

STRING UNIVERSAL_TIME::IsoText(int fraction_digits, bool zulu) const {
  TextBuffer text;
  const int length =
      std::snprintf(text.data(), text.size(), "%d-%02d-%02dT%02d:%02d:%02d.%03d%03d", year, month,
                    day, hour, minute, second, millisecond, microsecond);
  const int digits = std::clamp(fraction_digits, 0, 6);
  const int cut_off = digits == 0 ? 7 : 6 - digits;  // without digits the point goes too
  std::string cut(text.data(), static_cast<std::size_t>(length - cut_off));
  if (zulu) cut += 'Z';
  return cut;
}

UNIVERSAL_TIME::operator double() const { throw "can not cast from UTC to double"; }

std::weak_ordering operator<=>(const UNIVERSAL_TIME& a, const UNIVERSAL_TIME& b) {
  if (a.year != b.year) return a.year <=> b.year;
  const auto day_of_year = [](const UNIVERSAL_TIME& time) {
    return quellmark::time::DayOfYear(time.year, time.month, time.day);
  };
  if (const auto order = day_of_year(a) <=> day_of_year(b); order != 0) return order;
  const auto time_of_day = [](const UNIVERSAL_TIME& time) {
    return TimeOfDay_ms(time.hour, time.minute, time.second, time.millisecond);
  };
  if (const auto order = time_of_day(a) <=> time_of_day(b); order != 0) return order;
  return a.microsecond <=> b.microsecond;
}

DURATION operator-(const UNIVERSAL_TIME& a, const UNIVERSAL_TIME& b) {
  return DURATION::FromMicroseconds(LeapSeconds().Elapsed_us(a) - LeapSeconds().Elapsed_us(b));
}

// The same as counting on in calendar fields, counting the seconds inserted in between and stepping
// back through them one by one; on the even scale it holds inside inserted seconds as well.
UNIVERSAL_TIME operator+(const UNIVERSAL_TIME& time, const DURATION& duration) {
  if (duration == DURATION()) return time;
  const long long start_us = LeapSeconds().Elapsed_us(time);
  constexpr std::int32_t kLongestSum_days = 50'000'000;
  if (std::abs(duration.Days()) >= kLongestSum_days) {
    quellmark::time::FailDurationRange(duration.Days(), duration.Milliseconds(),
                                       duration.Microseconds());
  }
  const UNIVERSAL_TIME sum =
      LeapSeconds().TimeOfElapsed(start_us + duration.Days() * kMicrosecondsPerDay +
                                  duration.Milliseconds() * 1000LL + duration.Microseconds());
  static_cast<void>(LeapSeconds().Count(time, sum));  // for its line in the log
  return sum;
}

namespace quellmark::time {

STRING TextOfSum(const UNIVERSAL_TIME& time, const DURATION& duration) {
  return (time + duration).LongText();
}

STRING TextOfSeconds(double seconds) { return UNIVERSAL_TIME::FromSeconds(seconds).LongText(); }

long long TimeOfDay_ms(long long hour, long long minute, long long second, long long millisecond) {
  // Kept exactly, do not correct: an overflowing minute field of 60 counts as 59 minutes. The
  // comparisons with the leap second table rely on it.
  const long long minute_ms = minute == 60 ? 3'540'000 : minute * 60'000;
  return hour * 3'600'000 + second * 1000 + millisecond + minute_ms;
}

}  // namespace quellmark::time
