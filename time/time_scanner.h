#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// Splits the text of a time into tokens and reads typed pieces of it. The text ends at a zero
/// byte, at a line feed or at its length; it is not copied and must outlive the scanner. Faults are
/// thrown as character strings. A typed read that meets another kind of token first logs that kind
/// (level EXCEPTION). Typed reads skip blanks and tabs. Nothing is allocated.
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
    std::int32_t value =
        0;  ///< of a number (at most the integer's maximum) or a month (0: not a month)
    std::string_view text;  ///< at most its first 128 characters
  };

  struct Fraction {
    std::int32_t milliseconds = 0;
    std::int32_t microseconds = 0;
  };

  explicit TIME_SCANNER(std::string_view text);

  /// Throws "can not convert unregistered tokentype to string" for a kind outside the list.
  [[nodiscard]] static const char* TokenName(TokenKind kind);

  /// Returns the token that was put back, if any, else the next one of the text. Throws "TIME:
  /// scanner: unexpected end of string" and "TIME: scanner: unhandled character".
  Token NextToken();
  /// Puts one token back. A second one before the next read throws "TIME: scanner: internal error
  /// unget buffer overflow".
  void Unget(const Token& token);

  [[nodiscard]] std::int32_t GetNumber();
  /// Accepts a separator or a minus sign whose character is one of `allowed`.
  void GetSeparator(std::string_view allowed = "/:T\\-");
  void GetPoint();
  /// Reads all digits of a fraction of a second; only the first six count. Both fields are 0 at the
  /// end of the text and at a "Z", which is not consumed.
  [[nodiscard]] Fraction GetMilliAndMicroSeconds();
  /// Returns 1..12.
  [[nodiscard]] std::int32_t GetMonth();
  /// Returns '-', or '+' if there is a plus sign or no sign.
  [[nodiscard]] char GetSign();
  /// Skips blanks and tabs and returns whether the text ends there.
  [[nodiscard]] bool AtEnd();
  /// Whether the next token after blanks and tabs is of this kind. Never throws.
  [[nodiscard]] bool NextIs(TokenKind kind);
  /// Consumes the next token if it is of this kind, and returns whether it is.
  bool Accept(TokenKind kind);

 private:
  void SkipWhite();
  Token NextVisibleToken();
  Token Expect(TokenKind kind, const char* complaint);

  std::string_view text_;
  std::size_t position_ = 0;
  std::optional<Token> unget_;  ///< the token that was put back
};
