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
using Kind = TIME_SCANNER::TokenKind;

TEST(Scanners, MakeOfEachTextWhatTheTableSays) {
  const std::vector<Row> rows = ReadRows(QM_TIME_TEST_DATA "/texts.txt");
  ASSERT_GT(rows.size(), 70U);
  for (const Row& row : rows) {
    SCOPED_TRACE(row[1]);
    const bool is_utc = row[0] == "UTC";
    ScopedLog log;
    std::string found;
    try {
      found = (is_utc ? ScanUtc(row[1]).LongText() : ScanMet(row[1]).Text()).Text();
    } catch (const char* text) {
      found = text;
    } catch (const ERROR_DATA& error) {
      found = error.Message();
    }
    EXPECT_EQ(found, row[2]);
    if (row.size() == 3) {
      EXPECT_EQ(log.Text(), "");
      continue;
    }
    EXPECT_EQ(log.Text(), (row[3] == "-" ? "" : row[3]) + "EXCEP : " +
                              (is_utc ? "UTC_SCANNER: Error during scan of: " + row[1]
                                      : "MET_SCANNER: " + found) +
                              "\n");
  }
}

TEST(UtcScanner, AllocatesNothing) {
  static_cast<void>(quellmark::time::LeapSeconds());  // builds its table at its first use
  const std::size_t before = quellmark::test::AllocationCount();
  const UNIVERSAL_TIME iso = ScanUtc("2022-04-14T10:21:03.012034Z");
  const DURATION elapsed = ScanUtc("15-APR-2022/10:21:03.012035") - iso;
  EXPECT_EQ(quellmark::test::AllocationCount(), before);
  EXPECT_EQ(elapsed, DURATION(1, 0, 1));
}

TEST(UtcScanner, KeepsToAnAskedFormat) {
  using Format = UTC_SCANNER::Format;
  constexpr const char* kIso = "2000-01-01T00:00:00";
  EXPECT_EQ(UTC_SCANNER(kIso).Scan(Format::kIso), UNIVERSAL_TIME{2000});
  EXPECT_THROWS_TEXT(UTC_SCANNER(kIso).Scan(Format::kLong), "unexpected token in GetMonth()");
  EXPECT_THROWS_TEXT(UTC_SCANNER("01-JAN-2000/00:00:00").Scan(Format::kIso),
                     "unexpected token in GetNumber()");
  EXPECT_THROWS_TEXT(UTC_SCANNER(kIso).Scan(static_cast<Format>(3)),
                     "invalid or unsupported format");
}

TEST(ScanTime, TellsTheKindsApart) {
  EXPECT_EQ(std::get<double>(ScanTime("-250.5")), -250.5);
  EXPECT_EQ(std::get<double>(ScanTime(" +1e3\t")), 1000.0);
  EXPECT_EQ(std::get<double>(ScanTime("0")), 0.0);
  ScopedLog log;
  EXPECT_EQ(std::get<MISSION_ELAPSED_TIME>(ScanTime("+0001/00:00:00")),
            MISSION_ELAPSED_TIME(1, 1, 0, 0, 0, 0, 0));
  EXPECT_EQ(std::get<MISSION_ELAPSED_TIME>(ScanTime(" 0001 /00:00:00.5")).Milliseconds(), 500);
  EXPECT_EQ(std::get<UNIVERSAL_TIME>(ScanTime("2000-01-01T00:00:00Z")), UNIVERSAL_TIME{2000});
  EXPECT_EQ(std::get<UNIVERSAL_TIME>(ScanTime(" 01-JAN-2000/00:00:00")), UNIVERSAL_TIME{2000});
  EXPECT_EQ(log.Text(), "") << "a scanner complained about another kind's text";
  for (const char* none : {"", " ", "nan", "inf", "-inf", "1e999", "0x10", "12 13", "+", "++1",
                           "+-1", "1,5", "10/", "hello"}) {
    EXPECT_ANY_THROW(static_cast<void>(ScanTime(none))) << none;
  }
}

TEST(TimeScanner, ReadsTokensAndPutsOneBack) {
  TIME_SCANNER scanner("+-\t 0012/\\T:.JANZ");
  for (const auto& [kind, value] : {std::pair{Kind::kSignPlus, 0},
                                    {Kind::kSignMinus, 0},
                                    {Kind::kWhite, 0},
                                    {Kind::kNumber, 12},
                                    {Kind::kSeparator, 0},
                                    {Kind::kSeparator, 0},
                                    {Kind::kSeparator, 0},
                                    {Kind::kSeparator, 0},
                                    {Kind::kPoint, 0},
                                    {Kind::kMonth, 1},
                                    {Kind::kZulu, 0}}) {
    const TIME_SCANNER::Token token = scanner.NextToken();
    EXPECT_EQ(token.kind, kind) << TIME_SCANNER::TokenName(kind);
    EXPECT_EQ(token.value, value);
  }
  EXPECT_THROWS_TEXT(scanner.NextToken(), "TIME: scanner: unexpected end of string");
  scanner.Unget({.kind = Kind::kNumber, .value = 7, .text = "7"});
  EXPECT_FALSE(scanner.AtEnd());
  EXPECT_THROWS_TEXT(scanner.Unget({}), "TIME: scanner: internal error unget buffer overflow");
  EXPECT_EQ(scanner.GetNumber(), 7);
  EXPECT_EQ(TIME_SCANNER(std::string(500, 'A')).NextToken().text.size(), 128);
  EXPECT_STREQ(TIME_SCANNER::TokenName(Kind::kZulu), "token_zulu");
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
