// Steps that run in a process of their own: they may exit, be killed, lose their streams.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "basic/unique_fd.h"
#include "runtime/controller_ifc.h"
#include "tests/support/program_run.h"

namespace quellmark::test {

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

/// The frame of a program: init with message mode and the arguments after argument 0
/// "/bin/quellmark", then `work`; a thrown ERROR_EXCEPTION ends in the failure exit.
[[nodiscard]] std::function<int()> Step(std::vector<std::string> arguments,
                                        std::function<int(CONTROLLER_IFC&)> work);

}  // namespace quellmark::test
