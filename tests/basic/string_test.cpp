#include "basic/string.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

#include "basic/errors.h"
#include "tests/support/allocation_counter.h"
#include "tests/support/expect_fails.h"

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
  // The length exceeds that of any text, so no byte of it is read.
  const std::string_view endless("x", std::numeric_limits<std::size_t>::max() / 2);
  constexpr const char* kLine = "STRING: not enough memory for a text\n";
  EXPECT_FAILS(STRING{endless}, ERROR_NO_MEMORY, kLine);
  STRING text("kept");
  EXPECT_FAILS(text += endless, ERROR_NO_MEMORY, kLine);
  const std::string source(1000, 'x');
  const STRING longer(source);
  const quellmark::test::AllocationLimit none(0);
  EXPECT_THROW(STRING{source}, ERROR_NO_MEMORY);
  EXPECT_THROW(STRING{longer}, ERROR_NO_MEMORY);
  EXPECT_THROW(text = longer, ERROR_NO_MEMORY);
  EXPECT_EQ(text, "kept");
}

}  // namespace
