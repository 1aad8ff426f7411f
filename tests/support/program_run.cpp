#include "tests/support/program_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "basic/unique_fd.h"

namespace quellmark::test {

namespace {

// Does not return; between fork and exec.
[[noreturn]] void Exec(const std::string& program, const std::vector<std::string>& arguments,
                       const std::filesystem::path& directory,
                       const std::vector<std::string>& environment, int output) {
  constexpr unsigned kSecondsToLive = 60;
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  for (const std::string& variable : environment) {
    ::putenv(const_cast<char*>(variable.c_str()));
  }
  const int input = ::open("/dev/null", O_RDONLY);
  if (::chdir(directory.c_str()) == 0 && ::dup2(input, STDIN_FILENO) >= 0 &&
      ::dup2(output, STDOUT_FILENO) >= 0 && ::dup2(output, STDERR_FILENO) >= 0) {
    ::alarm(kSecondsToLive);
    ::execv(program.c_str(), argv.data());
  }
  ::_exit(127);
}

}  // namespace

ProgramRun RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                      const std::filesystem::path& directory,
                      const std::vector<std::string>& environment) {
  int ends[2];
  EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  const basic::UniqueFd read_end(ends[0]);
  basic::UniqueFd write_end(ends[1]);
  const pid_t child = ::fork();
  EXPECT_GE(child, 0);
  if (child == 0) Exec(program, arguments, directory, environment, write_end.Get());
  write_end.Reset();

  ProgramRun run;
  char block[4096];
  for (ssize_t got = 0; (got = ::read(read_end.Get(), block, sizeof block)) > 0;) {
    run.output.append(block, static_cast<std::size_t>(got));
  }
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  if (WIFEXITED(status)) run.exit_status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) run.signal = WTERMSIG(status);
  return run;
}

}  // namespace quellmark::test
