// The lines of a pool file and the tokens of a line.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <string_view>

namespace quellmark::pool {

/// The greatest length of a line, its end included. A longer line is read as several lines.
inline constexpr std::size_t kLineLimit = 1024;
/// The greatest length of a key. Further characters are ignored.
inline constexpr std::size_t kKeyLimit = 100;

[[nodiscard]] constexpr bool IsBlank(char c) { return c == ' ' || c == '\t'; }
[[nodiscard]] constexpr bool IsLineEnd(char c) { return c == '\n' || c == '\r'; }

/// Whether a line begins an entry: it is not empty, not indented and no comment.
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
  /// Starts over at the first byte of `fd`, which the caller keeps and closes. Forgets everything
  /// that was read before, so the reader sees what others wrote meanwhile.
  void Rewind(int fd);
  /// Starts over at the first byte of a text, which must outlive the reading.
  void Rewind(std::string_view text);

  /// Sets `line` to the next line, its end included; returns false at the end of the file or after
  /// an error. The view is valid until the next call.
  [[nodiscard]] bool Next(std::string_view& line);

  /// Skips lines until Next() would return one that begins with `start`; returns false if there is
  /// none. Much faster than a loop over Next(). `start` must not be empty.
  [[nodiscard]] bool SkipTo(std::string_view start);

  /// How many bytes are left according to the size of the file.
  [[nodiscard]] std::size_t Remaining() const;

  /// The errno of the read that failed, or 0.
  [[nodiscard]] int Error() const { return error_; }

 private:
  void Refill();
  // Skips the lines that end before `limit`, which points into the buffer or to its end.
  void SkipLinesBefore(const char* limit);
  // Returns 0 if the end of the line is not in the buffer.
  [[nodiscard]] std::size_t LineSize() const;

  int fd_ = -1;
  off_t offset_ = 0;
  int error_ = 0;
  bool at_end_ = true;
  std::unique_ptr<char[]> buffer_;
  const char* begin_ = nullptr;  ///< the bytes not yet returned are [begin_, end_)
  const char* end_ = nullptr;
};

/// Walks over the tokens of one line. The line must outlive it.
class TokenCursor {
 public:
  explicit TokenCursor(std::string_view line) : rest_(line) {}

  /// Returns the next token, or an empty view if there is none.
  [[nodiscard]] std::string_view Next();
  /// Returns what Next() would return, but does not advance.
  [[nodiscard]] std::string_view Peek() { return TokenCursor(Rest()).Next(); }
  [[nodiscard]] bool HasToken() { return !Rest().empty() && rest_.front() != '\n'; }
  /// Returns the rest of the line from the next token on.
  [[nodiscard]] std::string_view Rest();
  void Skip(std::size_t count) { rest_.remove_prefix(count); }

 private:
  std::string_view rest_;
};

}  // namespace quellmark::pool
