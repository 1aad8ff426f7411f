#include "time/universal_time.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

#include "runtime/log.h"
#include "time/calendar.h"
#include "time/leap_seconds.h"

using namespace quellmark::time;

namespace {

// Epoch of plain second counts.
constexpr UNIVERSAL_TIME kEpoch = {1980, 1, 6, 0, 0, 0, 0, 0};

// Room for eight fields of the longest integer.
using TextBuffer = std::array<char, 128>;

// Twice this number of days, in microseconds, still fits into a long long.
constexpr long long kDayNumberLimit = 50'000'000;

// Microseconds from 1 January of year 0 to a calendar reading, if every day has 86,400 s.
long long Reading_us(const UNIVERSAL_TIME& time, long long time_of_day_ms) {
  const long long day_number = DayNumber(time.year, time.month, time.day);
  if (time.year < 0 || std::llabs(day_number) + std::llabs(time_of_day_ms / kMillisecondsPerDay) >=
                           kDayNumberLimit) {
    FailDurationRange(day_number, time_of_day_ms, time.microsecond);
  }
  return day_number * kMicrosecondsPerDay + time_of_day_ms * kMicrosecondsPerMillisecond +
         time.microsecond;
}

// The inverse of Reading_us(); carries into every field.
UNIVERSAL_TIME TimeOfReading(long long reading_us) {
  const auto [days, of_day_us] = std::lldiv(reading_us, kMicrosecondsPerDay);
  if (reading_us < 0 || days > kDayNumberLimit) {
    FailDurationRange(days, of_day_us / kMicrosecondsPerMillisecond,
                      of_day_us % kMicrosecondsPerMillisecond);
  }
  const CalendarDate date = DateOfDayNumber(days);
  const auto field = [of_day_us = of_day_us](long long size_us, long long modulus) {
    return static_cast<std::int32_t>(of_day_us / size_us % modulus);
  };
  return {date.year,
          date.month,
          date.day,
          field(kMicrosecondsPerHour, 24),
          field(60 * kMicrosecondsPerSecond, 60),
          field(kMicrosecondsPerSecond, 60),
          field(kMicrosecondsPerMillisecond, 1000),
          field(1, 1000)};
}

// Microseconds elapsed since 1 January of year 0. A second inserted at the end of this very day is
// not added: the time of day itself then runs past 24 hours.
long long Elapsed_us(const UNIVERSAL_TIME& time) {
  return Reading_us(time, TimeOfDay_ms(time.hour, time.minute, time.second, time.millisecond)) +
         LeapSeconds().InsertedBefore(DayNumber(time.year, time.month, time.day)) *
             kMicrosecondsPerSecond;
}

bool CanFollowInsertedSecond(const UNIVERSAL_TIME& time) {
  const bool month = time.month < 2 || time.month == 6 || time.month == 7 || time.month >= 12;
  const bool day = time.day < 2 || time.day > 29;
  const bool hour = time.hour == 23 || time.hour == 0;
  const bool minute = time.minute == 59 || time.minute == 0;
  return month && day && hour && minute;
}

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
  std::snprintf(text.data(), text.size(), "%d-%02d-%02dT%02d:%02d:%02d.%03d%03d", year, month, day,
                hour, minute, second, millisecond, microsecond);
  // Kept exactly, do not correct: the cut counts characters, so it moves if the year does not have
  // four digits.
  const int digits = std::clamp(fraction_digits, 0, 6);
  std::string cut =
      std::string(text.data()).substr(0, digits == 0 ? 19 : 20U + static_cast<unsigned>(digits));
  if (zulu) cut += 'Z';
  return cut;
}

UNIVERSAL_TIME::operator double() const { throw "can not cast from UTC to double"; }

std::weak_ordering operator<=>(const UNIVERSAL_TIME& a, const UNIVERSAL_TIME& b) {
  if (a.year != b.year) return a.year <=> b.year;
  const auto day_of_year = [](const UNIVERSAL_TIME& time) {
    return DayOfYear(time.year, time.month, time.day);
  };
  if (const auto order = day_of_year(a) <=> day_of_year(b); order != 0) return order;
  const auto time_of_day = [](const UNIVERSAL_TIME& time) {
    return TimeOfDay_ms(time.hour, time.minute, time.second, time.millisecond);
  };
  if (const auto order = time_of_day(a) <=> time_of_day(b); order != 0) return order;
  return a.microsecond <=> b.microsecond;
}

DURATION operator-(const UNIVERSAL_TIME& a, const UNIVERSAL_TIME& b) {
  return DURATION::FromMicroseconds(Elapsed_us(a) - Elapsed_us(b));
}

UNIVERSAL_TIME operator+(const UNIVERSAL_TIME& time, const DURATION& duration) {
  if (duration == DURATION()) return time;
  if (std::abs(duration.Days()) >= kDayNumberLimit) {
    FailDurationRange(duration.Days(), duration.Milliseconds(), duration.Microseconds());
  }
  // Here a minute of 60 carries into the hour, unlike in the comparisons.
  const long long time_of_day_ms =
      TimeOfDay_ms(time.hour, 0, time.second, time.millisecond) + 60'000LL * time.minute;
  const long long reading_us =
      Reading_us(time, time_of_day_ms) + duration.Days() * kMicrosecondsPerDay +
      duration.Milliseconds() * kMicrosecondsPerMillisecond + duration.Microseconds();
  UNIVERSAL_TIME counted_to = TimeOfReading(reading_us);
  // Kept exactly, do not correct: in the minutes 00:00, 00:59, 23:00 and 23:59 of the day that ends
  // with an inserted second, the count of leap seconds already includes it. So no result shows
  // 23:59:60. The processors around this one print the same.
  if (CanFollowInsertedSecond(counted_to)) {
    counted_to = TimeOfReading(reading_us + kMicrosecondsPerDay);
  }
  const int count = LeapSeconds().Count(time, counted_to);
  return TimeOfReading(reading_us + count * kMicrosecondsPerSecond);
}

namespace quellmark::time {

STRING TextOfSum(const UNIVERSAL_TIME& time, const DURATION& duration) {
  return (time + duration).LongText();
}

STRING TextOfSeconds(double seconds) { return UNIVERSAL_TIME::FromSeconds(seconds).LongText(); }

long long TimeOfDay_ms(long long hour, long long minute, long long second, long long millisecond) {
  // Kept exactly, do not correct: a minute field of 60 counts as 59 minutes. The comparisons with
  // the leap second table rely on it.
  const long long minute_ms = minute == 60 ? 3'540'000 : minute * 60'000;
  return hour * 3'600'000 + second * 1000 + millisecond + minute_ms;
}

}  // namespace quellmark::time
