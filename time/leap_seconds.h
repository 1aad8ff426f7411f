// The seconds inserted into UTC.
#pragma once

#include <cstdint>
#include <vector>

#include "basic/array.h"
#include "time/universal_time.h"

/// One inserted second: its UTC instant (always 23:59:60.000000) and how many seconds (always 1).
struct LEAP_SECOND_ITEM {
  UNIVERSAL_TIME instant;
  std::int32_t inserted = 0;

  friend bool operator==(const LEAP_SECOND_ITEM&, const LEAP_SECOND_ITEM&) = default;
};

namespace quellmark::time {

/// The built-in lists, each ended by an item that is zero in all fields.
[[nodiscard]] const LEAP_SECOND_ITEM* BuiltInLeapSeconds();
[[nodiscard]] const LEAP_SECOND_ITEM* NoLeapSeconds();

class LeapSecondTable {
 public:
  /// Items in the order of time, up to the all-zero item.
  explicit LeapSecondTable(const LEAP_SECOND_ITEM* list) { Build(list); }

  /// Replaces the table; `list` is as for the constructor and is copied. Throws the character
  /// string "ARRAY : can not copy array" when there is no memory for it.
  void Build(const LEAP_SECOND_ITEM* list);

  [[nodiscard]] const ARRAY<LEAP_SECOND_ITEM>& Items() const { return items_; }

  /// Whether all eight fields equal those of an item.
  [[nodiscard]] bool Contains(const UNIVERSAL_TIME& time) const;

  /// For a not later than b minus the number of items after a and not after b; Count(b, a) negated
  /// otherwise. Writes the number to the log at level TRACE.
  [[nodiscard]] int Count(const UNIVERSAL_TIME& a, const UNIVERSAL_TIME& b) const;

  /// How many seconds were inserted before the day with this DayNumber() began.
  [[nodiscard]] int InsertedBefore(long long day_number) const;

 private:
  ARRAY<LEAP_SECOND_ITEM> items_;
  std::vector<long long> day_numbers_;  ///< of the items: the second follows this day's last one
};

/// The process-wide table.
[[nodiscard]] LeapSecondTable& LeapSeconds();

}  // namespace quellmark::time
