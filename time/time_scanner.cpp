#include "time/time_scanner.h"

#include <array>
#include <limits>
#include <optional>
#include <utility>

#include "runtime/log.h"
#include "time/calendar.h"

namespace {

using Kind = TIME_SCANNER::TokenKind;
using quellmark::runtime::LogLevel;
using quellmark::runtime::LogLine;

constexpr std::array kTokenNames = {"token_sign_minus", "token_sign_plus", "token_white",
                                    "token_number",     "token_point",     "token_separator",
                                    "token_month",      "token_zulu"};

constexpr std::size_t kLongestTokenText = 128;

constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool IsWhite(char c) { return c == ' ' || c == '\t'; }
constexpr bool IsMonthLetter(char c) {
  return std::string_view("ABCDEFGJLMNOPRSTUVY").find(c) != std::string_view::npos;
}

// The kind of token that begins with `c`, if there is one.
std::optional<Kind> KindOfFirst(char c) {
  switch (c) {
    case '-':
      return Kind::kSignMinus;
    case '+':
      return Kind::kSignPlus;
    case '.':
      return Kind::kPoint;
    case '/':
    case ':':
    case 'T':
    case '\\':
      return Kind::kSeparator;
    case 'A':
    case 'D':
    case 'F':
    case 'J':
    case 'M':
    case 'N':
    case 'O':
    case 'S':
      return Kind::kMonth;
    case 'Z':
      return Kind::kZulu;
    default:
      if (IsDigit(c)) return Kind::kNumber;
      if (IsWhite(c)) return Kind::kWhite;
      return std::nullopt;
  }
}

bool Continues(Kind kind, char c) {
  switch (kind) {
    case Kind::kNumber:
      return IsDigit(c);
    case Kind::kWhite:
      return IsWhite(c);
    case Kind::kMonth:
      return IsMonthLetter(c);
    default:
      return false;
  }
}

std::int32_t NumberOf(std::string_view digits) {
  constexpr long long kMost = std::numeric_limits<std::int32_t>::max();
  long long value = 0;
  for (const char digit : digits) {
    value = value * 10 + (digit - '0');
    if (value >= kMost) return static_cast<std::int32_t>(kMost);
  }
  return static_cast<std::int32_t>(value);
}

[[noreturn]] void FailUnexpected(Kind found, const char* complaint) {
  LogLine(LogLevel::kException, "found token: ", TIME_SCANNER::TokenName(found));
  throw complaint;
}

}  // namespace

TIME_SCANNER::TIME_SCANNER(std::string_view text)
    : text_(text.substr(0, text.find_first_of(std::string_view("\0\n", 2)))) {}

const char* TIME_SCANNER::TokenName(TokenKind kind) {
  const auto index = static_cast<std::size_t>(kind);
  if (index >= kTokenNames.size()) throw "can not convert unregistered tokentype to string";
  return kTokenNames[index];
}

TIME_SCANNER::Token TIME_SCANNER::NextToken() {
  if (unget_) return *std::exchange(unget_, std::nullopt);
  if (position_ == text_.size()) throw "TIME: scanner: unexpected end of string";
  const std::size_t begin = position_;
  const std::optional<Kind> first = KindOfFirst(text_[begin]);
  if (!first) throw "TIME: scanner: unhandled character";
  const Kind kind = *first;
  do {
    ++position_;
  } while (position_ < text_.size() && Continues(kind, text_[position_]));
  Token token{.kind = kind, .text = text_.substr(begin, position_ - begin)};
  if (kind == Kind::kNumber) token.value = NumberOf(token.text);
  if (kind == Kind::kMonth) token.value = quellmark::time::MonthOfName(token.text);
  token.text = token.text.substr(0, kLongestTokenText);
  return token;
}

void TIME_SCANNER::Unget(const Token& token) {
  if (unget_) throw "TIME: scanner: internal error unget buffer overflow";
  unget_ = token;
}

std::int32_t TIME_SCANNER::GetNumber() {
  return Expect(Kind::kNumber, "unexpected token in GetNumber()").value;
}

void TIME_SCANNER::GetSeparator(std::string_view allowed) {
  const Token token = NextVisibleToken();
  const bool separates = token.kind == Kind::kSeparator || token.kind == Kind::kSignMinus;
  if (!separates || allowed.find(token.text[0]) == std::string_view::npos) {
    FailUnexpected(token.kind, "unexpected token in GetSeparator()");
  }
}

void TIME_SCANNER::GetPoint() { Expect(Kind::kPoint, "unexpected token in GetPoint()"); }

TIME_SCANNER::Fraction TIME_SCANNER::GetMilliAndMicroSeconds() {
  if (AtEnd() || NextIs(Kind::kZulu)) return {};
  const Token token = Expect(Kind::kNumber, "unexpected token in GetMilliAndMicroSeconds()");
  std::array<char, 6> digits = {'0', '0', '0', '0', '0', '0'};
  token.text.copy(digits.data(), digits.size());
  return {NumberOf({digits.data(), 3}), NumberOf({digits.data() + 3, 3})};
}

std::int32_t TIME_SCANNER::GetMonth() {
  const Token token = Expect(Kind::kMonth, "unexpected token in GetMonth()");
  if (token.value == 0) {
    LogLine(LogLevel::kException, "TIME_SCANNER: can not convert >> ", token.text,
            " << to month\n");
    throw "invalid month name";
  }
  return token.value;
}

char TIME_SCANNER::GetSign() {
  if (Accept(Kind::kSignMinus)) return '-';
  Accept(Kind::kSignPlus);
  return '+';
}

void TIME_SCANNER::SkipWhite() {
  if (unget_ && unget_->kind == Kind::kWhite) unget_.reset();
  if (unget_) return;
  while (position_ < text_.size() && IsWhite(text_[position_])) ++position_;
}

bool TIME_SCANNER::AtEnd() {
  SkipWhite();
  return !unget_ && position_ == text_.size();
}

bool TIME_SCANNER::NextIs(TokenKind kind) {
  if (AtEnd()) return false;
  return (unget_ ? unget_->kind : KindOfFirst(text_[position_])) == kind;
}

bool TIME_SCANNER::Accept(TokenKind kind) {
  if (!NextIs(kind)) return false;
  static_cast<void>(NextToken());
  return true;
}

TIME_SCANNER::Token TIME_SCANNER::NextVisibleToken() {
  SkipWhite();
  return NextToken();
}

TIME_SCANNER::Token TIME_SCANNER::Expect(TokenKind kind, const char* complaint) {
  const Token token = NextVisibleToken();
  if (token.kind != kind) FailUnexpected(token.kind, complaint);
  return token;
}
