#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quellmark::pool {

/// Collects bytes and writes them to a file in large pieces. The first error stops it for good.
/// Only the constructor allocates.
class FileWriter {
 public:
  FileWriter();
  FileWriter(const FileWriter&) = delete;
  FileWriter& operator=(const FileWriter&) = delete;

  /// Must be called before the first Write(). The caller keeps `fd` and closes it.
  void Open(int fd) { fd_ = fd; }
  void Write(std::string_view bytes);
  /// Writes the bytes that are still collected. Returns false after an error, with the errno of the
  /// write that failed.
  [[nodiscard]] bool Flush();

  /// Whether no write has failed so far.
  [[nodiscard]] bool IsGood() const { return error_ == 0; }
  /// Whether the next byte begins a line.
  [[nodiscard]] bool IsAtLineStart() const { return at_line_start_; }

 private:
  void Put(std::string_view bytes);

  int fd_ = -1;
  int error_ = 0;
  bool at_line_start_ = true;
  std::string pending_;
};

}  // namespace quellmark::pool
