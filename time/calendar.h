// The Gregorian calendar, for years from 0 (a leap year) on.
#pragma once

#include <array>
#include <string_view>

namespace quellmark::time {

inline constexpr long long kSecondsPerDay = 86400;
inline constexpr long long kMillisecondsPerDay = 86'400'000;
inline constexpr long long kMicrosecondsPerMillisecond = 1000;
inline constexpr long long kMicrosecondsPerSecond = 1'000'000;
inline constexpr long long kMicrosecondsPerHour = 3'600'000'000;
inline constexpr long long kMicrosecondsPerDay = 86'400'000'000;

[[nodiscard]] constexpr bool IsLeapYear(int year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

/// Days before each month 1..12; the last element is the length of the year. The first row is for
/// common years, the second for leap years.
inline constexpr std::array<std::array<int, 13>, 2> kDaysBeforeMonth = {
    {{0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
     {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366}}};

/// The day of the month plus the days before the month, so that 1 January is day 1. A day beyond
/// the end of the month counts on into the next month. Throws std::out_of_range unless month is
/// 1..12.
[[nodiscard]] long long DayOfYear(int year, int month, int day);

/// Throws std::out_of_range unless month is 1..12.
[[nodiscard]] int DaysInMonth(int year, int month);

/// Days from 1 January of `first` to 1 January of `second`; negative when `first` is the later one.
[[nodiscard]] long long DaysBetweenYears(int first, int second);

/// Days since 1 January of year 0. Throws std::out_of_range unless month is 1..12.
[[nodiscard]] long long DayNumber(int year, int month, int day);

struct CalendarDate {
  int year;
  int month;
  int day;
};

/// Inverse of DayNumber() for day numbers from 0 to the end of year 2,000,000,000.
[[nodiscard]] CalendarDate DateOfDayNumber(long long day_number);

/// "JAN" to "DEC" for 1..12; another number throws the character string "invalid month name".
[[nodiscard]] std::string_view MonthName(int month);

/// 1..12 for "JAN" to "DEC", capitals only; 0 for another name.
[[nodiscard]] int MonthOfName(std::string_view name);

}  // namespace quellmark::time
