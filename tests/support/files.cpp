#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace quellmark::test {

TempDir::TempDir() {
  std::string name = std::filesystem::temp_directory_path() / "quellmark_test.XXXXXX";
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
  path_ = name;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const std::filesystem::path& path, std::string_view content) {
  std::ofstream file(path, std::ios::binary);
  file << content;
  file.close();
  EXPECT_TRUE(file.good()) << path;
}

}  // namespace quellmark::test
