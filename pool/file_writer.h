#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quellmark::pool {

/// Collects bytes and writes them to a file in large pieces. The first error stops it for good.
class FileWriter {
 public:
  /// `fd` stays the caller's.
  explicit FileWriter(int fd) : fd_(fd) {}
  FileWriter(const FileWriter&) = delete;
  FileWriter& operator=(const FileWriter&) = delete;

  void Write(std::string_view bytes);
  /// Writes what is still collected. False after an error.
  bool Flush();

  /// errno of the write that failed, or 0.
  [[nodiscard]] int Error() const { return error_; }
  /// Whether a text that is written now begins a line.
  [[nodiscard]] bool IsAtLineStart() const { return at_line_start_; }

 private:
  int fd_;
  int error_ = 0;
  bool at_line_start_ = true;
  std::string pending_;
};

}  // namespace quellmark::pool
