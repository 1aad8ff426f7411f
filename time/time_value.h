// What the three time types - a plain number of seconds, MISSION_ELAPSED_TIME and UNIVERSAL_TIME -
// have in common.
#pragma once

#include <concepts>
#include <string_view>
#include <variant>

#include "time/mission_elapsed_time.h"
#include "time/universal_time.h"

namespace quellmark::time {

/// A stamp of one of the time types; the number counts seconds [s].
using TimeValue = std::variant<double, MISSION_ELAPSED_TIME, UNIVERSAL_TIME>;

/// The time that the whole text shows, tried as a plain number of seconds first, then as a mission
/// elapsed time, then as UTC. Throws as ScanMet() or ScanUtc(); a number that is not finite is
/// none.
[[nodiscard]] TimeValue ScanTime(std::string_view text);

/// `from` as a `To`. There is no conversion between the time types: throws the character string
/// "not allowed time conversion" unless it is of that type.
template <class To, class From>
[[nodiscard]] To ConvertTime([[maybe_unused]] const From& from) {
  if constexpr (std::same_as<To, From>) {
    return from;
  } else {
    throw "not allowed time conversion";
  }
}

template <class To>
[[nodiscard]] To ConvertTime(const TimeValue& from) {
  return std::visit([](const auto& value) { return ConvertTime<To>(value); }, from);
}

template <class T>
concept Stamp = std::same_as<T, UNIVERSAL_TIME> || std::same_as<T, MISSION_ELAPSED_TIME>;

/// Distance between two stamps in seconds [s], for every time type.
[[nodiscard]] constexpr double SecondsBetween(double from, double to) { return to - from; }
template <Stamp T>
[[nodiscard]] double SecondsBetween(const T& from, const T& to) {
  return (to - from).Seconds();
}

}  // namespace quellmark::time

// What is arithmetic for numbers and for durations, and meaningless for stamps.

template <quellmark::time::Stamp T>
[[noreturn]] T operator+(const T&, const T&) {
  throw "time operation not permitted";
}
template <quellmark::time::Stamp T>
[[noreturn]] T operator*(const T&, double) {
  throw "time operation not permitted";
}
template <quellmark::time::Stamp T>
[[noreturn]] T operator/(const T&, double) {
  throw "time operation not permitted";
}
