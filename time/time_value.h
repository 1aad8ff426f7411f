// What the three time types - a plain number of seconds, MISSION_ELAPSED_TIME and UNIVERSAL_TIME -
// have in common.
#pragma once

#include <concepts>
#include <string_view>
#include <variant>

#include "time/mission_elapsed_time.h"
#include "time/universal_time.h"

namespace quellmark::time {

/// A stamp of one of the time types; a plain number counts seconds [s].
using TimeValue = std::variant<double, MISSION_ELAPSED_TIME, UNIVERSAL_TIME>;

/// Reads the whole text as a time: as a plain number of seconds if it is one, else as a mission
/// elapsed time or as UTC. Numbers that are not finite are not accepted. Throws like ScanMet() or
/// ScanUtc().
[[nodiscard]] TimeValue ScanTime(std::string_view text);

/// Returns `from` as a `To`. The time types cannot be converted into each other: if the types
/// differ, throws the character string "not allowed time conversion".
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

// Operations that make sense for numbers and durations, but not for stamps.

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
