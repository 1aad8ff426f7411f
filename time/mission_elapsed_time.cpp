#include "time/mission_elapsed_time.h"

#include <array>
#include <cstdio>
#include <cstdlib>

#include "runtime/log.h"
#include "time/calendar.h"

using namespace quellmark::time;

namespace {

// The printed form has four digits.
constexpr long long kLastDay = 9999;

void CheckDays(long long days) {
  if (days <= kLastDay) return;
  quellmark::runtime::LogLine(quellmark::runtime::LogLevel::kAlarm,
                              "MET_VALUES: exceeding representable range (days=", days, ")");
  throw "can not represent MET value";
}

// Removes the whole multiples of `size` from `rest` and returns their number.
std::int32_t TakeOut(long long& rest, long long size) {
  const auto count = static_cast<std::int32_t>(rest / size);
  rest %= size;
  return count;
}

// The days are checked before they are multiplied; the other fields are too small to overflow the
// sum.
long long SignedTotal_us(std::int32_t sign, std::int32_t days, std::int32_t hours,
                         std::int32_t minutes, std::int32_t seconds, std::int32_t milliseconds,
                         std::int32_t microseconds) {
  CheckDays(std::llabs(days));
  return sign *
         (days * kMicrosecondsPerDay + hours * kMicrosecondsPerHour + minutes * 60'000'000LL +
          seconds * 1'000'000LL + milliseconds * 1000LL + microseconds);
}

}  // namespace

MISSION_ELAPSED_TIME::MISSION_ELAPSED_TIME(std::int32_t sign, std::int32_t days, std::int32_t hours,
                                           std::int32_t minutes, std::int32_t seconds,
                                           std::int32_t milliseconds, std::int32_t microseconds)
    : MISSION_ELAPSED_TIME(
          SignedTotal_us(sign, days, hours, minutes, seconds, milliseconds, microseconds)) {}

MISSION_ELAPSED_TIME::MISSION_ELAPSED_TIME(long long total_us) : sign_(total_us < 0 ? -1 : 1) {
  long long rest_us = std::llabs(total_us);
  CheckDays(rest_us / kMicrosecondsPerDay);
  days_ = TakeOut(rest_us, kMicrosecondsPerDay);
  hours_ = TakeOut(rest_us, kMicrosecondsPerHour);
  minutes_ = TakeOut(rest_us, 60'000'000);
  seconds_ = TakeOut(rest_us, 1'000'000);
  milliseconds_ = TakeOut(rest_us, 1000);
  microseconds_ = static_cast<std::int32_t>(rest_us);
}

long long MISSION_ELAPSED_TIME::Total_us() const {
  return SignedTotal_us(sign_, days_, hours_, minutes_, seconds_, milliseconds_, microseconds_);
}

void MISSION_ELAPSED_TIME::AddHours(std::int32_t hours) {
  CheckDays(days_ + static_cast<long long>(hours) * sign_ / 24);
  *this = MISSION_ELAPSED_TIME(Total_us() + hours * kMicrosecondsPerHour);
}

STRING MISSION_ELAPSED_TIME::Text() const {
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%c%.4d/%.2d:%.2d:%.2d.%.3d%.3d", sign_ < 0 ? '-' : '+',
                days_, hours_, minutes_, seconds_, milliseconds_, microseconds_);
  return text.data();
}

MISSION_ELAPSED_TIME::operator double() const { throw "can not cast from MET to double"; }

DURATION operator-(const MISSION_ELAPSED_TIME& a, const MISSION_ELAPSED_TIME& b) {
  return DURATION::FromMicroseconds(a.Total_us() - b.Total_us());
}

MISSION_ELAPSED_TIME operator+(const MISSION_ELAPSED_TIME& time, const DURATION& duration) {
  // Refuses a duration that leads out of the range from any time, before the sum can overflow.
  const long long duration_days = std::llabs(duration.Days());
  if (duration_days > 3 * kLastDay) CheckDays(duration_days);
  return MISSION_ELAPSED_TIME(time.Total_us() + duration.Days() * kMicrosecondsPerDay +
                              duration.Milliseconds() * 1000LL + duration.Microseconds());
}
