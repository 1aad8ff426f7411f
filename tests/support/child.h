// What runs in a process of its own: it may exit, be killed, lose its streams.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "basic/unique_fd.h"

namespace quellmark::test {

/// How a process ended.
struct ProgramRun {
  int exit_status = -1;  ///< -1 when a signal ended it
  int signal = 0;
  std::string output;  ///< standard output and standard error
};

/// A forked process that runs `body` in `directory` and exits with what it returns. Its standard
/// streams are one end of a socket or, as for a person, of a terminal.
class Child {
 public:
  enum class Streams { kSocket, kTerminal };

  Child(const std::filesystem::path& directory, const std::function<int()>& body,
        Streams streams = Streams::kSocket);
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child();

  [[nodiscard]] pid_t Pid() const { return pid_; }
  void Type(std::string_view text);
  void CloseInput();
  /// Reads until the output contains `text`; fails the test if it ends before.
  void WaitFor(std::string_view text);
  /// Waits for the end; how it ended and all output.
  ProgramRun Wait();

 private:
  bool ReadSome();

  basic::UniqueFd end_;
  pid_t pid_ = -1;
  std::string output_;
};

/// Runs `program` with `arguments` in `directory`, standard input empty. A program that takes more
/// than a minute is killed.
[[nodiscard]] ProgramRun RunProgram(const std::string& program,
                                    const std::vector<std::string>& arguments,
                                    const std::filesystem::path& directory);

}  // namespace quellmark::test
