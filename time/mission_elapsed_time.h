#pragma once

#include <compare>
#include <cstdint>

#include "basic/string.h"
#include "time/duration.h"

/// Time since the start of a mission: a sign and a count of at most 9999 days, hours 0..23, minutes
/// and seconds 0..59, milliseconds and microseconds 0..999. Smaller fields carry into larger ones.
/// A count beyond 9999 days writes its line to the log at level ALARM and throws the character
/// string "can not represent MET value".
class MISSION_ELAPSED_TIME {
 public:
  MISSION_ELAPSED_TIME() = default;
  /// `sign` is +1 or -1 and applies to all fields.
  MISSION_ELAPSED_TIME(std::int32_t sign, std::int32_t days, std::int32_t hours,
                       std::int32_t minutes, std::int32_t seconds, std::int32_t milliseconds,
                       std::int32_t microseconds);

  [[nodiscard]] std::int32_t Sign() const { return sign_; }
  [[nodiscard]] std::int32_t Days() const { return days_; }
  [[nodiscard]] std::int32_t Hours() const { return hours_; }
  [[nodiscard]] std::int32_t Minutes() const { return minutes_; }
  [[nodiscard]] std::int32_t Seconds() const { return seconds_; }
  [[nodiscard]] std::int32_t Milliseconds() const { return milliseconds_; }
  [[nodiscard]] std::int32_t Microseconds() const { return microseconds_; }

  /// Moves the time by a signed number of hours. The day limit is checked twice: with the whole
  /// days of `hours` before the addition, and with the result.
  void AddHours(std::int32_t hours);

  /// "+dddd/hh:mm:ss.mmmuuu"; a time before the start of the mission begins with "-".
  [[nodiscard]] STRING Text() const;

  /// A mission elapsed time is not a number: throws "can not cast from MET to double".
  [[noreturn]] explicit operator double() const;

  friend DURATION operator-(const MISSION_ELAPSED_TIME& a, const MISSION_ELAPSED_TIME& b);
  friend MISSION_ELAPSED_TIME operator+(const MISSION_ELAPSED_TIME& time, const DURATION& duration);
  friend MISSION_ELAPSED_TIME operator-(const MISSION_ELAPSED_TIME& time,
                                        const DURATION& duration) {
    return time + -duration;
  }
  friend bool operator==(const MISSION_ELAPSED_TIME&, const MISSION_ELAPSED_TIME&) = default;
  friend std::strong_ordering operator<=>(const MISSION_ELAPSED_TIME& a,
                                          const MISSION_ELAPSED_TIME& b) {
    return a.Total_us() <=> b.Total_us();
  }

 private:
  explicit MISSION_ELAPSED_TIME(long long total_us);
  [[nodiscard]] long long Total_us() const;

  std::int32_t sign_ = 1;
  std::int32_t days_ = 0;
  std::int32_t hours_ = 0;
  std::int32_t minutes_ = 0;
  std::int32_t seconds_ = 0;
  std::int32_t milliseconds_ = 0;
  std::int32_t microseconds_ = 0;
};
