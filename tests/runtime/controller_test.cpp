#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "runtime/controller_ifc.h"
#include "runtime/log.h"
#include "tests/runtime/step.h"
#include "tests/support/scoped_log.h"

namespace quellmark::runtime {
namespace {

using test::Child;
using test::ProgramRun;
using test::ReadFile;
using test::Say;
using test::ScopedLog;
using test::StartStep;
using test::StatusFiles;
using test::Step;
using test::TempDir;
using test::Work;
using test::WriteFile;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using enum Child::Streams;

int Succeed(CONTROLLER_IFC& controller) { controller.SuccessExit(); }

TEST(ConfigurationFile, GoesOnWhereItStoppedAndWrapsOnce) {
  const TempDir directory;
  const std::string at_limit = "k " + std::string(1022, 'v');
  using Finds = std::vector<std::pair<std::string, std::string>>;  // name, value ("-" for none)
  const std::vector<std::pair<std::string, Finds>> rows = {
      {"a 1\nb 2\na 3\n", {{"a", "1"}, {"a", "3"}, {"a", "1"}, {"b", "2"}, {"b", "2"}}},
      {"a 1\nb 2", {{"b", "2"}, {"a", "1"}, {"c", "-"}, {"a", "1"}}},
      {"  a\t\f 1 rest\r\n\n\nb 2\r\n", {{"a", "1"}, {"b", "2"}}},
      {"a\na \n a 4\n", {{"a", "4"}}},
      {"a\n", {{"a", "-"}}},
      {"", {{"a", "-"}, {"a", "-"}}},
      {"A 1\nab 2\n", {{"a", "-"}}},
      {std::string("\0\0a 1\na \0x\n", 11), {{"a", std::string("\0x", 2)}}},
      {at_limit + "\na 1\n", {{"k", at_limit.substr(2)}, {"a", "1"}}},
      {at_limit + "vv w\n", {{"k", at_limit.substr(2)}, {"vv", "w"}}},
      {std::string(1 << 20, 'x') + " 1\na 2\n", {{"a", "2"}}},
  };
  for (const auto& [content, finds] : rows) {
    SCOPED_TRACE(content.substr(0, 40));
    WriteFile(directory / "pcf", content);
    const ScopedLog log(LogLevel::kSilent);
    ConfigurationFile file;
    ASSERT_TRUE(file.Open((directory / "pcf").c_str()));
    for (const auto& [name, expected] : finds) {
      std::string value = "-";
      EXPECT_EQ(file.Find(name, value), expected != "-");
      EXPECT_EQ(value, expected) << name;
    }
  }
  ASSERT_EQ(::mkfifo((directory / "fifo").c_str(), 0600), 0);
  for (const std::string& path : {directory / "fifo", directory / "", directory / "missing"}) {
    EXPECT_FALSE(ConfigurationFile().Open(path.c_str())) << path;
  }
}

TEST(Controller, SearchesArgumentsThenConfigurationThenEnvironment) {
  const TempDir directory;
  WriteFile(directory / "pcf.quellmark", "b pcf\nc pcf\n");
  const std::vector<std::string> arguments = {"-a", "first", "-b",  "arg",  "-a", "last", "x-a",
                                              "n",  "--a",   "two", "-lsl", "9",  "-e",   "-d"};
  Child child = StartStep(directory, arguments, [](CONTROLLER_IFC& controller) {
    for (const char* const name : {"a", "b", "c", "d"}) ::setenv(name, "env", 1);
    ::unsetenv("f");
    const ScopedLog log;
    for (const char* const name : {"a", "b", "c", "d", "e", "f"}) {
      std::string value = "untouched";
      const bool found = controller.GetOptionalParameter(name, value);
      LogLine(LogLevel::kAlarm, found, " ", value);
    }
    LogLine(LogLevel::kAlarm, controller.HasParameter("a"));
    Say(log.Text());
    return 0;
  });
  EXPECT_THAT(child.Wait().output,
              EndsWith("lsl = 9\n" + ReadFile(QM_RUNTIME_TEST_DATA "/look_up.log")));
}

TEST(Controller, StartUpReportsNamesAndLeavesError) {
  const TempDir directory;
  std::filesystem::create_directory(directory / "st");
  WriteFile(directory / "st/OK.quellmark", "0");
  EXPECT_EQ(StartStep(directory, {"-lfn", "log", "-status", "st/"}, Succeed).Wait().exit_status, 0);
  EXPECT_THAT(ReadFile(directory / "log"), HasSubstr("status = st/\n"));
  EXPECT_EQ(ReadFile(directory / "st/OK.quellmark"), "0");
  Child child(directory.Path(), [] {
    const ScopedLog log;
    const auto work = [](CONTROLLER_IFC& controller) {
      LogLine(LogLevel::kAlarm, controller.get_binary_name(), " uses ",
              controller.ConfigurationFile());
      return 0;
    };
    const int status = Step({"-status", "st"}, work)();
    Say(log.Text());
    return status;
  });
  EXPECT_EQ(child.Wait().output, ReadFile(QM_RUNTIME_TEST_DATA "/start_up.log"));
  EXPECT_EQ(ReadFile(directory / "st/ERROR.quellmark"), "1");
  EXPECT_FALSE(std::filesystem::exists(directory / "st/OK.quellmark"));
}

TEST(Controller, PidNamesEveryFileAndThresholdsAreObeyed) {
  const TempDir directory;
  WriteFile(directory / "pcf.step7", "lfl WARNING\nlsl 8\nK v\n");
  Child child = StartStep(directory, {"-pid", "step7"}, [](CONTROLLER_IFC& controller) {
    LogLine(LogLevel::kWarning, "w ", controller.HasParameter("K"), "\n");
    LogLine(LogLevel::kAlarm, "a\n");
    return controller.SuccessReturn();
  });
  EXPECT_THAT(child.Wait().output, EndsWith("lsl = 8\nALARM : step7 : a\n"));
  EXPECT_THAT(ReadFile(directory / "log.step7"),
              EndsWith("Found parameter lfl = WARNING\nWARN  : step7 : w 1\nALARM : step7 : a\n"));
  EXPECT_EQ(ReadFile(directory / "OK.step7"), "0");
  EXPECT_FALSE(std::filesystem::exists(directory / "ERROR.step7"));
}

TEST(Controller, ExitsLeaveTheirStatusFile) {
  using Controller = CONTROLLER_IFC;
  const std::tuple<Work, int, std::string> rows[] = {
      {[](Controller& c) -> int { c.SuccessExit(); }, 0, "OK.quellmark=0 "},
      {[](Controller& c) -> int { c.FailureExit(); }, 1, "ERROR.quellmark=1 "},
      {[](Controller& c) { return c.SuccessReturn() + 40; }, 40, "OK.quellmark=0 "},
      {[](Controller& c) { return c.FailureReturn() + 40; }, 41, "ERROR.quellmark=1 "},
      {[](Controller&) { return 5; }, 5, "ERROR.quellmark=1 "}};
  for (const auto& [end, exit_status, files] : rows) {
    const TempDir directory;
    WriteFile(directory / "OK.quellmark", "0 of an older run");
    WriteFile(directory / "ERROR.quellmark", "1 of an older run");
    Child child = StartStep(directory, {"-lfn", "log"}, [end = end](Controller& controller) {
      Log().Start(LogLevel::kInfo) << "open line";
      return end(controller);
    });
    EXPECT_EQ(child.Wait().exit_status, exit_status);
    EXPECT_EQ(StatusFiles(directory), files);
    EXPECT_THAT(ReadFile(directory / "log"), EndsWith(" : open line\n"));
  }
}

TEST(Controller, StopFileEndsTheStepBeforeItStarts) {
  const TempDir directory;
  WriteFile(directory / "STOP.quellmark", "");
  WriteFile(directory / "OK.quellmark", "kept");
  EXPECT_EQ(StartStep(directory, {"-lfn", "log"}, Succeed).Wait().exit_status, 2);
  EXPECT_EQ(StatusFiles(directory), "OK.quellmark=kept STOP.quellmark= ");
  const std::string line = "INFO  : quellmark : " + std::string(52, '=') + "\n";
  EXPECT_THAT(
      ReadFile(directory / "log"),
      EndsWith(line + "INFO  : quellmark : Program execution interrupted - STOP file was found!\n" +
               line + "INFO  : quellmark : found file: STOP.quellmark\n"));
}

TEST(Controller, StatusFilesThatCanNotBeMadeAreReportedAndIgnored) {
  const TempDir directory;
  WriteFile(directory / "pcf.quellmark", "pid too_late_for_any_name_but_names_the_log\n");
  EXPECT_EQ(StartStep(directory, {"-status", "no"}, Succeed).Wait().exit_status, 0);
  EXPECT_THAT(ReadFile(directory / "log.quellmark"),
              EndsWith("WARN  : quellmark : Can not create file no/ERROR.quellmark\n"
                       "WARN  : quellmark : Can not create file no/OK.quellmark\n"));
}

// Whatever stands in the place of a status file is replaced. What cannot be removed is reported.
TEST(Controller, StatusFilesReplaceWhatStandsThere) {
  using Prepare = void (*)(const TempDir&);
  struct Row {
    Prepare prepare;
    std::string files;
    std::string log;  // the end of the log, after the start-up
  };
  const Row rows[] = {
      {[](const TempDir& d) { ::mkfifo((d / "ERROR.quellmark").c_str(), 0600); }, "OK.quellmark=0 ",
       "INFO  : quellmark : working\n"},
      {[](const TempDir& d) {
         WriteFile(d / "kept", "kept");
         std::filesystem::create_symlink("kept", d / "ERROR.quellmark");
       },
       "OK.quellmark=0 ", "INFO  : quellmark : working\n"},
      {[](const TempDir& d) { std::filesystem::create_directories(d / "OK.quellmark/full"); },
       "OK.quellmark=DIRECTORY ",
       "WARN  : quellmark : Can not remove file OK.quellmark: Is a directory\n"
       "INFO  : quellmark : working\n"
       "WARN  : quellmark : Can not create file OK.quellmark\n"},
      {[](const TempDir& d) { std::filesystem::create_directories(d / "ERROR.quellmark/full"); },
       "OK.quellmark=0 ERROR.quellmark=DIRECTORY ",
       "WARN  : quellmark : Can not create file ERROR.quellmark\n"
       "INFO  : quellmark : working\n"
       "WARN  : quellmark : Can not remove file ERROR.quellmark: Is a directory\n"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.log);
    const TempDir directory;
    row.prepare(directory);
    Child child = StartStep(directory, {"-lfn", "log"}, [](CONTROLLER_IFC& controller) {
      LogLine(LogLevel::kInfo, "working");
      return controller.SuccessReturn();
    });
    EXPECT_EQ(child.Wait().exit_status, 0);
    EXPECT_EQ(StatusFiles(directory), row.files);
    EXPECT_THAT(ReadFile(directory / "log"), EndsWith(row.log));
    if (std::filesystem::exists(directory / "kept")) {
      EXPECT_EQ(ReadFile(directory / "kept"), "kept");
    }
    for (const auto& file : std::filesystem::directory_iterator(directory.Path())) {
      EXPECT_FALSE(file.path().filename().string().starts_with(".status")) << file.path();
    }
  }
}

// Under a file-size limit of 0 no new status file can be written; none is ever found empty.
TEST(Controller, StatusFilesAreNeverEmpty) {
  for (const bool error_exists : {false, true}) {
    const TempDir directory;
    if (error_exists) WriteFile(directory / "ERROR.quellmark", "1");
    Child child = StartStep(directory, {"-lfn", "log"}, [error_exists](CONTROLLER_IFC& controller) {
      if (!error_exists) std::filesystem::remove("ERROR.quellmark");
      const rlimit none{.rlim_cur = 0, .rlim_max = 0};
      if (::setrlimit(RLIMIT_FSIZE, &none) != 0) return 7;
      return controller.FailureReturn();
    });
    EXPECT_EQ(child.Wait().exit_status, 1);
    EXPECT_EQ(StatusFiles(directory), error_exists ? "ERROR.quellmark=1 " : "");
  }
}

TEST(Controller, PathsThatDoNotFitEndTheStep) {
  const TempDir directory;
  const auto run = [&](const std::string& parameter, std::size_t length) {
    const std::string value(length, 'x');
    return StartStep(directory, {"-lfn", "log", "-lfl", "9", "-" + parameter, value}, Succeed)
        .Wait();
  };
  // The longest names that fit beside "ERROR." and, for the status directory, "/" and "quellmark".
  constexpr std::size_t kLongestStatus = 255 - 1 - 6 - 9;
  for (const auto& [parameter, longest] :
       std::initializer_list<std::pair<std::string, std::size_t>>{
           {"pid", 249}, {"status", kLongestStatus}, {"pcf", 255}, {"lfn", 255}}) {
    EXPECT_EQ(run(parameter, longest).exit_status, 0) << parameter;
    for (const std::size_t too_long : {longest + 1, std::size_t{5000}}) {
      const ProgramRun failed = run(parameter, too_long);
      EXPECT_EQ(failed.exit_status, 1) << parameter;
      EXPECT_THAT(failed.output, HasSubstr("value of parameter " + parameter +
                                           " is too long for a path of 255 characters\n"));
    }
  }
}

TEST(Controller, BeforeInitItHasNoName) {
  const ScopedLog log;
  CONTROLLER_IFC controller;
  EXPECT_EQ(controller.get_binary_name(), "unknown");
  EXPECT_EQ(controller.get_binary_name(), "unknown");
  EXPECT_EQ(controller.FailureReturn(), 1);
  EXPECT_EQ(log.Text(),
            "WARN  : CONTROLLER_IFC::get_binary_name: Controller interface not initialized!\n"
            "WARN  : Function CONTROLLER_IFC::init must be called before accessing a controller "
            "object!\n");
}

int AskTwice(CONTROLLER_IFC& controller) {
  std::string value;
  for (const char* const name : {"A", "B"}) {
    controller.GetParameter(name, value);
    Say("[" + value + "]");
  }
  return controller.SuccessReturn();
}

TEST(Keyboard, WaitsAlsoWhereTheInputIsSetNotTo) {
  const TempDir directory;
  Child child = StartStep(directory, {"-lfn", "log", "-lsl", "9"}, [](CONTROLLER_IFC& controller) {
    ::fcntl(STDIN_FILENO, F_SETFL, O_RDWR | O_NONBLOCK);
    return AskTwice(controller);
  });
  child.WaitFor("A := ");
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  child.Type("one\n");
  child.WaitFor("B := ");
  child.Type("two\n");
  EXPECT_THAT(child.Wait().output, EndsWith("A := [one]B := [two]"));
}

// Reads the parameters A and B from the keyboard, the first from `input`.
ProgramRun AnswerTwice(const TempDir& directory, std::string_view input, Child::Streams streams,
                       const char* seconds = "-3") {
  ::setenv("SECONDS_ON_PARAMETER_INPUT", seconds, 1);
  Child child = StartStep(directory, {"-lfn", "log", "-lfl", "1", "-lsl", "9"}, AskTwice, streams);
  child.WaitFor("A := ");
  child.Type(input);
  if (streams == kSocket) child.CloseInput();
  return child.Wait();
}

TEST(Keyboard, AsksAndReadsOneWord) {
  const TempDir directory;
  const ProgramRun typed = AnswerTwice(directory, "\n \t scene.pool B2\n", kTerminal);
  EXPECT_THAT(typed.output, EndsWith("[scene.pool]B := [B2]"));
  EXPECT_EQ(typed.exit_status, 0);
  EXPECT_THAT(ReadFile(directory / "log"),
              HasSubstr("TRACE : quellmark : parameter A not found in UNIX environment\n"
                        "WARN  : quellmark : No configuration file or parameter not found!\n"
                        "WARN  : quellmark : \t  Please input value of parameter : <A>\n"
                        "DEBUG : quellmark : waiting 120 seconds for input\n"
                        "DEBUG : quellmark : Read from keyboard parameter A = scene.pool\n"));
  const std::string long_word(100000, 'w');
  EXPECT_THAT(AnswerTwice(directory, long_word + "\nb", kSocket, "0").output,
              EndsWith("A := [" + long_word + "]B := [b]"));
  EXPECT_THAT(ReadFile(directory / "log"), HasSubstr("waiting 120 seconds for input\n"));
}

TEST(Keyboard, EndOfInputIsAMissingParameter) {
  const std::tuple<std::string_view, Child::Streams, std::string> rows[] = {
      {"", kSocket, "A"}, {" \n", kSocket, "A"}, {"a\n", kSocket, "B"}, {"\004", kTerminal, "A"}};
  for (const auto& [input, streams, missing] : rows) {
    const TempDir directory;
    const ProgramRun run = AnswerTwice(directory, input, streams);
    EXPECT_EQ(run.exit_status, 1);
    EXPECT_THAT(run.output, EndsWith("\n")) << "the prompt's line stays open";
    EXPECT_EQ(StatusFiles(directory), "ERROR.quellmark=1 ");
    EXPECT_THAT(ReadFile(directory / "log"),
                EndsWith("ALARM : quellmark : no value for parameter " + missing +
                         ": the input has ended\n"));
  }
}

TEST(Keyboard, TimeOutEndsTheProcessByItsAlarmUnlessItIsAnswered) {
  const TempDir directory;
  const auto work = [](CONTROLLER_IFC& controller) {
    ::setenv("SECONDS_ON_PARAMETER_INPUT", "1", 1);
    ::signal(SIGALRM, SIG_IGN);  // some starters leave it ignored
    std::string value;
    controller.GetParameter("A", value);
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));
    controller.GetParameter("B", value);
    return 0;
  };
  Child child = StartStep(directory, {"-lfn", "log"}, work, kTerminal);
  child.WaitFor("A := ");
  child.Type("a\n");
  child.WaitFor("B := ");
  EXPECT_EQ(child.Wait().signal, SIGALRM);
  EXPECT_EQ(StatusFiles(directory), "ERROR.quellmark=1 ");
  EXPECT_THAT(ReadFile(directory / "log"), EndsWith("waiting 1 seconds for input\n"));
}

}  // namespace
}  // namespace quellmark::runtime
