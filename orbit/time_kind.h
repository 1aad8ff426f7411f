// The three time types that state vectors may be stamped with: how each is read and turned into
// seconds.
#pragma once

#include <string_view>

#include "time/mission_elapsed_time.h"
#include "time/universal_time.h"

namespace quellmark::orbit {

/// A finite decimal number of seconds that takes up the whole text but blanks around it; false if
/// the text is anything else.
[[nodiscard]] bool ScanSeconds(std::string_view text, double& seconds);

/// S is double, UNIVERSAL_TIME or MISSION_ELAPSED_TIME.
/// Scan: a time from its text; throws what the scanner of S throws.
/// SecondsAfter: seconds that elapsed from `reference` to `time`.
/// IsKindOf: whether the text of a reference time is meant for S at all; a plain number is tried
/// before a MET, which begins with a sign or with digits and a "/"; everything else is a UTC.
template <class S>
struct TimeKind {
  [[nodiscard]] static S Scan(std::string_view text);
  [[nodiscard]] static double SecondsAfter(const S& time, const S& reference);
  [[nodiscard]] static bool IsKindOf(std::string_view text);
};

}  // namespace quellmark::orbit
