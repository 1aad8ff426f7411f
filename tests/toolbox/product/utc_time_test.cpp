// Compares times of products with the calendar.
#include "toolbox/product/utc_time.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace quellmark::product {
namespace {

TEST(UtcTime, TextsAreReadShiftedAndPrinted) {
  struct Row {
    std::string_view text;
    double shift_s;
    std::string_view expected;
  };
  constexpr Row kRows[] = {
      {"2021-04-01T05:26:23.794193Z", 0.0, "2021-04-01T05:26:23.794193Z"},
      {"2021-04-01 05:26:23.794193", 0.0, "2021-04-01T05:26:23.794193Z"},
      {"2021-07-01 00:00:00.000000000", 12003.4611040, "2021-07-01T03:20:03.461104Z"},
      {"2021-07-01T00:00:00", -1e-6, "2021-06-30T23:59:59.999999Z"},
      {"2021-12-31T23:59:59.9999996", 0.0, "2022-01-01T00:00:00.000000Z"},
      {"2020-02-28T23:59:59.5Z", 0.5, "2020-02-29T00:00:00.000000Z"},
      {"1999-12-31T23:59:59.25Z", -86'400.0, "1999-12-30T23:59:59.250000Z"},
      {"2016-12-31T23:59:60Z", 0.0, "2017-01-01T00:00:00.000000Z"},
  };
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.text);
    const auto time = ParseUtc(row.text);
    ASSERT_TRUE(time);
    const UtcTime shifted = Shifted(*time, row.shift_s);
    EXPECT_EQ(UtcText(shifted), row.expected);
    EXPECT_NEAR(SecondsBetween(*time, shifted), row.shift_s, 1e-11);
  }
  for (const std::string_view text :
       {"", "2021-04-01", "2021-04-01T05:26", "2021-02-29T00:00:00", "2021-13-01T00:00:00",
        "2021-04-01T24:00:00", "2021-04-01T05:60:00", "2021-04-01T05:26:61", "0000-01-01T00:00:00",
        "2021-04-01T05:26:23.", "2021-04-01T05:26:23.7e3", "2021-04-01T05:26:23,7",
        "2021-04-01T05:26:23ZZ", "2021/04/01T05:26:23", "2021-04-01x05:26:23",
        "2021-04-01T05:26:2Z", " 2021-04-01T05:26:23", "2021-04-01T05:26:23+01:00",
        "-021-04-01T05:26:23"}) {
    EXPECT_FALSE(ParseUtc(text)) << text;
  }
}

}  // namespace
}  // namespace quellmark::product
