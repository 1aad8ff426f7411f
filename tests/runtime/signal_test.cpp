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
#include <cstdint>
#include <filesystem>
#include <string>
#include <thread>

#include "runtime/controller_ifc.h"
#include "runtime/log.h"
#include "runtime/signal_hold.h"
#include "runtime/streams.h"
#include "tests/runtime/step.h"
#include "tests/support/child.h"
#include "tests/support/files.h"

namespace quellmark::runtime {
namespace {

using test::Child;
using test::ProgramRun;
using test::ReadFile;
using test::Step;
using test::TempDir;
using ::testing::EndsWith;

struct Fatal {
  int number;
  std::string_view name;
};

constexpr auto kFatal = std::to_array<Fatal>({
    {1, "hangup"},
    {2, "interrupt (rubout)"},
    {3, "quit (ASCII FS)"},
    {4, "illegal instruction (not reset when caught)"},
    {6, "IOT instruction"},
    {8, "floating point exception"},
    {7, "bus error"},
    {11, "segmentation violation"},
    {31, "bad argument to system call"},
    {15, "software termination signal from kill"},
    {23, "urgent socket condition"},
    {24, "exceeded cpu limit"},
    {25, "exceeded file size limit"},
});

const std::vector<std::string> kArguments = {"-lfn", "log", "-lsl", "9"};

// What a fatal signal leaves behind.
void ExpectOrderlyEnd(const TempDir& directory, const ProgramRun& run, const Fatal& signal) {
  SCOPED_TRACE(signal.name);
  EXPECT_EQ(run.exit_status, 1);
  EXPECT_EQ(run.signal, 0);
  EXPECT_EQ(ReadFile(directory / "ERROR.quellmark"), "1");
  EXPECT_FALSE(std::filesystem::exists(directory / "OK.quellmark"));
  const std::string number = std::to_string(signal.number);
  EXPECT_THAT(
      ReadFile(directory / "log"),
      EndsWith("\nALARM : quellmark : got fatal signal " + number + ": " +
               std::string(signal.name) +
               "\nALARM : quellmark : KVT_MSG|ERROR|quellmark got fatal signal " + number + "\n"));
}

int Ask(CONTROLLER_IFC& controller) {
  std::string value;
  controller.GetParameter("A", value);
  return 0;
}

int Process(CONTROLLER_IFC& controller) {
  static_cast<void>(controller.SuccessReturn());  // an OK file that has to go
  Log().Start(LogLevel::kAlarm) << "a line under way";
  WriteQuietly(STDOUT_FILENO, "ready");
  while (true) ::pause();
}

TEST(FatalSignal, LeavesErrorLogAndMessageAtThePromptAndInProcessing) {
  for (const Fatal& signal : kFatal) {
    for (const bool at_prompt : {true, false}) {
      const TempDir directory;
      Child child(directory.Path(), [step = Step(kArguments, at_prompt ? Ask : Process)] {
        const SignalHold starters;  // who left them blocked
        return step();
      });
      child.WaitFor(at_prompt ? "A := " : "ready");
      ASSERT_EQ(::kill(child.Pid(), signal.number), 0);
      ExpectOrderlyEnd(directory, child.Wait(), signal);
    }
  }
}

TEST(FatalSignal, ComesFromTheTerminalsInterruptKeyToo) {
  const TempDir directory;
  Child child(directory.Path(), Step(kArguments, Ask), Child::Streams::kTerminal);
  child.WaitFor("A := ");
  child.Type("\003");
  ExpectOrderlyEnd(directory, child.Wait(), kFatal[1]);
}

// Uses up the stack: `depth` never reaches zero in time, and each result is needed.
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
  Child child(directory.Path(), Step(kArguments, [](CONTROLLER_IFC&) { return Recurse(~0U); }));
  ExpectOrderlyEnd(directory, child.Wait(), kFatal[7]);
#endif
}

TEST(FatalSignal, WithoutMessageModeLeavesOutTheMessage) {
  const TempDir directory;
  Child child(directory.Path(), Step(kArguments, [](CONTROLLER_IFC& controller) {
                std::array<std::string, 5> words = {"/x/quellmark", "-lfn", "log", "-lsl", "9"};
                std::array<char*, 5> argv{};
                for (std::size_t i = 0; i < words.size(); ++i) argv[i] = words[i].data();
                controller.init(5, argv.data(), 0);
                return ::raise(SIGTERM);
              }));
  EXPECT_EQ(child.Wait().exit_status, 1);
  EXPECT_THAT(ReadFile(directory / "log"),
              EndsWith("got fatal signal 15: software termination signal from kill\n"));
}

TEST(FatalSignal, WithoutControllerExitsWithMinusOne) {
  const TempDir directory;
  Child child(directory.Path(), [step = Step(kArguments, [](CONTROLLER_IFC&) { return 0; })] {
    return step() + ::raise(SIGTERM);
  });
  EXPECT_EQ(child.Wait().exit_status, 255);
}

TEST(FatalSignal, WaitsUntilTheHoldEnds) {
  for (const Fatal& signal : kFatal) {
    const TempDir directory;
    Child child(directory.Path(), Step(kArguments, [](CONTROLLER_IFC&) {
                  const SignalHold outer;
                  {
                    const SignalHold inner;
                    WriteQuietly(STDOUT_FILENO, "held");
                    char go = 0;
                    if (::read(STDIN_FILENO, &go, 1) != 1) return 7;
                  }
                  test::WriteFile("pool", "whole");
                  return 0;
                }));
    child.WaitFor("held");
    ASSERT_EQ(::kill(child.Pid(), signal.number), 0);
    child.Type("x");
    ExpectOrderlyEnd(directory, child.Wait(), signal);
    EXPECT_EQ(ReadFile(directory / "pool"), "whole");
  }
}

// A log that nobody reads blocks the handler.
TEST(FatalSignal, SecondOneEndsTheProcessAtOnce) {
  for (const int second : {SIGTERM, SIGINT}) {
    const TempDir directory;
    ASSERT_EQ(::mkfifo((directory / "log").c_str(), 0600), 0);
    const basic::UniqueFd fifo(::open((directory / "log").c_str(), O_RDWR | O_NONBLOCK));
    Child child(directory.Path(), Step(kArguments, Process));
    child.WaitFor("ready");
    const std::string block(4096, 'x');
    while (::write(fifo.Get(), block.data(), block.size()) > 0) {
    }
    ASSERT_EQ(::kill(child.Pid(), SIGTERM), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_EQ(::waitpid(child.Pid(), nullptr, WNOHANG), 0) << "the handler was not held up";
    std::filesystem::remove(directory / "OK.quellmark");
    ASSERT_EQ(::kill(child.Pid(), second), 0);
    EXPECT_EQ(child.Wait().exit_status, 1);
    EXPECT_FALSE(std::filesystem::exists(directory / "ERROR.quellmark")) << "more was done";
  }
}

TEST(FatalSignal, DoesNotWaitForTheScreen) {
  const TempDir directory;
  Child child(directory.Path(), Step({"-lfn", "log"}, [](CONTROLLER_IFC&) {
                int ends[2];
                if (::pipe(ends) != 0) return 7;
                WriteQuietly(STDOUT_FILENO, "ready");
                ::dup2(ends[1], STDOUT_FILENO);
                while (true) LogLine(LogLevel::kAlarm, std::string(1000, 'x'));
              }));
  child.WaitFor("ready");
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  ASSERT_EQ(::kill(child.Pid(), SIGTERM), 0);
  ExpectOrderlyEnd(directory, child.Wait(), kFatal[9]);
}

void LimitFileSize(std::uintmax_t size) {
  const rlimit limit{.rlim_cur = size, .rlim_max = size};
  EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
}

TEST(FatalSignal, FileSizeLimitIsOneUnlessLogOrStatusFilesReachIt) {
  const TempDir directory;
  Child step(directory.Path(), Step(kArguments, [](CONTROLLER_IFC& controller) {
               LimitFileSize(0);
               LogLine(LogLevel::kAlarm, "does not fit and does no harm\n");
               return controller.SuccessReturn() + 40;
             }));
  EXPECT_EQ(step.Wait().exit_status, 40);

  Child fatal(directory.Path(), Step(kArguments, [](CONTROLLER_IFC&) {
                LimitFileSize(std::filesystem::file_size("log") + 1);
                std::filesystem::remove("ERROR.quellmark");
                const basic::UniqueFd pool(::open("pool", O_WRONLY | O_CREAT, 0600));
                return ::pwrite(pool.Get(), "x", 1, 1 << 20) == 1 ? 0 : 3;
              }));
  EXPECT_EQ(fatal.Wait().exit_status, 1);
  EXPECT_EQ(ReadFile(directory / "ERROR.quellmark"), "1") << "though its log did not fit";
}

TEST(SignalNames, AreKnownFrom1To31) {
  EXPECT_EQ(SignalName(16), "stack fault");
  for (const int number : {-1, 0, 32, 64}) EXPECT_EQ(SignalName(number), "");
}

}  // namespace
}  // namespace quellmark::runtime
