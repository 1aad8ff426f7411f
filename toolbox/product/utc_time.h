// Times of products: parsing, shifting, subtracting and printing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quellmark::product {

/// An instant of UTC between the years 1 and 9999. The fraction of the second is separate, so that
/// it keeps 16 digits. A day has 86400 seconds here, see `InsertedSecondBetween`.
struct UtcTime {
  std::int64_t seconds = 0;  // since 2000-01-01T00:00:00
  double fraction = 0.0;     // [0, 1)

  friend auto operator<=>(const UtcTime&, const UtcTime&) = default;
};

/// Parses a time like "2021-04-01T05:26:23.794193Z". Date and time are separated by 'T' or a blank;
/// the digits after the point and the 'Z' are optional. Returns nothing for any other text.
[[nodiscard]] std::optional<UtcTime> ParseUtc(std::string_view text);

/// Returns `time` as "2021-04-01T05:26:23.794193Z", rounded to the microsecond.
[[nodiscard]] std::string UtcText(const UtcTime& time);

/// Returns `time` + `seconds`. They may be negative, but must be finite and below 1e10 in size.
[[nodiscard]] UtcTime Shifted(const UtcTime& time, double seconds);

/// Seconds from `start` to `end`.
[[nodiscard]] double SecondsBetween(const UtcTime& start, const UtcTime& end);

[[nodiscard]] UtcTime RoundedToMicrosecond(const UtcTime& time);
/// Returns the beginning of the minute of a time.
[[nodiscard]] UtcTime WholeMinute(const UtcTime& time);

/// Returns the first midnight between the two times at which UTC had a leap second or at which the
/// step counts one (it counts those of 2012 and 2015 a day late and the one of 2016 not at all).
/// Across it the step's seconds differ from those of the satellite.
[[nodiscard]] std::optional<UtcTime> InsertedSecondBetween(const UtcTime& start,
                                                           const UtcTime& end);

}  // namespace quellmark::product
