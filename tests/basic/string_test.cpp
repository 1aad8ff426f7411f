#include "basic/string.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "basic/errors.h"

namespace {

TEST(String, HasNothingToShowBeyondItsLength) {
  const STRING text("ab");
  EXPECT_STREQ(text.Text(), "ab");
  EXPECT_EQ(text[1], 'b');
  const auto refused =
      testing::ThrowsMessage<std::out_of_range>("subscript greater than string length");
  EXPECT_THAT([&] { static_cast<void>(text[2]); }, refused);
  EXPECT_THAT([] { static_cast<void>(STRING().Text()); }, refused);
}

TEST(String, TellsThatMemoryIsShort) {
  // Longer than any text may be, so that not a byte of it is read.
  const std::string_view endless("x", std::numeric_limits<std::size_t>::max() / 2);
  EXPECT_THROW(STRING{endless}, ERROR_NO_MEMORY);
  STRING text("kept");
  EXPECT_THROW(text += endless, ERROR_NO_MEMORY);
  EXPECT_EQ(text, "kept");
}

}  // namespace
