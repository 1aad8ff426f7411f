// Files of a test: a directory of its own that goes away with it, whole-file reads and writes.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace quellmark::test {

/// A fresh directory under the system's temporary directory, removed with all its content.
class TempDir {
 public:
  TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir();

  [[nodiscard]] const std::filesystem::path& Path() const { return path_; }
  /// The path of `name` inside.
  [[nodiscard]] std::string operator/(std::string_view name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

/// The whole file, byte for byte; a file that can not be read fails the test and gives "".
[[nodiscard]] std::string ReadFile(const std::filesystem::path& path);
/// Creates or replaces the file; fails the test if it can not.
void WriteFile(const std::filesystem::path& path, std::string_view content);

}  // namespace quellmark::test
