#include "time/calendar.h"

#include <algorithm>
#include <stdexcept>

namespace quellmark::time {

namespace {

constexpr std::array<std::string_view, 12> kMonthNames = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                                          "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};

// Days from 1 January of year 0. Each division counts the multiples of its divisor among the years
// from 0 to `year` - 1; year 0 is one of them.
constexpr long long DaysBeforeYear(long long year) {
  return 365 * year + (year + 3) / 4 - (year + 99) / 100 + (year + 399) / 400;
}

const std::array<int, 13>& DaysBeforeMonth(int year) {
  return kDaysBeforeMonth[IsLeapYear(year) ? 1 : 0];
}

std::size_t MonthIndex(int month) {
  if (month < 1 || month > 12) throw std::out_of_range("month outside 1..12");
  return static_cast<std::size_t>(month - 1);
}

}  // namespace

long long DayOfYear(int year, int month, int day) {
  return DaysBeforeMonth(year)[MonthIndex(month)] + static_cast<long long>(day);
}

int DaysInMonth(int year, int month) {
  const std::size_t index = MonthIndex(month);
  return DaysBeforeMonth(year)[index + 1] - DaysBeforeMonth(year)[index];
}

long long DaysBetweenYears(int first, int second) {
  return DaysBeforeYear(second) - DaysBeforeYear(first);
}

long long DayNumber(int year, int month, int day) {
  return DaysBeforeYear(year) + DayOfYear(year, month, day) - 1;
}

CalendarDate DateOfDayNumber(long long day_number) {
  // The mean length of a year in the 400-year cycle leads to the right year or to a neighbour of
  // it.
  long long year = day_number * 400 / DaysBeforeYear(400);
  while (DaysBeforeYear(year) > day_number) --year;
  while (DaysBeforeYear(year + 1) <= day_number) ++year;
  const int day_of_year = static_cast<int>(day_number - DaysBeforeYear(year));
  const auto& before = DaysBeforeMonth(static_cast<int>(year));
  const auto next = std::upper_bound(before.begin(), before.end(), day_of_year);
  return {static_cast<int>(year), static_cast<int>(next - before.begin()),
          day_of_year - *(next - 1) + 1};
}

std::string_view MonthName(int month) {
  if (month < 1 || month > 12) throw "invalid month name";
  return kMonthNames[MonthIndex(month)];
}

int MonthOfName(std::string_view name) {
  const auto found = std::find(kMonthNames.begin(), kMonthNames.end(), name);
  return found == kMonthNames.end() ? 0 : static_cast<int>(found - kMonthNames.begin()) + 1;
}

}  // namespace quellmark::time
