#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace quellmark::test {

/// How a program ended.
struct ProgramRun {
  int exit_status = -1;  ///< -1 when a signal ended it
  int signal = 0;
  std::string output;  ///< standard output and standard error
};

/// Runs `program` with `arguments` in `directory`, standard input empty; `environment`
/// ("NAME=value") is added to the test's own. A program that takes more than a minute is killed.
[[nodiscard]] ProgramRun RunProgram(const std::string& program,
                                    const std::vector<std::string>& arguments,
                                    const std::filesystem::path& directory,
                                    const std::vector<std::string>& environment = {});

}  // namespace quellmark::test
