#pragma once

#include <compare>
#include <cstdint>

#include "basic/string.h"
#include "time/duration.h"

/// A calendar time in UTC; the default is the empty value. Fields that a caller sets are not
/// checked; what the scanner and the arithmetic return lies in the ranges below. Every use of the
/// calendar throws std::out_of_range for a month outside 1..12.
struct UNIVERSAL_TIME {
  std::int32_t year = 0;         ///< Gregorian
  std::int32_t month = 1;        ///< 1..12
  std::int32_t day = 1;          ///< 1..days of the month
  std::int32_t hour = 0;         ///< 0..23
  std::int32_t minute = 0;       ///< 0..59
  std::int32_t second = 0;       ///< 0..59, 60 only in an inserted second
  std::int32_t millisecond = 0;  ///< 0..999
  std::int32_t microsecond = 0;  ///< 0..999

  /// UTC of a number of seconds [s] after 06-JAN-1980/00:00:00, inserted seconds included.
  [[nodiscard]] static UNIVERSAL_TIME FromSeconds(double seconds);

  /// "dd-MON-yyyy/hh:mm:ss.mmmuuu". A month outside 1..12 throws "invalid month name".
  [[nodiscard]] STRING LongText() const;
  /// "yyyy-mm-ddThh:mm:ss.mmmuuu", cut after 20 + `fraction_digits` (1..6) characters, or after 19
  /// if that is 0, whatever the length of the year. "Z" follows if `zulu`.
  [[nodiscard]] STRING IsoText(int fraction_digits = 6, bool zulu = false) const;

  /// A calendar time is not a number: throws "can not cast from UTC to double".
  [[noreturn]] explicit operator double() const;

  /// Compares all eight fields.
  friend bool operator==(const UNIVERSAL_TIME&, const UNIVERSAL_TIME&) = default;
  /// Compares year, day of year, time of day (TimeOfDay_ms) and microsecond.
  friend std::weak_ordering operator<=>(const UNIVERSAL_TIME& a, const UNIVERSAL_TIME& b);

  /// The time elapsed from b to a, inserted seconds included; the clock runs evenly through an
  /// inserted second. Throws "duration range error" before year 0 and after year 136,000.
  friend DURATION operator-(const UNIVERSAL_TIME& a, const UNIVERSAL_TIME& b);
  /// The calendar time after `duration`: the clock reading plus `duration`, less the leap seconds
  /// in between (whose number is logged). Near a leap second a special rule applies, see the
  /// definition. A duration of zero returns `time` unchanged and logs nothing. Throws like the
  /// difference.
  friend UNIVERSAL_TIME operator+(const UNIVERSAL_TIME& time, const DURATION& duration);
  friend UNIVERSAL_TIME operator-(const UNIVERSAL_TIME& time, const DURATION& duration) {
    return time + -duration;
  }
};

namespace quellmark::time {

/// The long text of time + duration.
[[nodiscard]] STRING TextOfSum(const UNIVERSAL_TIME& time, const DURATION& duration);

/// The long text of UNIVERSAL_TIME::FromSeconds().
[[nodiscard]] STRING TextOfSeconds(double seconds);

/// Milliseconds since midnight; the definition says how a minute of 60 counts.
[[nodiscard]] long long TimeOfDay_ms(long long hour, long long minute, long long second,
                                     long long millisecond);

}  // namespace quellmark::time
