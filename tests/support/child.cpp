#include "tests/support/child.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace quellmark::test {
namespace {

// Opens the two ends: this process's and the child's.
std::array<basic::UniqueFd, 2> OpenEnds(Child::Streams streams) {
  if (streams == Child::Streams::kTerminal) {
    basic::UniqueFd master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    EXPECT_EQ(::grantpt(master.Get()), 0);
    EXPECT_EQ(::unlockpt(master.Get()), 0);
    basic::UniqueFd slave(::open(::ptsname(master.Get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
    return {std::move(master), std::move(slave)};
  }
  int ends[2];
  EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  return {basic::UniqueFd(ends[0]), basic::UniqueFd(ends[1])};
}

[[noreturn]] void RunBody(const std::filesystem::path& directory, const std::function<int()>& body,
                          int end) {
  constexpr unsigned kSecondsToLive = 60;
  ::setsid();
  static_cast<void>(::ioctl(end, TIOCSCTTY, 0));
  if (::chdir(directory.c_str()) != 0) ::_exit(127);
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::dup2(end, fd);
  ::close(end);
  ::alarm(kSecondsToLive);
  std::exit(body());
}

}  // namespace

Child::Child(const std::filesystem::path& directory, const std::function<int()>& body,
             Streams streams) {
  auto [ours, theirs] = OpenEnds(streams);
  end_ = std::move(ours);
  EXPECT_EQ(std::fflush(nullptr), 0);  // else the child's exit would write it again
  pid_ = ::fork();
  EXPECT_GE(pid_, 0);
  if (pid_ != 0) return;
  end_.Reset();
  RunBody(directory, body, theirs.Release());
}

Child::~Child() {
  if (pid_ > 0) static_cast<void>(::kill(pid_, SIGKILL));
  if (pid_ > 0) static_cast<void>(::waitpid(pid_, nullptr, 0));
}

void Child::Type(std::string_view text) {
  EXPECT_EQ(::write(end_.Get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void Child::CloseInput() { EXPECT_EQ(::shutdown(end_.Get(), SHUT_WR), 0); }

bool Child::ReadSome() {
  std::array<char, 4096> block;
  const ssize_t got = ::read(end_.Get(), block.data(), block.size());
  if (got > 0) output_.append(block.data(), static_cast<std::size_t>(got));
  return got > 0;
}

void Child::WaitFor(std::string_view text) {
  while (output_.find(text) == std::string::npos) {
    ASSERT_TRUE(ReadSome()) << "no \"" << text << "\" in: " << output_;
  }
}

ProgramRun Child::Wait() {
  while (ReadSome()) {
  }
  ProgramRun run{.output = output_};
  int status = 0;
  EXPECT_EQ(::waitpid(pid_, &status, 0), pid_);
  pid_ = -1;
  if (WIFEXITED(status)) run.exit_status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) run.signal = WTERMSIG(status);
  return run;
}

ProgramRun RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                      const std::filesystem::path& directory) {
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  Child child(directory, [&]() -> int {
    ::execv(program.c_str(), argv.data());
    ::_exit(127);
  });
  child.CloseInput();
  return child.Wait();
}

}  // namespace quellmark::test
