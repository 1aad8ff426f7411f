#include <string>
#include <variant>

#include "basic/errors.h"
#include "tests/support/allocation_counter.h"
#include "tests/support/expect_fails.h"
#include "tests/support/rows.h"
#include "time/leap_seconds.h"
#include "time/met_scanner.h"
#include "time/time_value.h"
#include "time/utc_scanner.h"

namespace {

using quellmark::test::LogOfThrownText;
using quellmark::test::ReadRows;
using quellmark::test::Row;
using quellmark::test::ScopedLog;
using quellmark::time::ScanMet;
using quellmark::time::ScanTime;
using quellmark::time::ScanUtc;
using quellmark::time::TimeValue;
using Kind = TIME_SCANNER::TokenKind;

// Reads the text in one of the forms that the table names.
TimeValue Scan(const std::string& form, const std::string& text) {
  using Format = UTC_SCANNER::Format;
  if (form == "ANY") return ScanTime(text);
  if (form == "MET") return ScanMet(text);
  if (form == "UTC") return ScanUtc(text);
  return UTC_SCANNER(text).Scan(form == "LONG"  ? Format::kLong
                                : form == "ISO" ? Format::kIso
                                                : static_cast<Format>(3));
}

std::string TextOf(double seconds) { return std::to_string(seconds); }
std::string TextOf(const MISSION_ELAPSED_TIME& time) { return time.Text().Text(); }
std::string TextOf(const UNIVERSAL_TIME& time) { return time.LongText().Text(); }

TEST(Scanners, MakeOfEachTextWhatTheTableSays) {
  const std::vector<Row> rows = ReadRows(QM_TIME_TEST_DATA "/texts.txt");
  ASSERT_GT(rows.size(), 100U);
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0] + " " + row[1]);
    ScopedLog log;
    std::string found;
    try {
      found = std::visit([](const auto& time) { return TextOf(time); }, Scan(row[0], row[1]));
    } catch (const char* text) {
      found = text;
    } catch (const ERROR_DATA& error) {
      found = error.Message();
    }
    EXPECT_EQ(found, row[2]);
    EXPECT_EQ(log.Text(), row.size() > 3 ? row[3] : "");
  }
}

TEST(UtcScanner, AllocatesNothing) {
  static_cast<void>(quellmark::time::LeapSeconds());  // the first use builds its table
  const std::size_t before = quellmark::test::AllocationCount();
  const UNIVERSAL_TIME iso = ScanUtc("2022-04-14T10:21:03.012034Z");
  const DURATION elapsed = ScanUtc("15-APR-2022/10:21:03.012035") - iso;
  EXPECT_EQ(quellmark::test::AllocationCount(), before);
  EXPECT_EQ(elapsed, DURATION(1, 0, 1));
}

TEST(TimeScanner, ReadsTokensAndPutsOneBack) {
  TIME_SCANNER scanner("+-\t 0012/\\T:.JANZ");
  std::string tokens;
  for (int i = 0; i < 11; ++i) {
    const TIME_SCANNER::Token token = scanner.NextToken();
    tokens += TIME_SCANNER::TokenName(token.kind) + (" " + std::to_string(token.value)) + ", ";
  }
  EXPECT_EQ(tokens,
            "token_sign_plus 0, token_sign_minus 0, token_white 0, token_number 12, "
            "token_separator 0, token_separator 0, token_separator 0, token_separator 0, "
            "token_point 0, token_month 1, token_zulu 0, ");
  EXPECT_THROWS_TEXT(scanner.NextToken(), "TIME: scanner: unexpected end of string");
  scanner.Unget({.kind = Kind::kNumber, .value = 7, .text = "7"});
  EXPECT_FALSE(scanner.AtEnd());
  EXPECT_THROWS_TEXT(scanner.Unget({}), "TIME: scanner: internal error unget buffer overflow");
  EXPECT_EQ(scanner.GetNumber(), 7);
  EXPECT_EQ(TIME_SCANNER(std::string(500, 'A')).NextToken().text.size(), 128);
  EXPECT_THROWS_TEXT(TIME_SCANNER::TokenName(static_cast<Kind>(8)),
                     "can not convert unregistered tokentype to string");
}

TEST(TimeScanner, TypedReadsTakeTheirKind) {
  TIME_SCANNER scanner(" - \t. 5Z");
  EXPECT_EQ(scanner.GetSign(), '-');
  EXPECT_EQ(scanner.GetSign(), '+') << "no sign";
  scanner.GetPoint();
  const auto [milliseconds, microseconds] = scanner.GetMilliAndMicroSeconds();
  EXPECT_EQ(milliseconds, 500);
  EXPECT_EQ(microseconds, 0);
  EXPECT_EQ(scanner.GetMilliAndMicroSeconds().milliseconds, 0) << "a Z ends the read";
  EXPECT_EQ(LogOfThrownText("unexpected token in GetPoint()", [&] { scanner.GetPoint(); }),
            "EXCEP : found token: token_zulu\n");
  for (const char separator : {'/', ':', 'T', '\\', '-'}) {
    EXPECT_NO_THROW(TIME_SCANNER(std::string(1, separator)).GetSeparator());
  }
}

}  // namespace
