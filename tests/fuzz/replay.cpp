// Runs a fuzz target over the files of a directory: the main function without a fuzzing engine.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/support/files.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  if (argc != 2) return std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]), 2;
  int count = 0;
  for (const auto& file : std::filesystem::directory_iterator(argv[1])) {
    const std::string bytes = quellmark::test::ReadFile(file.path());
    std::printf("%s\n", file.path().filename().c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++count;
  }
  std::printf("%d inputs\n", count);
  return count == 0 ? 1 : 0;
}
