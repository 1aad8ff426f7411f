#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>

#include "runtime/log.h"
#include "runtime/signal_hold.h"
#include "runtime/streams.h"
#include "tests/runtime/step.h"
#include "tests/support/rows.h"

namespace quellmark::runtime {
namespace {

using test::Child;
using test::ReadFile;
using test::Say;
using test::StartStep;
using test::StatusFiles;
using test::Step;
using test::TempDir;
using ::testing::EndsWith;

struct Signal {
  int number;
  std::string name;
};

// All signals that have a name, or only the fatal ones.
std::vector<Signal> Signals(bool fatal_only) {
  std::vector<Signal> signals;
  for (const test::Row& row : test::ReadRows(QM_RUNTIME_TEST_DATA "/signals.txt")) {
    if (!fatal_only || row[2] == "fatal") signals.push_back({std::stoi(row[0]), row[1]});
  }
  return signals;
}

const std::vector<std::string> kArguments = {"-lfn", "log", "-lsl", "9"};

// Checks what a fatal signal leaves behind. `before` is the end of the log before the signal.
void ExpectOrderlyEnd(const TempDir& directory, Child& child, const Signal& signal,
                      const std::string& before = "") {
  SCOPED_TRACE(signal.name);
  EXPECT_EQ(child.Wait().exit_status, 1);
  EXPECT_EQ(StatusFiles(directory), "ERROR.quellmark=1 ");
  const std::string got = "got fatal signal " + std::to_string(signal.number);
  EXPECT_THAT(ReadFile(directory / "log"),
              EndsWith(before + "\nALARM : quellmark : " + got + ": " + signal.name +
                       "\nALARM : quellmark : KVT_MSG|ERROR|quellmark " + got + "\n"));
}

int Ask(CONTROLLER_IFC& controller) {
  std::string value;
  controller.GetParameter("A", value);
  return 0;
}

int Process(CONTROLLER_IFC& controller) {
  static_cast<void>(controller.SuccessReturn());  // leaves an OK file that the signal must remove
  const LogBatch batch;
  LogLine(LogLevel::kInfo, "collected");
  Log().Start(LogLevel::kQaWarning) << "a line under way";
  Say("ready");
  while (true) ::pause();
}

TEST(FatalSignal, LeavesErrorLogAndMessageAtThePromptAndInProcessing) {
  for (const Signal& signal : Signals(true)) {
    for (const bool at_prompt : {true, false}) {
      const TempDir directory;
      Child child = StartStep(directory, kArguments, at_prompt ? Ask : Process);
      child.WaitFor(at_prompt ? "A := " : "ready");
      ASSERT_EQ(::kill(child.Pid(), signal.number), 0);
      ExpectOrderlyEnd(
          directory, child, signal,
          at_prompt ? "" : "INFO  : quellmark : collected\nQA_WA : quellmark : a line under way");
    }
  }
}

// Overflows the stack: `depth` never reaches zero, and no call can be optimised away.
int Recurse(unsigned depth) {
  volatile char frame[4096];
  frame[0] = static_cast<char>(depth);
  return depth == 0 ? 0 : Recurse(depth - 1) + frame[0];
}

TEST(FatalSignal, HasAStackWhenThereIsNoneLeft) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer takes this fault itself";
#else
  const TempDir directory;
  Child child = StartStep(directory, kArguments, [](CONTROLLER_IFC&) { return Recurse(~0U); });
  ExpectOrderlyEnd(directory, child, {SIGSEGV, "segmentation violation"});
#endif
}

TEST(FatalSignal, WithoutMessageModeLeavesOutTheMessage) {
  const TempDir directory;
  const auto end = [](CONTROLLER_IFC&) { return ::raise(SIGTERM); };
  EXPECT_EQ(Child(directory.Path(), Step(kArguments, end, 0)).Wait().exit_status, 1);
  EXPECT_THAT(ReadFile(directory / "log"),
              EndsWith("got fatal signal 15: software termination signal from kill\n"));
}

TEST(FatalSignal, WithoutControllerExitsWithMinusOne) {
  const TempDir directory;
  Child child(directory.Path(), [] {
    return Step(kArguments, [](CONTROLLER_IFC&) { return 0; })() + ::raise(SIGTERM);
  });
  EXPECT_EQ(child.Wait().exit_status, 255);
}

TEST(FatalSignal, WaitsUntilTheHoldEnds) {
  for (const Signal& signal : Signals(true)) {
    const TempDir directory;
    Child child = StartStep(directory, kArguments, [](CONTROLLER_IFC&) {
      const SignalHold outer;
      {
        const SignalHold inner;
        Say("held");
        sigset_t pending;
        do {
          ::sigpending(&pending);
        } while (::sigisemptyset(&pending) != 0);
      }
      test::WriteFile("pool", "whole");
      return 0;
    });
    child.WaitFor("held");
    ASSERT_EQ(::kill(child.Pid(), signal.number), 0);
    ExpectOrderlyEnd(directory, child, signal);
    EXPECT_EQ(ReadFile(directory / "pool"), "whole");
  }
}

// Makes a log that this process reads.
basic::UniqueFd MakeFifo(const TempDir& directory) {
  const std::string path = directory / "log";
  EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
  return basic::UniqueFd(::open(path.c_str(), O_RDWR | O_NONBLOCK));
}

// Fills the pipe, so that the next write blocks.
void Fill(const basic::UniqueFd& fifo) {
  const std::string block(4096, 'x');
  while (::write(fifo.Get(), block.data(), block.size()) > 0) {
  }
}

std::string ReadWaiting(const basic::UniqueFd& fifo) {
  std::string text;
  std::array<char, 4096> block;
  for (ssize_t got = 0; (got = ::read(fifo.Get(), block.data(), block.size())) > 0;) {
    text.append(block.data(), static_cast<std::size_t>(got));
  }
  return text;
}

constexpr std::chrono::milliseconds kMoment(100);

// A log that nobody reads would block the handler.
TEST(FatalSignal, SecondOneEndsTheProcessAtOnce) {
  for (const int second : {SIGTERM, SIGINT}) {
    const TempDir directory;
    const basic::UniqueFd fifo = MakeFifo(directory);
    Child child = StartStep(directory, kArguments, Process);
    child.WaitFor("ready");
    Fill(fifo);
    ASSERT_EQ(::kill(child.Pid(), SIGTERM), 0);
    std::this_thread::sleep_for(kMoment);
    ASSERT_EQ(::waitpid(child.Pid(), nullptr, WNOHANG), 0) << "the handler was not held up";
    std::filesystem::remove(directory / "OK.quellmark");
    ASSERT_EQ(::kill(child.Pid(), second), 0);
    EXPECT_EQ(child.Wait().exit_status, 1);
    EXPECT_FALSE(std::filesystem::exists(directory / "ERROR.quellmark")) << "more was done";
  }
}

// The log moves to a file that blocks at first. The lines about the signal come after the lines
// that are carried over.
TEST(FatalSignal, WaitsUntilTheLogHasMoved) {
  const TempDir directory;
  const basic::UniqueFd fifo = MakeFifo(directory);
  Fill(fifo);
  Child child = StartStep(directory, kArguments, [](CONTROLLER_IFC&) { return 0; });
  child.WaitFor("lfn = log");
  std::this_thread::sleep_for(kMoment);
  ASSERT_EQ(::kill(child.Pid(), SIGTERM), 0);
  std::this_thread::sleep_for(kMoment);
  // The child writes as soon as there is room, so either read may return its lines.
  std::string log = ReadWaiting(fifo);
  EXPECT_EQ(child.Wait().exit_status, 1);
  log += ReadWaiting(fifo);
  EXPECT_LT(log.find("lfn = log\n"), log.find("got fatal signal 15"));
  EXPECT_THAT(log, EndsWith("KVT_MSG|ERROR|quellmark got fatal signal 15\n"));
}

TEST(FatalSignal, MeetsAWholeProcessName) {
  const std::string names[] = {std::string(200, 'a'), "b"};
  for (int i = 0; i < 20; ++i) {
    const TempDir directory;
    Child child = StartStep(directory, kArguments, [&](CONTROLLER_IFC&) -> int {
      Say("ready");
      while (true) {
        for (const std::string& name : names) Log().SetProcessName(name);
      }
    });
    child.WaitFor("ready");
    std::this_thread::sleep_for(std::chrono::microseconds(500 + 37 * i));
    ASSERT_EQ(::kill(child.Pid(), SIGTERM), 0);
    EXPECT_EQ(child.Wait().exit_status, 1);
    EXPECT_THAT(ReadFile(directory / "log"),
                ::testing::ContainsRegex("\nALARM : (a{200}|b) : got fatal signal 15"));
  }
}

TEST(WriteAll, GoesOnAfterAnInterruption) {
  constexpr std::size_t kBytes = 1 << 22;
  const TempDir directory;
  Child child(directory.Path(), [] {
    struct sigaction action {};  // without SA_RESTART
    action.sa_handler = [](int) {};
    if (::sigaction(SIGUSR1, &action, nullptr) != 0) return 7;
    Say("ready");
    return WriteAll(STDOUT_FILENO, std::string(kBytes, 'x')) ? 0 : 1;
  });
  child.WaitFor("ready");
  for (int i = 0; i < 5; ++i) {
    std::this_thread::sleep_for(kMoment / 5);
    ASSERT_EQ(::kill(child.Pid(), SIGUSR1), 0);
  }
  const test::ProgramRun run = child.Wait();
  EXPECT_EQ(run.exit_status, 0);
  EXPECT_EQ(run.output.size(), kBytes + 5);
}

TEST(FatalSignal, DoesNotWaitForTheScreen) {
  for (const bool held : {false, true}) {
    const TempDir directory;
    Child child = StartStep(directory, {"-lfn", "log"}, [held](CONTROLLER_IFC&) {
      int ends[2];
      if (::pipe(ends) != 0) return 7;
      Say("ready");
      ::dup2(ends[1], STDOUT_FILENO);
      while (true) {
        std::optional<SignalHold> hold;
        if (held) hold.emplace();
        LogLine(LogLevel::kAlarm, std::string(1000, 'x'));
      }
    });
    child.WaitFor("ready");
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_EQ(::kill(child.Pid(), SIGTERM), 0);
    ExpectOrderlyEnd(directory, child, {SIGTERM, "software termination signal from kill"});
  }
}

TEST(FatalSignal, FileSizeLimitIsOneUnlessLogOrStatusFilesReachIt) {
  const TempDir directory;
  const auto exit_status = [&](bool pool_too) {
    const auto work = [pool_too](CONTROLLER_IFC& controller) {
      const rlim_t size = pool_too ? std::filesystem::file_size("log") + 1 : 0;
      const rlimit limit{.rlim_cur = size, .rlim_max = size};
      if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 7;
      std::filesystem::remove("ERROR.quellmark");
      LogLine(LogLevel::kAlarm, "does not fit and does no harm\n");
      const basic::UniqueFd pool(::open("pool", O_WRONLY | O_CREAT, 0600));
      if (pool_too && ::pwrite(pool.Get(), "x", 1, 1 << 20) != 1) return 8;
      static_cast<void>(controller.SuccessReturn());
      sigset_t pending;
      ::sigpending(&pending);
      return ::sigisemptyset(&pending) != 0 ? 40 : 9;
    };
    return StartStep(directory, kArguments, work).Wait().exit_status;
  };
  EXPECT_EQ(exit_status(false), 40);
  EXPECT_EQ(exit_status(true), 1);
  EXPECT_EQ(StatusFiles(directory), "ERROR.quellmark=1 ") << "though its log did not fit";
}

TEST(SignalNames, AreKnownFrom1To31) {
  int number = 0;
  for (const Signal& signal : Signals(false)) {
    EXPECT_EQ(signal.number, ++number);
    EXPECT_EQ(SignalName(number), signal.name);
  }
  for (const int other : {-1, 0, 32, 64}) EXPECT_EQ(SignalName(other), "");
}

}  // namespace
}  // namespace quellmark::runtime
