// Times of products: read from their texts, shifted, subtracted, printed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quellmark::product {

/// An instant of UTC between the years 1 and 9999. The fraction of the second stands apart, so that
/// it keeps its 16 digits. A day has 86400 seconds here; see `InsertedSecondBetween`.
struct UtcTime {
  std::int64_t seconds = 0;  // since 2000-01-01T00:00:00
  double fraction = 0.0;     // [0, 1)

  friend auto operator<=>(const UtcTime&, const UtcTime&) = default;
};

/// The time that `text` holds, as "2021-04-01T05:26:23.794193Z": date and time parted by 'T' or a
/// blank, any number of digits behind the point or none, 'Z' or none. Nothing if it is anything
/// else.
[[nodiscard]] std::optional<UtcTime> ParseUtc(std::string_view text);

/// `time` as "2021-04-01T05:26:23.794193Z", rounded to the microsecond.
[[nodiscard]] std::string UtcText(const UtcTime& time);

/// `time` moved by `seconds`, which may be negative; finite and below 1e10 in size.
[[nodiscard]] UtcTime Shifted(const UtcTime& time, double seconds);

/// Seconds from `start` to `end`.
[[nodiscard]] double SecondsBetween(const UtcTime& start, const UtcTime& end);

[[nodiscard]] UtcTime RoundedToMicrosecond(const UtcTime& time);
/// The beginning of the minute.
[[nodiscard]] UtcTime WholeMinute(const UtcTime& time);

/// The first midnight between the two times at which a second was inserted into UTC or at which the
/// step counts one (it counts those of 2012 and 2015 a day late and that of 2016 not): across it
/// the step's seconds are not those of the satellite.
[[nodiscard]] std::optional<UtcTime> InsertedSecondBetween(const UtcTime& start,
                                                           const UtcTime& end);

}  // namespace quellmark::product
