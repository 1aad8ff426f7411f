#include "time/leap_seconds.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "runtime/log.h"
#include "time/calendar.h"

namespace quellmark::time {

namespace {

constexpr LEAP_SECOND_ITEM InsertedAfter(std::int32_t year, std::int32_t month, std::int32_t day) {
  return {{year, month, day, 23, 59, 60, 0, 0}, 1};
}

constexpr LEAP_SECOND_ITEM kEndOfList = {{0, 0, 0, 0, 0, 0, 0, 0}, 0};

constexpr std::array kBuiltIn = {
    InsertedAfter(1972, 6, 30),
    InsertedAfter(1972, 12, 31),
    InsertedAfter(1973, 12, 31),
    InsertedAfter(1974, 12, 31),
    InsertedAfter(1975, 12, 31),
    InsertedAfter(1976, 12, 31),
    InsertedAfter(1977, 12, 31),
    InsertedAfter(1978, 12, 31),
    InsertedAfter(1979, 12, 31),
    InsertedAfter(1981, 6, 30),
    InsertedAfter(1982, 6, 30),
    InsertedAfter(1983, 6, 30),
    InsertedAfter(1985, 6, 30),
    InsertedAfter(1987, 12, 31),
    InsertedAfter(1989, 12, 31),
    InsertedAfter(1990, 12, 31),
    InsertedAfter(1992, 6, 30),
    InsertedAfter(1993, 6, 30),
    InsertedAfter(1994, 6, 30),
    InsertedAfter(1995, 12, 31),
    InsertedAfter(1997, 6, 30),
    InsertedAfter(1998, 12, 31),
    InsertedAfter(2005, 12, 31),
    InsertedAfter(2008, 12, 31),
    // Kept exactly, do not correct: June has no day 31. Times are compared with the fields as they
    // stand, by day of year, so these two seconds are inserted one day late, after 1 July; the
    // processors around this one count alike. There is deliberately no row after 2015.
    InsertedAfter(2012, 6, 31),
    InsertedAfter(2015, 6, 31),
    kEndOfList,
};

constexpr std::array kNone = {kEndOfList};

// Twice this number of days still counts as microseconds in a long long.
constexpr long long kLastDayNumber = 50'000'000;
constexpr long long kLastElapsed_us = kLastDayNumber * kMicrosecondsPerDay;

long long DayNumberOf(const UNIVERSAL_TIME& time) {
  return DayNumber(time.year, time.month, time.day);
}

}  // namespace

const LEAP_SECOND_ITEM* BuiltInLeapSeconds() { return kBuiltIn.data(); }

const LEAP_SECOND_ITEM* NoLeapSeconds() { return kNone.data(); }

void LeapSecondTable::Build(const LEAP_SECOND_ITEM* list) {
  int count = 0;
  while (list[count] != kEndOfList) ++count;
  ARRAY<LEAP_SECOND_ITEM> items(RANGE<int>(0, count));
  std::copy_n(list, count, items.Elements().begin());
  std::vector<long long> day_numbers;
  day_numbers.reserve(static_cast<std::size_t>(count));
  for (const LEAP_SECOND_ITEM& item : items.Elements()) {
    day_numbers.push_back(DayNumberOf(item.instant));
  }
  items_ = std::move(items);
  day_numbers_ = std::move(day_numbers);
}

bool LeapSecondTable::Contains(const UNIVERSAL_TIME& time) const {
  return std::ranges::any_of(items_.Elements(),
                             [&](const LEAP_SECOND_ITEM& item) { return item.instant == time; });
}

int LeapSecondTable::Count(const UNIVERSAL_TIME& a, const UNIVERSAL_TIME& b) const {
  const bool in_order = !(b < a);
  const UNIVERSAL_TIME& first = in_order ? a : b;
  const UNIVERSAL_TIME& last = in_order ? b : a;
  const auto between = std::ranges::count_if(items_.Elements(), [&](const LEAP_SECOND_ITEM& item) {
    return item.instant > first && item.instant <= last;
  });
  const int count = static_cast<int>(in_order ? -between : between);
  runtime::LogLine(runtime::LogLevel::kTrace, "leap secs = ", count);
  return count;
}

long long LeapSecondTable::Elapsed_us(const UNIVERSAL_TIME& time) const {
  const long long day_number = DayNumberOf(time);
  const long long time_of_day_ms =
      TimeOfDay_ms(time.hour, time.minute, time.second, time.millisecond);
  if (time.year < 0 || std::llabs(day_number) > kLastDayNumber ||
      std::llabs(time_of_day_ms) > kLastDayNumber * kMillisecondsPerDay) {
    FailDurationRange(day_number, time_of_day_ms, time.microsecond);
  }
  // A second inserted after this very day is not counted yet: its time of day runs past 24 hours.
  const auto inserted_before =
      std::lower_bound(day_numbers_.begin(), day_numbers_.end(), day_number) - day_numbers_.begin();
  return day_number * kMicrosecondsPerDay + inserted_before * kMicrosecondsPerSecond +
         time_of_day_ms * kMicrosecondsPerMillisecond + time.microsecond;
}

UNIVERSAL_TIME LeapSecondTable::TimeOfElapsed(long long elapsed_us) const {
  if (elapsed_us < 0 || elapsed_us > kLastElapsed_us) {
    FailDurationRange(elapsed_us / kMicrosecondsPerDay,
                      elapsed_us % kMicrosecondsPerDay / kMicrosecondsPerMillisecond,
                      elapsed_us % kMicrosecondsPerMillisecond);
  }
  // Where the i-th inserted second begins, the i seconds before it included.
  const auto begin_us = [&](std::size_t i) {
    return (day_numbers_[i] + 1) * kMicrosecondsPerDay +
           static_cast<long long>(i) * kMicrosecondsPerSecond;
  };
  std::size_t inserted = 0;
  std::size_t beyond = day_numbers_.size();
  while (inserted < beyond) {
    const std::size_t middle = (inserted + beyond) / 2;
    if (begin_us(middle) + kMicrosecondsPerSecond <= elapsed_us) {
      inserted = middle + 1;
    } else {
      beyond = middle;
    }
  }
  const bool within = inserted < day_numbers_.size() && begin_us(inserted) <= elapsed_us;

  // The inserted second is shown as a 61st one of the minute before midnight.
  const long long even_us = elapsed_us - static_cast<long long>(inserted) * kMicrosecondsPerSecond -
                            (within ? kMicrosecondsPerSecond : 0);
  const CalendarDate date = DateOfDayNumber(even_us / kMicrosecondsPerDay);
  const long long time_of_day_us = even_us % kMicrosecondsPerDay;
  const auto field = [&](long long size_us, long long modulus) {
    return static_cast<std::int32_t>(time_of_day_us / size_us % modulus);
  };
  return {date.year,
          date.month,
          date.day,
          field(kMicrosecondsPerHour, 24),
          field(60 * kMicrosecondsPerSecond, 60),
          field(kMicrosecondsPerSecond, 60) + (within ? 1 : 0),
          field(kMicrosecondsPerMillisecond, 1000),
          field(1, 1000)};
}

LeapSecondTable& LeapSeconds() {
  static LeapSecondTable table(BuiltInLeapSeconds());
  return table;
}

}  // namespace quellmark::time
