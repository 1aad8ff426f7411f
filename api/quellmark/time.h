/// @file
/// The texts of times.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <quellmark/export.h>

namespace quellmark {

/// What the epochs and the reference time of an orbit are.
enum class TimeKind : int {
  kSeconds,         ///< plain numbers of seconds
  kMissionElapsed,  ///< mission elapsed times, "+0001/02:03:04.567890" (days, hours, minutes, ...)
  kUtc,             ///< UTC
};

/// Elapsed seconds [s] from 1980-01-06T00:00:00 UTC to a time in UTC, inserted seconds included
/// (the table of them ends in 2015). The text is "2022-04-14T10:22:11.755370Z", with up to six
/// digits after the point and with or without the Z, or "14-APR-2022/10:22:11.755370".
/// @throws ArgumentError for a text that is no time
[[nodiscard]] QM_API double SecondsFromUtc(std::string_view text);
/// The other way round: "2022-04-14T10:22:11.755370Z", to the nearest microsecond.
/// @throws ArgumentError for a number that is not finite or beyond the calendar's years
[[nodiscard]] QM_API std::string UtcFromSeconds(double seconds);

/// Nanoseconds since 1970-01-01T00:00:00 UTC as clocks count them, which is without the inserted
/// seconds, of a time in UTC as SecondsFromUtc() takes it.
/// @throws ArgumentError for a text that is no time, and outside the years 1678 to 2261
[[nodiscard]] QM_API std::int64_t UnixNanosecondsFromUtc(std::string_view text);
/// The other way round, cut to whole microseconds: "2022-04-14T10:22:11.755370Z".
[[nodiscard]] QM_API std::string UtcFromUnixNanoseconds(std::int64_t nanoseconds);

}  // namespace quellmark
