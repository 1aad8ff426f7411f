// Child processes, which may exit, be killed or lose their streams.
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
/// streams are one end of a socket, or of a terminal as if a person had started it.
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
  /// Reads until the output contains `text`. Fails the test if the output ends before.
  void WaitFor(std::string_view text);
  /// Waits for the end. Returns how the process ended and all of its output.
  ProgramRun Wait();

 private:
  bool ReadSome();

  basic::UniqueFd end_;
  pid_t pid_ = -1;
  std::string output_;
};

/// Runs `program` with `arguments` in `directory`, with an empty standard input. Kills it after a
/// minute.
[[nodiscard]] ProgramRun RunProgram(const std::string& program,
                                    const std::vector<std::string>& arguments,
                                    const std::filesystem::path& directory);

}  // namespace quellmark::test
