#include "time/duration.h"

#include <cmath>

#include "runtime/log.h"
#include "time/calendar.h"

using namespace quellmark::time;

namespace {

// The limit of every field. Other programs know it: kept exactly, although it is not the integer's
// maximum.
constexpr long long kFieldLimit = 2'147'483'000;

// A long long counts microseconds up to this limit exactly (292,000 years).
constexpr double kWholeMicrosecondsLimit = 9.2e18;

bool Exceeds(long long field, long long addend) {
  return addend > kFieldLimit - field || addend < -kFieldLimit - field;
}

DURATION OfWholeMicroseconds(double microseconds) {
  if (!(std::fabs(microseconds) < kWholeMicrosecondsLimit)) {  // also refuses NaN and infinity
    FailDurationRange(0, 0, 0);
  }
  return DURATION::FromMicroseconds(static_cast<long long>(microseconds));
}

}  // namespace

DURATION::DURATION(std::int32_t days, std::int32_t milliseconds, std::int32_t microseconds) {
  Add(days, milliseconds, microseconds);
}

DURATION DURATION::FromSeconds(double seconds) {
  return OfWholeMicroseconds(std::floor(seconds * 1e6 + 0.5));
}

DURATION DURATION::FromMilliseconds(double milliseconds) {
  return OfWholeMicroseconds(std::floor(milliseconds * 1e3));
}

DURATION DURATION::FromMicroseconds(long long microseconds) {
  DURATION duration;
  duration.AddMicroseconds(microseconds);
  return duration;
}

void DURATION::AddMilliseconds(long long milliseconds, bool split) {
  if (split) {
    Add(0, milliseconds, 0);
  } else {
    Add(milliseconds / kMillisecondsPerDay, milliseconds % kMillisecondsPerDay, 0);
  }
}

void DURATION::AddMicroseconds(long long microseconds) {
  const long long rest = microseconds % kMicrosecondsPerDay;
  Add(microseconds / kMicrosecondsPerDay, rest / kMicrosecondsPerMillisecond,
      rest % kMicrosecondsPerMillisecond);
}

DURATION& DURATION::operator+=(const DURATION& other) {
  Add(other.days_, other.milliseconds_, other.microseconds_);
  return *this;
}

DURATION DURATION::operator-() const {
  DURATION negated;
  negated.days_ = -days_;
  negated.milliseconds_ = -milliseconds_;
  negated.microseconds_ = -microseconds_;
  return negated;
}

// All additions end here. Limits are checked first, so that a refused addition changes nothing;
// then the fields carry upwards and get one common sign.
void DURATION::Add(long long days, long long milliseconds, long long microseconds) {
  if (Exceeds(days_, days) || Exceeds(milliseconds_, milliseconds) ||
      Exceeds(microseconds_, microseconds)) {
    FailDurationRange(days_, milliseconds_, microseconds_);
  }
  long long part_of_day_us =
      (milliseconds_ + milliseconds) * kMicrosecondsPerMillisecond + (microseconds_ + microseconds);
  long long whole_days = days_ + days + part_of_day_us / kMicrosecondsPerDay;
  part_of_day_us %= kMicrosecondsPerDay;
  if (whole_days > 0 && part_of_day_us < 0) {
    --whole_days;
    part_of_day_us += kMicrosecondsPerDay;
  } else if (whole_days < 0 && part_of_day_us > 0) {
    ++whole_days;
    part_of_day_us -= kMicrosecondsPerDay;
  }
  if (Exceeds(0, whole_days)) {
    FailDurationRange(days_, milliseconds_, microseconds_);
  }
  days_ = static_cast<std::int32_t>(whole_days);
  milliseconds_ = static_cast<std::int32_t>(part_of_day_us / kMicrosecondsPerMillisecond);
  microseconds_ = static_cast<std::int32_t>(part_of_day_us % kMicrosecondsPerMillisecond);
}

namespace quellmark::time {

void FailDurationRange(long long days, long long milliseconds, long long microseconds) {
  // The parenthesis stays open: other programs match the line as it is.
  runtime::LogLine(runtime::LogLevel::kAlarm, "DURATION: exceeding representable range (d=", days,
                   " ms=", milliseconds, " us=", microseconds, "\n");
  throw "duration range error";
}

}  // namespace quellmark::time
