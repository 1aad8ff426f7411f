#pragma once

#include <compare>
#include <cstdint>

/// A signed span of elapsed time in days (of 86400 s), milliseconds and microseconds. After every
/// operation it is in normal form: |milliseconds| < 86400000, |microseconds| < 1000, and no two
/// fields of different sign. An operation that would take a field beyond +-2147483000 writes the
/// fields to the log and throws the character string "duration range error". This limit is
/// deliberate and is not the integer's maximum.
class DURATION {
 public:
  DURATION() = default;
  DURATION(std::int32_t days, std::int32_t milliseconds, std::int32_t microseconds);
  /// Rounds to the nearest whole microsecond, halves upwards.
  [[nodiscard]] static DURATION FromSeconds(double seconds);
  /// Rounds down to a whole microsecond.
  [[nodiscard]] static DURATION FromMilliseconds(double milliseconds);
  [[nodiscard]] static DURATION FromMicroseconds(long long microseconds);

  /// Adds milliseconds. `split` says that the caller has already taken out whole days; the rest is
  /// then added to the millisecond field directly.
  void AddMilliseconds(long long milliseconds, bool split = false);
  void AddMicroseconds(long long microseconds);
  DURATION& operator+=(const DURATION& other);

  [[nodiscard]] std::int32_t Days() const { return days_; }
  [[nodiscard]] std::int32_t Milliseconds() const { return milliseconds_; }
  [[nodiscard]] std::int32_t Microseconds() const { return microseconds_; }
  /// The whole span in seconds [s], correctly rounded for spans up to 285 years.
  [[nodiscard]] double Seconds() const {
    return (86'400e6 * days_ + (1e3 * milliseconds_ + microseconds_)) / 1e6;
  }

  [[nodiscard]] DURATION operator-() const;
  friend DURATION operator+(DURATION a, const DURATION& b) { return a += b; }
  friend DURATION operator-(DURATION a, const DURATION& b) { return a += -b; }
  friend bool operator==(const DURATION&, const DURATION&) = default;
  friend auto operator<=>(const DURATION&, const DURATION&) = default;

 private:
  void Add(long long days, long long milliseconds, long long microseconds);

  std::int32_t days_ = 0;
  std::int32_t milliseconds_ = 0;
  std::int32_t microseconds_ = 0;
};

namespace quellmark::time {

/// Writes the ALARM line for a span that cannot be represented and throws the character string
/// "duration range error".
[[noreturn]] void FailDurationRange(long long days, long long milliseconds, long long microseconds);

}  // namespace quellmark::time
