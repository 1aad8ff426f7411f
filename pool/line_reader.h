// The lines of a pool file and the tokens of a line.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <string_view>

namespace quellmark::pool {

/// A line holds at most this many characters, its end included; a longer one is read as several.
inline constexpr std::size_t kLineLimit = 1024;
/// Of a longer key only this many characters count.
inline constexpr std::size_t kKeyLimit = 100;

[[nodiscard]] constexpr bool IsBlank(char c) { return c == ' ' || c == '\t'; }
[[nodiscard]] constexpr bool IsLineEnd(char c) { return c == '\n' || c == '\r'; }

/// Whether a line begins an entry: not empty, not indented, no comment.
[[nodiscard]] constexpr bool IsKeyLine(std::string_view line) {
  return !IsBlank(line.front()) && !IsLineEnd(line.front()) && line.front() != '#';
}

/// The key of a key line.
[[nodiscard]] std::string_view KeyOf(std::string_view line);

/// Reads a file line by line through a buffer of fixed size, or a text in memory. A line ends after
/// the first CR or LF (the LF after a CR is a line of its own), after kLineLimit characters, or
/// with the file.
class LineReader {
 public:
  /// Starts over at the first byte of `fd`, which stays the caller's; nothing that was read before
  /// is used again, so that what others wrote meanwhile is seen.
  void Rewind(int fd);
  /// Starts over at the first byte of a text, which must outlive the reading.
  void Rewind(std::string_view text);

  /// Gives the next line, its end included, or false at the end of the file or after an error. The
  /// view holds until the next call.
  [[nodiscard]] bool Next(std::string_view& line);

  /// Skips lines up to the next one that begins with `start`, which is then what Next() gives;
  /// false if there is none. Much faster than looking at line after line.
  [[nodiscard]] bool SkipTo(std::string_view start);

  /// How many bytes are still to come, as far as the file's size tells.
  [[nodiscard]] std::size_t Remaining() const;

  /// errno of the read that failed, or 0.
  [[nodiscard]] int Error() const { return error_; }

 private:
  void Refill();
  // Skips the lines that end before `limit`, which is a place in the buffer or its end.
  void SkipLinesBefore(const char* limit);
  // 0 if the end of the line is not in the buffer.
  [[nodiscard]] std::size_t LineSize() const;

  int fd_ = -1;
  off_t offset_ = 0;
  int error_ = 0;
  bool at_end_ = true;
  std::unique_ptr<char[]> buffer_;
  const char* begin_ = nullptr;  ///< the bytes not yet handed out
  const char* end_ = nullptr;
};

/// Walks over the tokens of one line. The line must outlive it.
class TokenCursor {
 public:
  explicit TokenCursor(std::string_view line) : rest_(line) {}

  /// The next token, or an empty view if the line holds no further one.
  [[nodiscard]] std::string_view Next();
  /// What Next() would give, without going there.
  [[nodiscard]] std::string_view Peek() { return TokenCursor(Rest()).Next(); }
  [[nodiscard]] bool HasToken() { return !Rest().empty() && rest_.front() != '\n'; }
  /// What follows, from the next token on.
  [[nodiscard]] std::string_view Rest();
  void Skip(std::size_t count) { rest_.remove_prefix(count); }

 private:
  std::string_view rest_;
};

}  // namespace quellmark::pool
