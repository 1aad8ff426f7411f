// Files for tests: a temporary directory, and functions that read and write whole files.
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
  /// The path of `name` in the directory.
  [[nodiscard]] std::string operator/(std::string_view name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

/// Returns the whole file, byte for byte. If it cannot be read, fails the test and returns "".
[[nodiscard]] std::string ReadFile(const std::filesystem::path& path);
/// Creates or replaces the file. Fails the test if that is impossible.
void WriteFile(const std::filesystem::path& path, std::string_view content);

}  // namespace quellmark::test
