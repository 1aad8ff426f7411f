#include <chrono>
#include <cmath>

#include "api/call.h"
#include "api/times.h"
#include "time/utc_scanner.h"
#include <quellmark/time.h>

namespace quellmark {
namespace {

using api::Call;
using api::Subject;

constexpr std::int64_t kNanosecondsPerMicrosecond = 1000;

const UNIVERSAL_TIME kEpoch = {.year = 1980, .month = 1, .day = 6};

}  // namespace

namespace api {

UNIVERSAL_TIME UtcOfUnixMicroseconds(std::int64_t microseconds) {
  using namespace std::chrono;
  const std::chrono::microseconds all(microseconds);
  const auto day = floor<days>(all);
  const year_month_day date{sys_days(day)};
  const hh_mm_ss time(all - day);
  const std::int64_t fraction_us = time.subseconds().count();
  return {.year = static_cast<int>(date.year()),
          .month = static_cast<std::int32_t>(static_cast<unsigned>(date.month())),
          .day = static_cast<std::int32_t>(static_cast<unsigned>(date.day())),
          .hour = static_cast<std::int32_t>(time.hours().count()),
          .minute = static_cast<std::int32_t>(time.minutes().count()),
          .second = static_cast<std::int32_t>(time.seconds().count()),
          .millisecond = static_cast<std::int32_t>(fraction_us / 1000),
          .microsecond = static_cast<std::int32_t>(fraction_us % 1000)};
}

UnixTime SplitUnixNanoseconds(std::int64_t nanoseconds) {
  std::int64_t microseconds = nanoseconds / kNanosecondsPerMicrosecond;
  std::int64_t rest = nanoseconds % kNanosecondsPerMicrosecond;
  if (rest < 0) {
    rest += kNanosecondsPerMicrosecond;
    --microseconds;
  }
  return {microseconds, rest};
}

}  // namespace api

double SecondsFromUtc(std::string_view text) {
  return Call(Subject{}, [&] { return (time::ScanUtc(text) - kEpoch).Seconds(); });
}

std::string UtcFromSeconds(double seconds) {
  return Call(Subject{}, [&] {
    if (!std::isfinite(seconds)) api::FailArgument("a time that is not finite has no text");
    constexpr bool kZulu = true;
    return std::string(UNIVERSAL_TIME::FromSeconds(seconds).IsoText(6, kZulu).View());
  });
}

std::int64_t UnixNanosecondsFromUtc(std::string_view text) {
  return Call(Subject{}, [&] {
    using namespace std::chrono;
    const UNIVERSAL_TIME utc = time::ScanUtc(text);
    constexpr int kFirstYear = 1678;
    constexpr int kLastYear = 2261;
    if (utc.year < kFirstYear || utc.year > kLastYear) {
      api::FailArgument("nanoseconds count the years 1678 to 2261 alone: " + std::string(text));
    }
    const sys_days day = year(utc.year) / static_cast<int>(utc.month) / static_cast<int>(utc.day);
    const std::chrono::nanoseconds all =
        day.time_since_epoch() + hours(utc.hour) + minutes(utc.minute) + seconds(utc.second) +
        milliseconds(utc.millisecond) + microseconds(utc.microsecond);
    return std::int64_t{all.count()};
  });
}

std::string UtcFromUnixNanoseconds(std::int64_t nanoseconds) {
  return Call(Subject{}, [&] {
    constexpr bool kZulu = true;
    const UNIVERSAL_TIME utc =
        api::UtcOfUnixMicroseconds(api::SplitUnixNanoseconds(nanoseconds).microseconds);
    return std::string(utc.IsoText(6, kZulu).View());
  });
}

}  // namespace quellmark
