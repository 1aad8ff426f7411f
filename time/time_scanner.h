#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// Splits the text of a time into tokens and reads typed pieces of it. The text ends at a zero
/// byte, a line feed or its length; it is not copied and must outlive the scanner. Faults are
/// thrown as character strings; a typed read that meets another token logs its kind (level
/// EXCEPTION) first. Typed reads skip blanks and tabs. Nothing is allocated.
class TIME_SCANNER {
 public:
  enum class TokenKind : int {
    kSignMinus = 0,
    kSignPlus,
    kWhite,
    kNumber,
    kPoint,
    kSeparator,
    kMonth,
    kZulu,
  };

  struct Token {
    TokenKind kind = TokenKind::kWhite;
    std::int32_t value = 0;  ///< of a number (held at the integer's maximum) or month (0: no month)
    std::string_view text;   ///< at most 128 characters of it
  };

  struct Fraction {
    std::int32_t milliseconds = 0;
    std::int32_t microseconds = 0;
  };

  explicit TIME_SCANNER(std::string_view text);

  /// Throws for a kind outside the list "can not convert unregistered tokentype to string".
  [[nodiscard]] static const char* TokenName(TokenKind kind);

  /// The token put back last, or the next one of the text. Throws "TIME: scanner: unexpected end of
  /// string" and "TIME: scanner: unhandled character".
  Token NextToken();
  /// Puts one token back; a second one before the next read throws "TIME: scanner: internal error
  /// unget buffer overflow".
  void Unget(const Token& token);

  [[nodiscard]] std::int32_t GetNumber();
  /// Accepts a separator or a minus sign whose character is one of `allowed`.
  void GetSeparator(std::string_view allowed = "/:T\\-");
  void GetPoint();
  /// The digits of a fraction of a second, as many as there are; the first six count. Both fields
  /// are 0 at the end of the text and at a "Z", which is left to be read.
  [[nodiscard]] Fraction GetMilliAndMicroSeconds();
  /// 1..12.
  [[nodiscard]] std::int32_t GetMonth();
  /// '-' or, also when there is no sign, '+'.
  [[nodiscard]] char GetSign();
  /// Whether nothing but white is left; skips it.
  [[nodiscard]] bool AtEnd();
  /// Whether the next token after white is of this kind; never throws for what it is instead.
  [[nodiscard]] bool NextIs(TokenKind kind);
  /// Reads the next token if it is of this kind.
  bool Accept(TokenKind kind);

 private:
  void SkipWhite();
  Token NextVisibleToken();
  Token Expect(TokenKind kind, const char* complaint);

  std::string_view text_;
  std::size_t position_ = 0;
  std::optional<Token> unget_;  ///< the one that was put back
};
