// Lets the update pass be killed, be told to end and fail at every one of its system calls, one by
// one, and looks at what is left on the disk.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "basic/errors.h"
#include "pool/parameter_pool_read_write_change.h"
#include "tests/support/files.h"
#include "tests/support/scoped_log.h"

namespace {

using quellmark::pool::ValueType;
using quellmark::test::ReadFile;
using quellmark::test::ScopedLog;
using quellmark::test::TempDir;
using quellmark::test::WriteFile;

// How the child that updates ends when nothing kills it.
enum Ending : int { kDone = 10, kNoPermission, kCorrupted, kIoError, kPoolError, kUnexpected };

// Large enough for several blocks in each direction.
std::string OldText() {
  std::string text = "# a pool of several blocks\nfirst BOL TRUE\n";
  while (text.size() < 150'000) text += "#" + std::string(90, '-') + "\n";
  return text + "last INT_32 1\n";
}

std::string NewText() {
  const ScopedLog log;
  const TempDir dir;
  WriteFile(dir / "p", OldText());
  PARAMETER_POOL_READ_WRITE_CHANGE pool(dir / "p");
  pool.Set<ValueType::kInt32>("last", 2);
  pool.Close();
  return ReadFile(dir / "p");
}

// What is left behind in the directory, and what the log said.
class Scene {
 public:
  Scene() { WriteFile(path_, OldText()); }

  // Runs the update in a child: `before` stands right before it.
  pid_t Start(const std::function<void()>& before) const {
    const pid_t child = ::fork();
    if (child != 0) return child;
    int ending = kUnexpected;
    try {
      PARAMETER_POOL_READ_WRITE_CHANGE pool(path_);
      pool.Set<ValueType::kInt32>("last", 2);
      before();
      pool.Update();
      ending = kDone;
    } catch (const NO_UPDATE_PERMISSION_FOR_POOL&) {
      ending = kNoPermission;
    } catch (const CORRUPTED_PARAMETER_POOL&) {
      ending = kCorrupted;
    } catch (const ERROR_I_O&) {
      ending = kIoError;
    } catch (const ERROR_PARAMETER_POOL&) {
      ending = kPoolError;
    } catch (...) {
    }
    ::_exit(ending);
  }

  [[nodiscard]] std::string Pool() const { return ReadFile(path_); }
  [[nodiscard]] std::string Log() const { return log_.Text(); }
  // Copies left beside the pool: their names and content.
  [[nodiscard]] std::map<std::string, std::string> Copies() const {
    std::map<std::string, std::string> copies;
    for (const auto& file : std::filesystem::directory_iterator(dir_.Path())) {
      if (file.path() != path_) copies[file.path()] = ReadFile(file.path());
    }
    return copies;
  }

 private:
  ScopedLog log_;
  TempDir dir_;
  std::string path_ = dir_ / "p";
};

#if defined(__x86_64__)

struct Call {
  long number = -1;
  std::string file;  // what the first argument stands for, if it is a descriptor
};

enum class Fault {
  kNone,
  kKill,           // SIGKILL instead of the call
  kTerminate,      // SIGTERM before the call
  kError,          // the call fails and does nothing
  kShort,          // a write takes half of its bytes
  kShortThenKill,  // and then the process is killed
};

struct TracedRun {
  std::vector<Call> calls;
  bool injected = false;
  int status = 0;  // as from waitpid()
};

bool TakesDescriptor(long number) {
  return number == SYS_write || number == SYS_pread64 || number == SYS_read ||
         number == SYS_fsync || number == SYS_ftruncate || number == SYS_lseek ||
         number == SYS_close || number == SYS_fcntl;
}

// The calls that an update may see failing; the others belong to the language and the log.
bool CanFail(const Call& call) {
  return TakesDescriptor(call.number) || call.number == SYS_openat || call.number == SYS_unlink;
}

// Lets the child run to its end; the fault strikes at its call number `at` after the start.
TracedRun Trace(const Scene& scene, std::size_t at, Fault fault, int error = 0) {
  const pid_t child = scene.Start([] {
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    ::raise(SIGSTOP);
  });
  TracedRun run;
  ::waitpid(child, &run.status, 0);
  if (!WIFSTOPPED(run.status)) return run;
  ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  bool entering = true;
  bool strike_at_exit = false;
  int signal = 0;
  for (;;) {
    ::ptrace(PTRACE_SYSCALL, child, nullptr, signal);
    signal = 0;
    ::waitpid(child, &run.status, 0);
    if (!WIFSTOPPED(run.status)) return run;
    if (WSTOPSIG(run.status) != (SIGTRAP | 0x80)) {
      signal = WSTOPSIG(run.status);
      continue;
    }
    user_regs_struct registers{};
    ::ptrace(PTRACE_GETREGS, child, nullptr, &registers);
    if (!entering) {
      entering = true;
      if (!strike_at_exit) continue;
      strike_at_exit = false;
      if (fault == Fault::kShortThenKill) {
        ::kill(child, SIGKILL);
        continue;
      }
      registers.rax = static_cast<unsigned long long>(-static_cast<long long>(error));
      ::ptrace(PTRACE_SETREGS, child, nullptr, &registers);
      continue;
    }
    entering = false;
    Call call{static_cast<long>(registers.orig_rax), ""};
    if (TakesDescriptor(call.number)) {
      std::error_code ignored;
      call.file = std::filesystem::read_symlink(
          "/proc/" + std::to_string(child) + "/fd/" + std::to_string(registers.rdi), ignored);
    }
    if (call.number == SYS_exit_group) continue;  // the update is over
    run.calls.push_back(call);
    if (run.calls.size() != at + 1) continue;
    const bool is_log = call.file.starts_with("/memfd:");
    switch (fault) {
      case Fault::kNone:
        break;
      case Fault::kKill:
        run.injected = true;
        ::kill(child, SIGKILL);
        break;
      case Fault::kTerminate:
        run.injected = true;
        ::kill(child, SIGTERM);
        break;
      case Fault::kError:
        if (is_log || !CanFail(call)) break;
        run.injected = strike_at_exit = true;
        registers.orig_rax = static_cast<unsigned long long>(-1);
        ::ptrace(PTRACE_SETREGS, child, nullptr, &registers);
        break;
      case Fault::kShort:
      case Fault::kShortThenKill:
        if (is_log || call.number != SYS_write) break;
        run.injected = true;
        strike_at_exit = fault == Fault::kShortThenKill;
        registers.rdx /= 2;
        ::ptrace(PTRACE_SETREGS, child, nullptr, &registers);
        break;
    }
  }
}

class UpdateFaults : public ::testing::Test {
 protected:
  void SetUp() override {
    const TracedRun run = Trace(Scene(), 0, Fault::kNone);
    if (run.calls.empty()) GTEST_SKIP() << "this system lets no process trace its child";
    ASSERT_TRUE(WIFEXITED(run.status));
    ASSERT_EQ(WEXITSTATUS(run.status), kDone);
    call_count_ = run.calls.size();
    ASSERT_GT(call_count_, 20U);
  }

  // Strikes at every call in turn and hands each run that was struck to `check`.
  template <class Check>
  void AtEveryCall(Fault fault, int error, Check check) {
    int struck = 0;
    for (std::size_t at = 0; at < call_count_; ++at) {
      const Scene scene;
      const TracedRun run = Trace(scene, at, fault, error);
      if (!run.injected) continue;
      ++struck;
      SCOPED_TRACE("call " + std::to_string(at) + ", number " +
                   std::to_string(run.calls[at].number) + " on " + run.calls[at].file);
      check(scene, run);
    }
    EXPECT_GT(struck, 3);
  }

  // The pool, or else a copy, has one of its two contents whole.
  void ExpectNothingLost(const Scene& scene) {
    const std::string pool = scene.Pool();
    if (pool == old_ || pool == new_) return;
    const auto copies = scene.Copies();
    ASSERT_EQ(copies.size(), 1U);
    EXPECT_TRUE(copies.begin()->second == new_) << "pool and copy are both incomplete";
    EXPECT_THAT(scene.Log(), ::testing::HasSubstr(copies.begin()->first));
  }

  const std::string old_ = OldText();
  const std::string new_ = NewText();
  std::size_t call_count_ = 0;
};

TEST_F(UpdateFaults, KilledAtEveryCall) {
  const auto check = [&](const Scene& scene, const TracedRun& run) {
    EXPECT_TRUE(WIFSIGNALED(run.status));
    ExpectNothingLost(scene);
  };
  AtEveryCall(Fault::kKill, 0, check);
  AtEveryCall(Fault::kShortThenKill, 0, check);
}

TEST_F(UpdateFaults, ToldToEndAtEveryCall) {
  AtEveryCall(Fault::kTerminate, 0, [&](const Scene& scene, const TracedRun& run) {
    EXPECT_TRUE(WIFSIGNALED(run.status) && WTERMSIG(run.status) == SIGTERM);
    const std::string pool = scene.Pool();
    EXPECT_TRUE(pool == old_ || pool == new_) << "the signal did not wait until the pool was whole";
    EXPECT_TRUE(scene.Copies().empty());
  });
}

TEST_F(UpdateFaults, FailingAtEveryCall) {
  std::map<int, int> endings;
  for (const int error : {EIO, ENOSPC}) {
    AtEveryCall(Fault::kError, error, [&](const Scene& scene, const TracedRun& run) {
      ASSERT_TRUE(WIFEXITED(run.status));
      const int ending = WEXITSTATUS(run.status);
      ++endings[ending];
      ExpectNothingLost(scene);
      EXPECT_NE(ending, kUnexpected);
      if (ending == kDone) {
        EXPECT_TRUE(scene.Pool() == new_);
      } else if (ending != kPoolError) {
        EXPECT_TRUE(scene.Pool() == old_) << "ending " << ending;
      }
      for (const auto& [name, content] : scene.Copies()) {
        EXPECT_THAT(scene.Log(), ::testing::HasSubstr(name));
      }
    });
  }
  for (const int ending : {kDone, kNoPermission, kCorrupted, kIoError, kPoolError}) {
    EXPECT_GT(endings[ending], 0) << "ending " << ending << " was never reached";
  }
}

TEST_F(UpdateFaults, ShortWritesAreContinued) {
  AtEveryCall(Fault::kShort, 0, [&](const Scene& scene, const TracedRun& run) {
    EXPECT_TRUE(WIFEXITED(run.status) && WEXITSTATUS(run.status) == kDone);
    EXPECT_TRUE(scene.Pool() == new_);
    EXPECT_TRUE(scene.Copies().empty());
  });
}

TEST_F(UpdateFaults, FlushesBeforeItDestroys) {
  const Scene scene;
  std::string order;
  for (const Call& call : Trace(scene, 0, Fault::kNone).calls) {
    const std::string file = call.file.find("/pool_") != std::string::npos ? "copy" : "pool";
    if (call.number == SYS_fsync && std::filesystem::is_directory(call.file)) {
      order += "flush directory, ";
    } else if (call.number == SYS_fsync) {
      order += "flush " + file + ", ";
    } else if (call.number == SYS_ftruncate) {
      order += "truncate " + file + ", ";
    } else if (call.number == SYS_unlink) {
      order += "delete copy";
    }
  }
  EXPECT_EQ(order, "flush copy, flush directory, truncate pool, flush pool, delete copy");
}

#endif  // __x86_64__

TEST(UpdateOnAFullDisk, LeavesThePoolAlone) {
  for (const rlim_t limit : {0U, 1000U, 70'000U, 150'000U}) {
    SCOPED_TRACE(limit);
    const Scene scene;
    const pid_t child = scene.Start([limit] {
      ::signal(SIGXFSZ, SIG_IGN);
      const rlimit size{limit, limit};
      ::setrlimit(RLIMIT_FSIZE, &size);
    });
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == kCorrupted);
    EXPECT_TRUE(scene.Pool() == OldText());
  }
}

}  // namespace
