// Kills the update pass, interrupts it, or makes it fail at each of its system calls in turn, and
// checks what is left on the disk.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "basic/errors.h"
#include "basic/unique_fd.h"
#include "pool/parameter_pool_read_write_change.h"
#include "tests/support/files.h"
#include "tests/support/scoped_log.h"

namespace {

using quellmark::pool::ValueType;
using quellmark::runtime::LogLine;
using quellmark::test::ReadFile;
using quellmark::test::ScopedLog;
using quellmark::test::TempDir;
using quellmark::test::WriteFile;

// Large enough for several blocks, both when read and when written.
std::string PoolEndingIn(const std::string& entry) {
  std::string text = "# a pool of several blocks\nfirst BOL TRUE\n";
  while (text.size() < 150'000) text += "#" + std::string(90, '-') + "\n";
  return text + entry;
}

std::string OldText() { return PoolEndingIn("last INT_32 1\n"); }
std::string NewText() {
  return PoolEndingIn("last                             INT_32          2\n\n");
}

// One trial of the update: a pool in a directory of its own, and a log.
class Trial {
 public:
  Trial() { WriteFile(path_, OldText()); }

  // Runs the update in a child process, and `before` right before it.
  pid_t Start(const std::function<void()>& before) const {
    const pid_t child = ::fork();
    if (child != 0) return child;
    int status = 1;
    try {
      PARAMETER_POOL_READ_WRITE_CHANGE pool(path_);
      pool.Set<ValueType::kInt32>("last", 2);
      before();
      try {
        pool.Update();
      } catch (...) {
        if (!pool.IsOpen()) LogLine(LOG::Level::kAlarm, "closed\n");
        throw;
      }
      status = 0;
    } catch (const ERROR_EXCEPTION& error) {
      LogLine(LOG::Level::kAlarm, error.Message(), "\n");
    }
    ::_exit(status);
  }

  // The text of the last ALARM line: if the update threw, the message of what it threw.
  [[nodiscard]] std::string LastAlarm() const {
    constexpr std::string_view kTag = "ALARM : ";
    const std::string log = Log();
    const std::size_t tag = log.rfind(kTag);
    if (tag == std::string::npos) return "";
    const std::size_t text = tag + kTag.size();
    return log.substr(text, log.find('\n', text) - text);
  }
  [[nodiscard]] std::string Pool() const { return ReadFile(path_); }
  [[nodiscard]] const std::string& Path() const { return path_; }
  [[nodiscard]] std::string Log() const { return log_.Text(); }
  // Names and contents of the copies that are left beside the pool.
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

constexpr std::size_t kNever = 1'000'000;

struct Call {
  long number = -1;
  std::string file;          // path behind the first argument, if that is a descriptor
  std::string bytes;         // the bytes that a write has written
  std::size_t argument = 0;  // the second argument
};

enum class Fault {
  kKill,    // SIGKILL instead of the call
  kSignal,  // SIGUSR1 before the call
  kError,   // the call does nothing and reports a full disk
  kShort,   // a write writes half of its bytes
};

bool TakesDescriptor(long number) {
  constexpr std::array kCalls = {SYS_write,     SYS_pread64, SYS_read,  SYS_fsync,    SYS_lseek,
                                 SYS_ftruncate, SYS_close,   SYS_fcntl, SYS_fallocate};
  return std::ranges::find(kCalls, number) != kCalls.end();
}

// The calls whose failure an update must handle. The others come from the language's runtime.
bool CanFail(const Call& call) {
  return TakesDescriptor(call.number) || call.number == SYS_openat || call.number == SYS_unlink;
}

// Runs a child to its end. Of the calls at which the fault may strike, it strikes at number `at`.
class Tracer {
 public:
  Tracer(
      const Trial& trial, std::size_t at, Fault fault, const std::function<void()>& before = [] {})
      : at_(at), fault_(fault) {
    child_ = trial.Start([&before] {
      before();
      ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
      ::raise(SIGSTOP);
    });
    ::waitpid(child_, &status_, 0);
    ::ptrace(PTRACE_SETOPTIONS, child_, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    for (int signal = 0; WIFSTOPPED(status_);) {
      const bool at_call = WSTOPSIG(status_) == (SIGTRAP | 0x80);
      if (at_call) {
        entering_ = !entering_;
        ::ptrace(PTRACE_GETREGS, child_, nullptr, &registers_);
        entering_ ? Enter() : Leave();
      } else if (WSTOPSIG(status_) != SIGSTOP) {
        signal = WSTOPSIG(status_);
      }
      ::ptrace(PTRACE_SYSCALL, child_, nullptr, std::exchange(signal, 0));
      ::waitpid(child_, &status_, 0);
    }
  }

  [[nodiscard]] const std::vector<Call>& Calls() const { return calls_; }
  // Has the number -1 if the fault did not strike.
  [[nodiscard]] const Call& StruckCall() const { return struck_call_; }
  [[nodiscard]] bool Succeeded() const { return WIFEXITED(status_) && WEXITSTATUS(status_) == 0; }
  // The signal that ended the child, or 0.
  [[nodiscard]] int Signal() const { return WIFSIGNALED(status_) ? WTERMSIG(status_) : 0; }

 private:
  void Enter() {
    Call call;
    call.number = static_cast<long>(registers_.orig_rax);
    call.argument = registers_.rsi;
    if (call.number == SYS_exit_group) return;  // the update is over
    if (TakesDescriptor(call.number)) {
      std::error_code ignored;
      call.file = std::filesystem::read_symlink(
          "/proc/" + std::to_string(child_) + "/fd/" + std::to_string(registers_.rdi), ignored);
    }
    calls_.push_back(call);
    if (MayStrike(call) && candidates_++ == at_) Strike(call);
  }

  [[nodiscard]] bool MayStrike(const Call& call) const {
    if (fault_ == Fault::kKill || fault_ == Fault::kSignal) return true;
    if (call.file.starts_with("/memfd:")) return false;  // the log
    return fault_ == Fault::kError ? CanFail(call) : call.number == SYS_write;
  }

  void Strike(const Call& call) {
    struck_call_ = call;
    strike_at_exit_ = fault_ == Fault::kError;
    if (fault_ == Fault::kKill) ::kill(child_, SIGKILL);
    if (fault_ == Fault::kSignal) ::kill(child_, SIGUSR1);
    if (fault_ == Fault::kError) registers_.orig_rax = static_cast<unsigned long long>(-1);
    if (fault_ == Fault::kShort) registers_.rdx /= 2;
    ::ptrace(PTRACE_SETREGS, child_, nullptr, &registers_);
  }

  void Leave() {
    if (calls_.back().number == SYS_write) calls_.back().bytes = Written();
    if (!std::exchange(strike_at_exit_, false)) return;
    registers_.rax = static_cast<unsigned long long>(-1LL * ENOSPC);
    ::ptrace(PTRACE_SETREGS, child_, nullptr, &registers_);
  }

  [[nodiscard]] std::string Written() const {
    const auto size = static_cast<long long>(registers_.rax);
    std::string bytes(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
    const iovec to{bytes.data(), bytes.size()};
    const iovec from{std::bit_cast<void*>(registers_.rsi), bytes.size()};
    EXPECT_EQ(::process_vm_readv(child_, &to, 1, &from, 1, 0), static_cast<ssize_t>(bytes.size()));
    return bytes;
  }

  std::size_t at_;
  Fault fault_;
  pid_t child_ = -1;
  int status_ = 0;  // as from waitpid()
  bool entering_ = false;
  std::size_t candidates_ = 0;  // calls that the fault may strike at, so far
  Call struck_call_;
  bool strike_at_exit_ = false;
  user_regs_struct registers_{};
  std::vector<Call> calls_;
};

class UpdateFaults : public ::testing::Test {
 protected:
  void SetUp() override {
    const Tracer undisturbed(Trial(), kNever, Fault::kKill);
    if (undisturbed.Calls().empty()) GTEST_SKIP() << "this system lets no process trace its child";
    ASSERT_TRUE(undisturbed.Succeeded());
  }

  // Strikes at every call in turn, one per run, and passes each run to `check`.
  template <class Check>
  void AtEveryCall(Fault fault, Check check) {
    for (std::size_t at = 0;; ++at) {
      const Trial trial;
      const Tracer run(trial, at, fault);
      if (run.StruckCall().number < 0) {
        EXPECT_GE(at, 6U) << "the update wrote less than expected";
        return;
      }
      SCOPED_TRACE("call " + std::to_string(at) + ", number " +
                   std::to_string(run.StruckCall().number) + " on " + run.StruckCall().file);
      check(trial, run);
    }
  }

  // The pool has its complete old or new content, or else a copy has the complete new one.
  void ExpectNothingLost(const Trial& trial) {
    const std::string pool = trial.Pool();
    if (pool == old_ || pool == new_) return;
    const auto copies = trial.Copies();
    ASSERT_EQ(copies.size(), 1U);
    EXPECT_TRUE(copies.begin()->second == new_) << "pool and copy are both incomplete";
    EXPECT_THAT(trial.Log(), ::testing::HasSubstr(copies.begin()->first));
  }

  const std::string old_ = OldText();
  const std::string new_ = NewText();
};

TEST_F(UpdateFaults, KilledAtEveryCall) {
  AtEveryCall(Fault::kKill, [&](const Trial& trial, const Tracer& run) {
    EXPECT_EQ(run.Signal(), SIGKILL);
    ExpectNothingLost(trial);
  });
}

TEST_F(UpdateFaults, ToldToEndAtEveryCall) {
  AtEveryCall(Fault::kSignal, [&](const Trial& trial, const Tracer& run) {
    EXPECT_EQ(run.Signal(), SIGUSR1);
    const std::string pool = trial.Pool();
    EXPECT_TRUE(pool == old_ || pool == new_) << "the signal did not wait until the pool was whole";
    EXPECT_TRUE(trial.Copies().empty());
  });
}

TEST_F(UpdateFaults, FailingAtEveryCall) {
  std::map<std::string, int> thrown;
  AtEveryCall(Fault::kError, [&](const Trial& trial, const Tracer& run) {
    EXPECT_EQ(run.Signal(), 0);
    ExpectNothingLost(trial);
    if (run.Succeeded()) {
      EXPECT_TRUE(trial.Pool() == new_);
    } else if (++thrown[trial.LastAlarm()]; trial.LastAlarm() != ERROR_PARAMETER_POOL().Message()) {
      EXPECT_TRUE(trial.Pool() == old_) << trial.LastAlarm();
    }
    // An incomplete pool must be closed, because another update would start from it.
    EXPECT_EQ(trial.Log().find("closed\n") != std::string::npos,
              !run.Succeeded() && trial.Pool() != old_);
    for (const auto& [name, content] : trial.Copies()) {
      EXPECT_THAT(trial.Log(), ::testing::HasSubstr(name));
    }
  });
  EXPECT_THAT(thrown, ::testing::UnorderedElementsAre(
                          ::testing::Key(NO_UPDATE_PERMISSION_FOR_POOL().Message()),
                          ::testing::Key(CORRUPTED_PARAMETER_POOL().Message()),
                          ::testing::Key(ERROR_I_O().Message()),
                          ::testing::Key(ERROR_PARAMETER_POOL().Message())));
}

TEST_F(UpdateFaults, ShortWritesAreContinued) {
  AtEveryCall(Fault::kShort, [&](const Trial& trial, const Tracer& run) {
    EXPECT_TRUE(run.Succeeded());
    EXPECT_TRUE(trial.Pool() == new_);
    EXPECT_TRUE(trial.Copies().empty());
  });
}

TEST_F(UpdateFaults, KillNamesTheCopyWhateverTheThreshold) {
  for (std::size_t at = 0;; ++at) {
    const Trial trial;
    const TempDir log_directory;
    const Tracer run(trial, at, Fault::kKill, [&] {
      static LOG log;
      static const quellmark::runtime::LogScope scope(log);
      log.Open(log_directory / "log");
      log.SetFileThreshold(LOG::Level::kAlarm);
      log.SetScreenThreshold(LOG::Level::kSilent);
    });
    const std::string log = ReadFile(log_directory / "log");
    if (run.StruckCall().number < 0) {
      EXPECT_EQ(log, "") << "the line is gone when the pool is whole";
      return;
    }
    if (trial.Pool() == old_ || trial.Pool() == new_) continue;
    EXPECT_THAT(log, ::testing::HasSubstr("is:" + trial.Copies().begin()->first + " until"));
  }
}

// A model of the disk after a crash of the machine. A change is certainly on the disk only if its
// file or directory was flushed after it. Any of the other changes may be lost, in any combination.
class Disk {
 public:
  enum class Target { kPool, kCopy, kDirectory };
  struct Change {
    enum class Kind { kCreate, kWrite, kTruncate, kUnlink, kFlush } kind;
    Target target;  // for a change of a name: the directory
    std::string bytes = {};
    std::size_t offset = 0;  // or the size after truncating
  };
  using Changes = std::vector<Change>;

  Disk(std::string old_text, std::string new_text)
      : old_(std::move(old_text)), new_(std::move(new_text)) {}

  // Returns in how many ways a crash loses both the old and the new content.
  [[nodiscard]] int CountLosses(const Changes& changes) const {
    int losses = 0;
    for (std::size_t end = 0; end <= changes.size(); ++end) {
      std::vector<std::size_t> uncertain;
      for (std::size_t i = 0; i < end; ++i) {
        const bool is_flushed = std::any_of(
            changes.begin() + static_cast<std::ptrdiff_t>(i),
            changes.begin() + static_cast<std::ptrdiff_t>(end), [&](const Change& later) {
              return later.kind == Change::Kind::kFlush && later.target == changes[i].target;
            });
        if (!is_flushed) uncertain.push_back(i);
      }
      for (std::size_t subset = 0; subset < std::size_t{1} << uncertain.size(); ++subset) {
        std::vector<bool> lost(end, false);
        for (std::size_t k = 0; k < uncertain.size(); ++k) lost[uncertain[k]] = subset >> k & 1U;
        losses += IsLost(changes, lost) ? 1 : 0;
      }
    }
    return losses;
  }

 private:
  [[nodiscard]] bool IsLost(const Changes& changes, const std::vector<bool>& lost) const {
    std::string pool = old_;
    std::string copy;
    bool copy_has_name = false;
    for (std::size_t i = 0; i < lost.size(); ++i) {
      const Change& change = changes[i];
      if (lost[i]) continue;
      std::string& file = change.target == Target::kPool ? pool : copy;
      if (change.kind == Change::Kind::kTruncate) file.resize(change.offset);
      if (change.kind == Change::Kind::kWrite) {
        file.resize(std::max(file.size(), change.offset + change.bytes.size()));
        file.replace(change.offset, change.bytes.size(), change.bytes);
      }
      if (change.kind == Change::Kind::kCreate) copy_has_name = true;
      if (change.kind == Change::Kind::kUnlink) copy_has_name = false;
    }
    return pool != old_ && pool != new_ && !(copy_has_name && copy == new_);
  }

  std::string old_;
  std::string new_;
};

Disk::Changes ChangesOf(const Tracer& run, const std::string& pool_path) {
  using Kind = Disk::Change::Kind;
  using Target = Disk::Target;
  Disk::Changes changes;
  std::map<Target, std::size_t> sizes;  // each write appends
  for (const Call& call : run.Calls()) {
    const bool is_copy = call.file.find("/pool_") != std::string::npos;
    const Target file = is_copy ? Target::kCopy : Target::kPool;
    if (is_copy && sizes.emplace(Target::kCopy, 0).second) {
      changes.push_back({Kind::kCreate, Target::kDirectory});
    }
    if (call.number == SYS_fsync) {
      changes.push_back(
          {Kind::kFlush, is_copy || call.file == pool_path ? file : Target::kDirectory});
    } else if (call.number == SYS_ftruncate) {
      sizes[file] = call.argument;
      changes.push_back({Kind::kTruncate, file, "", call.argument});
    } else if (call.number == SYS_unlink) {
      changes.push_back({Kind::kUnlink, Target::kDirectory});
    } else if (call.number == SYS_write && (is_copy || call.file == pool_path)) {
      changes.push_back({Kind::kWrite, file, call.bytes, sizes[file]});
      sizes[file] += call.bytes.size();
    }
  }
  return changes;
}

TEST_F(UpdateFaults, PowerCutLosesNothingAndNoFlushCanGo) {
  const Trial trial;
  const Tracer run(trial, kNever, Fault::kKill);
  const Disk disk(old_, new_);
  const Disk::Changes changes = ChangesOf(run, trial.Path());
  EXPECT_EQ(disk.CountLosses(changes), 0);
  int flushes = 0;
  for (std::size_t i = 0; i < changes.size(); ++i) {
    if (changes[i].kind != Disk::Change::Kind::kFlush) continue;
    ++flushes;
    Disk::Changes fewer = changes;
    fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(i));
    EXPECT_GT(disk.CountLosses(fewer), 0) << "flush " << flushes << " is not needed";
  }
  EXPECT_EQ(flushes, 3);
}

#endif  // __x86_64__

// The limit is set in the child, right before the update. The signal that comes with it must not
// end the program.
TEST(UpdateUnderAFileSizeLimit, FitsOrLeavesThePoolAlone) {
  for (const std::size_t missing : {0U, 1U}) {
    const rlim_t limit = NewText().size() - missing;
    const Trial trial;
    const pid_t child = trial.Start([limit] {
      const rlimit size{limit, limit};
      ::setrlimit(RLIMIT_FSIZE, &size);
    });
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_TRUE(trial.Pool() == (missing == 0 ? NewText() : OldText()));
    if (missing == 0) continue;
    EXPECT_EQ(trial.LastAlarm(), CORRUPTED_PARAMETER_POOL().Message());
    EXPECT_THAT(trial.Log(),
                ::testing::HasSubstr("WARN  : can not write " + trial.Copies().begin()->first +
                                     ": File too large\nALARM : can not update"));
  }
}

// Another process in the middle of its update: it has locked and emptied the pool.
class OtherUpdate {
 public:
  explicit OtherUpdate(const std::string& path) : file_(path) {
    const int fd = ::open(path.c_str(), O_RDWR);
    fd_.Reset(fd);
    EXPECT_EQ(::lockf(fd, F_TLOCK, 0), 0);
  }
  void End() {
    file_ << OldText() << std::flush;
    fd_.Reset();  // releases the lock
  }

 private:
  std::ofstream file_;
  quellmark::basic::UniqueFd fd_;
};

TEST(UpdateByTwoProcesses, WaitsForTheOther) {
  const Trial trial;
  OtherUpdate other(trial.Path());
  const pid_t child = trial.Start([] {});
  ::usleep(50'000);
  other.End();
  int status = -1;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(trial.Pool() == NewText());
  EXPECT_THAT(
      trial.Log(),
      ::testing::HasSubstr("INFO  : waiting for process " + std::to_string(::getpid()) +
                           ", which keeps the pool locked: " + trial.Path() + "\nDEBUG : copy"));
}

TEST(UpdateByTwoProcesses, IsRefusedWhenTheOtherDoesNotEnd) {
  using std::chrono::milliseconds;
  using std::chrono::steady_clock;
  const Trial first;
  const Trial second;
  const OtherUpdate others[] = {OtherUpdate(first.Path()), OtherUpdate(second.Path())};
  const auto start = steady_clock::now();
  const pid_t child = ::fork();
  if (child == 0) {
    const auto wait = std::make_shared<quellmark::pool::LockWait>(milliseconds(200));
    int refused = 0;
    for (const std::string& path : {first.Path(), second.Path()}) {
      try {
        PARAMETER_POOL_READ_WRITE_CHANGE pool(path);
        pool.ShareWait(wait);
        pool.Set<ValueType::kInt32>("last", 2);
        pool.Close();
      } catch (const NO_UPDATE_PERMISSION_FOR_POOL&) {
        ++refused;
      }
    }
    ::_exit(refused);
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  const auto waited = steady_clock::now() - start;
  EXPECT_EQ(WEXITSTATUS(status), 2);
  EXPECT_GE(waited, milliseconds(200));
  EXPECT_LT(waited, milliseconds(2000)) << "one wait for both pools";
  const std::string holder = "process " + std::to_string(::getpid());
  for (const Trial* trial : {&first, &second}) {
    EXPECT_EQ(trial->Pool(), "") << "the other one's half-made pool stays as it is";
    EXPECT_TRUE(trial->Copies().empty());
  }
  EXPECT_THAT(
      second.Log(),
      ::testing::EndsWith("INFO  : waiting for " + holder +
                          ", which keeps the pool locked: " + second.Path() +
                          "\nALARM : " + holder + " keeps the pool locked: " + second.Path() +
                          "\nALARM : no permission to change pool file: " + second.Path() + "\n"));
}

}  // namespace
