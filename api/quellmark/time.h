/// @file
/// Conversions of times from and to texts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <quellmark/export.h>

namespace quellmark {

/// The kind of an orbit's epochs and reference time.
enum class TimeKind : int {
  kSeconds,         ///< plain numbers of seconds
  kMissionElapsed,  ///< mission elapsed times, "+0001/02:03:04.567890" (days, hours, minutes, ...)
  kUtc,             ///< UTC
};

/// Returns the elapsed seconds from 1980-01-06T00:00:00 UTC to a time in UTC, including leap
/// seconds (whose table ends in 2015). The text is "2022-04-14T10:22:11.755370Z", with up to six
/// digits after the point and with or without the Z, or "14-APR-2022/10:22:11.755370".
/// @throws ArgumentError for a malformed text
[[nodiscard]] QM_API double SecondsFromUtc(std::string_view text);
/// The inverse of SecondsFromUtc(): returns "2022-04-14T10:22:11.755370Z", to the nearest
/// microsecond.
/// @throws ArgumentError for a number that is not finite or beyond the years of the calendar
[[nodiscard]] QM_API std::string UtcFromSeconds(double seconds);

/// Returns the nanoseconds from 1970-01-01T00:00:00 UTC to a time in UTC, in a form that
/// SecondsFromUtc() accepts. They are counted as clocks do, without leap seconds.
/// @throws ArgumentError for a malformed text, and outside the years 1678 to 2261
[[nodiscard]] QM_API std::int64_t UnixNanosecondsFromUtc(std::string_view text);
/// The inverse of UnixNanosecondsFromUtc(): returns "2022-04-14T10:22:11.755370Z", rounded down to
/// whole microseconds.
[[nodiscard]] QM_API std::string UtcFromUnixNanoseconds(std::int64_t nanoseconds);

}  // namespace quellmark
