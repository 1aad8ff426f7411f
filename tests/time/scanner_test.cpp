#include <array>
#include <string>
#include <variant>

#include "basic/errors.h"
#include "tests/support/allocation_counter.h"
#include "tests/support/expect_fails.h"
#include "time/leap_seconds.h"
#include "time/met_scanner.h"
#include "time/time_value.h"
#include "time/utc_scanner.h"

namespace {

using quellmark::test::LogOfFailure;
using quellmark::test::LogOfThrownText;
using quellmark::time::ScanMet;
using quellmark::time::ScanTime;
using quellmark::time::ScanUtc;
using Kind = TIME_SCANNER::TokenKind;

TEST(UtcScanner, ReadsBothPrintedForms) {
  struct Row {
    std::string text;
    const char* long_text;
  };
  for (const auto& [text, long_text] : {
           Row{"06-JAN-1980/00:00:00.000000", "06-JAN-1980/00:00:00.000000"},
           Row{"2022-04-14T10:21:03.012034Z", "14-APR-2022/10:21:03.012034"},
           Row{" 6 -\tDEC- 80 / 1 : 2 : 3 . 5 Z ", "06-DEC-0080/01:02:03.500000"},
           Row{"2000-02-29T00:00:00", "29-FEB-2000/00:00:00.000000"},
           Row{"2000-02-29T00:00:00.", "29-FEB-2000/00:00:00.000000"},
           Row{"2000-02-29T00:00:00.Z", "29-FEB-2000/00:00:00.000000"},
           Row{"2000-01-01T00:00:00.1234567", "01-JAN-2000/00:00:00.123456"},
           Row{"2000-01-01T23:59:60.9", "01-JAN-2000/23:59:60.900000"},
           Row{"31-MAY-2000/23:59:62Z", "31-MAY-2000/23:59:62.000000"},
           Row{"2000-01-01T00:00:00\nrest", "01-JAN-2000/00:00:00.000000"},
           Row{std::string("2000-01-01T00:00:00\0.5", 22), "01-JAN-2000/00:00:00.000000"},
           Row{"2000-01-01T00:00:00." + std::string(500, '7'), "01-JAN-2000/00:00:00.777777"},
       }) {
    EXPECT_EQ(ScanUtc(text).LongText(), long_text) << text;
  }
  constexpr std::array kMonths = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                  "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
  for (int month = 1; month <= 12; ++month) {
    const std::string name = kMonths[static_cast<std::size_t>(month - 1)];
    EXPECT_EQ(ScanUtc("01-" + name + "-2000/00:00:00"), (UNIVERSAL_TIME{2000, month}));
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

TEST(UtcScanner, RefusesFieldsOutOfRange) {
  struct Row {
    const char* text;
    const char* line;
  };
  for (const auto& [text, line] : {
           Row{"2000-01-01T24:61:00", "invalid hour: 24"},
           Row{"2000-01-01T23:60:00", "invalid minute: 60"},
           Row{"31-APR-2000/23:59:63", "invalid second: 63"},
           Row{"2000-01-01T12:00:60", "invalid leap second: 60"},
           Row{"2000-01-01T23:58:62", "invalid leap second: 62"},
           Row{"31-APR-2000/00:00:00", "Invalid date: 31 4 2000"},
           Row{"1900-02-29T00:00:00", "Invalid date: 29 2 1900"},
           Row{"2000-00-01T00:00:00", "Invalid date: 1 0 2000"},
           Row{"2000-13-01T00:00:00", "Invalid date: 1 13 2000"},
           Row{"2000-01-00T00:00:00", "Invalid date: 0 1 2000"},
           Row{"99999999999999999999-01-01T00:00:00", "Invalid date: 1 1 2147483647"},
           Row{"2000-01-01T4294967296:00:00", "invalid hour: 2147483647"},
       }) {
    EXPECT_EQ(LogOfFailure<ERROR_DATA>([&, text = text] { static_cast<void>(ScanUtc(text)); }),
              std::string("EXCEP : UTC_SCANNER: ") + line +
                  "\nEXCEP : UTC_SCANNER: Error during scan of: " + text + "\n");
  }
  for (const std::string text :
       {"2000-01-01T00:00:00/1", "2000-01-01T00:00:00.5x", "2000-01-01T00:00:00ZZ",
        "2000-01-01T00:00:00.5.5", "2000-01-01T00:00:00 2000-01-01T00:00:00"}) {
    EXPECT_EQ(LogOfFailure<ERROR_DATA>([&] { static_cast<void>(ScanUtc(text)); }),
              "EXCEP : UTC_SCANNER: Error during scan of: " + text + "\n");
  }
}

TEST(UtcScanner, RefusesOtherForms) {
  constexpr const char* kEnd = "TIME: scanner: unexpected end of string";
  constexpr const char* kCharacter = "TIME: scanner: unhandled character";
  struct Row {
    const char* text;
    const char* thrown;
    const char* token;  ///< the kind found, or nothing
  };
  for (const auto& [text, thrown, token] : {
           Row{"", kEnd, ""},
           Row{"2000-01-01T00:00", kEnd, ""},
           Row{"2000-01-01T00:00:", kEnd, ""},
           Row{"2000-01-01\xFF", kCharacter, ""},
           Row{"2000-jan-01", kCharacter, ""},
           Row{"2000-01-01\r", kCharacter, ""},
           Row{"-2000-01-01T00:00:00", "unexpected token in GetNumber()", "token_sign_minus"},
           Row{"2000-01-01 00:00:00", "unexpected token in GetSeparator()", "token_number"},
           Row{"2000-01-01:00:00:00", "unexpected token in GetSeparator()", "token_separator"},
           Row{"2000/01/01T00:00:00", "unexpected token in GetSeparator()", "token_separator"},
           Row{"2000-JAN-01T00:00:00", "unexpected token in GetSeparator()", "token_separator"},
           Row{"2000-01-01T00:00:00.-5", "unexpected token in GetMilliAndMicroSeconds()",
               "token_sign_minus"},
       }) {
    std::string expected = std::string("EXCEP : UTC_SCANNER: Error during scan of: ") + text + "\n";
    if (*token != '\0') expected = std::string("EXCEP : found token: ") + token + "\n" + expected;
    EXPECT_EQ(LogOfThrownText(thrown, [&, text = text] { static_cast<void>(ScanUtc(text)); }),
              expected);
  }
  EXPECT_EQ(
      LogOfThrownText("invalid month name", [] { static_cast<void>(ScanUtc("1-JUNE-2000")); }),
      "EXCEP : TIME_SCANNER: can not convert >> JUNE << to month\n"
      "EXCEP : UTC_SCANNER: Error during scan of: 1-JUNE-2000\n");
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

TEST(MetScanner, ReadsItsForm) {
  EXPECT_EQ(ScanMet("+0012/03:04:05.060007").Text(), "+0012/03:04:05.060007");
  EXPECT_EQ(ScanMet("- 9999 / 23:59:59.5").Text(), "-9999/23:59:59.500000");
  EXPECT_EQ(ScanMet("1/25:00:00").Text(), "+0002/01:00:00.000000");
  struct Row {
    const char* text;
    const char* thrown;
    const char* log;
  };
  for (const auto& [text, thrown, log] : {
           Row{"+12", "TIME: scanner: unexpected end of string", ""},
           Row{"+-12", "unexpected token in GetNumber()",
               "EXCEP : found token: token_sign_minus\n"},
           Row{"2012-06-30T10", "unexpected token in GetSeparator()",
               "EXCEP : found token: token_sign_minus\n"},
           Row{"+9999/24:00:00", "can not represent MET value",
               "ALARM : MET_VALUES: exceeding representable range (days=10000)\n"},
           Row{"0/00:00:99999999999", "can not represent MET value",
               "ALARM : MET_VALUES: exceeding representable range (days=24855)\n"},
       }) {
    EXPECT_EQ(LogOfThrownText(thrown, [&, text = text] { static_cast<void>(ScanMet(text)); }),
              std::string(log) + "EXCEP : MET_SCANNER: " + thrown + "\n");
  }
  EXPECT_EQ(LogOfFailure<ERROR_DATA>([] { static_cast<void>(ScanMet("+0/0:0:0.5Z")); }),
            "EXCEP : MET_SCANNER: data error\n");
}

TEST(ScanTime, TellsTheKindsApart) {
  EXPECT_EQ(std::get<double>(ScanTime("-250.5")), -250.5);
  EXPECT_EQ(std::get<double>(ScanTime(" +1e3\t")), 1000.0);
  EXPECT_EQ(std::get<double>(ScanTime("0")), 0.0);
  quellmark::test::ScopedLog log;
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
