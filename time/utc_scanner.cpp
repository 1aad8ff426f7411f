#include "time/utc_scanner.h"

#include <limits>

#include "basic/errors.h"
#include "runtime/log.h"
#include "time/calendar.h"

namespace {

using quellmark::runtime::LogLevel;
using quellmark::runtime::LogLine;

template <class... Pieces>
[[noreturn]] void Refuse(const Pieces&... pieces) {
  LogLine(LogLevel::kException, "UTC_SCANNER: ", pieces...);
  throw ERROR_DATA();
}

void CheckDate(const UNIVERSAL_TIME& time) {
  const bool valid = time.month >= 1 && time.month <= 12 && time.day >= 1 &&
                     // The scanner reads every larger number as the integer's maximum.
                     time.year < std::numeric_limits<std::int32_t>::max() &&
                     time.day <= quellmark::time::DaysInMonth(time.year, time.month);
  if (!valid) Refuse("Invalid date: ", time.day, " ", time.month, " ", time.year);
}

}  // namespace

UNIVERSAL_TIME UTC_SCANNER::Scan(Format format) {
  try {
    return ScanFields(format);
  } catch (...) {
    LogLine(LogLevel::kException, "UTC_SCANNER: Error during scan of: ", whole_text_);
    throw;
  }
}

UNIVERSAL_TIME UTC_SCANNER::ScanFields(Format format) {
  UNIVERSAL_TIME time;
  ScanDate(format, time);
  ScanTimeOfDay(time);
  CheckDate(time);
  if (Accept(TokenKind::kPoint)) {
    const Fraction fraction = GetMilliAndMicroSeconds();
    time.millisecond = fraction.milliseconds;
    time.microsecond = fraction.microseconds;
  }
  Accept(TokenKind::kZulu);
  if (!AtEnd()) throw ERROR_DATA();
  return time;
}

void UTC_SCANNER::ScanDate(Format format, UNIVERSAL_TIME& time) {
  if (format < Format::kAny || format > Format::kIso) throw "invalid or unsupported format";
  const std::int32_t first = GetNumber();
  GetSeparator("-");
  if (format == Format::kLong || (format == Format::kAny && NextIs(TokenKind::kMonth))) {
    time.day = first;
    time.month = GetMonth();
    GetSeparator("-");
    time.year = GetNumber();
    GetSeparator("/");
  } else {
    time.year = first;
    time.month = GetNumber();
    GetSeparator("-");
    time.day = GetNumber();
    GetSeparator("T");
  }
}

void UTC_SCANNER::ScanTimeOfDay(UNIVERSAL_TIME& time) {
  time.hour = GetNumber();
  if (time.hour > 23) Refuse("invalid hour: ", time.hour);
  GetSeparator(":");
  time.minute = GetNumber();
  if (time.minute > 59) Refuse("invalid minute: ", time.minute);
  GetSeparator(":");
  time.second = GetNumber();
  // Seconds 60 to 62 pass here, and the next check accepts them at the end of any day. This is
  // deliberate: the leap second table may be older than the data.
  if (time.second >= 63) Refuse("invalid second: ", time.second);
  if (time.second >= 60 && (time.hour != 23 || time.minute != 59)) {
    Refuse("invalid leap second: ", time.second);
  }
}

namespace quellmark::time {

UNIVERSAL_TIME ScanUtc(std::string_view text) { return UTC_SCANNER(text).Scan(); }

}  // namespace quellmark::time
