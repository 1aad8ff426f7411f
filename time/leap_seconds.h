// The seconds inserted into UTC.
#pragma once

#include <cstdint>
#include <vector>

#include "basic/array.h"
#include "time/universal_time.h"

/// One inserted second: its UTC instant (always 23:59:60.000000) and the number of seconds (always
/// 1).
struct LEAP_SECOND_ITEM {
  UNIVERSAL_TIME instant;
  std::int32_t inserted = 0;

  friend bool operator==(const LEAP_SECOND_ITEM&, const LEAP_SECOND_ITEM&) = default;
};

namespace quellmark::time {

/// The built-in lists. An item with zeros in all fields ends each of them.
[[nodiscard]] const LEAP_SECOND_ITEM* BuiltInLeapSeconds();
[[nodiscard]] const LEAP_SECOND_ITEM* NoLeapSeconds();

class LeapSecondTable {
 public:
  /// `list` holds items in the order of time and ends with the all-zero item.
  explicit LeapSecondTable(const LEAP_SECOND_ITEM* list) { Build(list); }

  /// Replaces the table by a copy of `list`, which is as for the constructor. Throws the character
  /// string "ARRAY : can not copy array" if there is no memory for it.
  void Build(const LEAP_SECOND_ITEM* list);

  [[nodiscard]] const ARRAY<LEAP_SECOND_ITEM>& Items() const { return items_; }

  /// Whether the table has an item with the same eight fields.
  [[nodiscard]] bool Contains(const UNIVERSAL_TIME& time) const;

  /// If a <= b, returns minus the number of items after a and not after b; otherwise returns
  /// -Count(b, a). Writes the number to the log at level TRACE.
  [[nodiscard]] int Count(const UNIVERSAL_TIME& a, const UNIVERSAL_TIME& b) const;

  /// The number of seconds inserted before the day with this DayNumber().
  [[nodiscard]] int InsertedBefore(long long day_number) const;

 private:
  ARRAY<LEAP_SECOND_ITEM> items_;
  std::vector<long long>
      day_numbers_;  ///< of the items; an inserted second comes after the last one of its day
};

/// The process-wide table.
[[nodiscard]] LeapSecondTable& LeapSeconds();

}  // namespace quellmark::time
