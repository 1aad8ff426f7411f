#include <gmock/gmock.h>
#include <gtest/gtest.h>
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
#include "runtime/streams.h"
#include "tests/runtime/step.h"
#include "tests/support/child.h"
#include "tests/support/files.h"
#include "tests/support/scoped_log.h"

namespace quellmark::runtime {
namespace {

using test::Child;
using test::ProgramRun;
using test::ReadFile;
using test::ScopedLog;
using test::Step;
using test::TempDir;
using test::WriteFile;
using ::testing::EndsWith;
using ::testing::HasSubstr;

void Say(std::string_view text) { WriteQuietly(STDOUT_FILENO, text); }

// A step whose log goes to the child's output as a whole, at all levels.
std::function<int()> LoggedStep(std::vector<std::string> arguments,
                                std::function<int(CONTROLLER_IFC&)> work) {
  return [step = Step(std::move(arguments), std::move(work))] {
    const ScopedLog log;
    const int status = step();
    Say(log.Text());
    return status;
  };
}

// The words of the files of `directory`, for a look at which status files are there.
std::string StatusFiles(const TempDir& directory) {
  std::string found;
  for (const char* const name : {"OK.quellmark", "ERROR.quellmark", "STOP.quellmark"}) {
    if (!std::filesystem::exists(directory / name)) continue;
    found += std::string(name) + "=" + ReadFile(directory / name) + " ";
  }
  return found;
}

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
  const std::vector<std::string> arguments = {"-a", "first", "-b",  "arg", "-a", "last", "x-a",
                                              "n",  "--a",   "two", "-e",  "",   "-d"};
  Child child(directory.Path(), LoggedStep(arguments, [](CONTROLLER_IFC& controller) {
                for (const char* const name : {"a", "b", "c", "d"}) ::setenv(name, "env", 1);
                ::unsetenv("f");
                const ScopedLog log;
                for (const char* const name : {"a", "b", "c", "d", "e", "f"}) {
                  std::string value = "untouched";
                  const bool found = controller.GetOptionalParameter(name, value);
                  Log().Start(LogLevel::kAlarm) << found << value << "\n";
                }
                LogLine(LogLevel::kAlarm, controller.HasParameter("a"));
                Say(log.Text());
                return 0;
              }));
  EXPECT_THAT(
      child.Wait().output,
      ::testing::StartsWith("DEBUG : Found parameter in argument list a = last\nALARM : 1last\n"
                            "DEBUG : Found parameter in argument list b = arg\nALARM : 1arg\n"
                            "TRACE : Parameter c not found in argument list!\n"
                            "TRACE : rewinding file position\n"
                            "DEBUG : Found parameter c = pcf\nALARM : 1pcf\n"
                            "TRACE : Parameter d not found in argument list!\n"
                            "TRACE : rewinding file position\n"
                            "DEBUG : Found parameter in UNIX environment d = env\nALARM : 1env\n"
                            "DEBUG : Found parameter in argument list e = \nALARM : 1\n"
                            "TRACE : Parameter f not found in argument list!\n"
                            "TRACE : rewinding file position\n"
                            "TRACE : parameter f not found in UNIX environment\n"
                            "ALARM : 0untouched\n"
                            "DEBUG : Found parameter in argument list a = last\nALARM : 1\n"));
}

TEST(Controller, StartUpReportsNamesAndLeavesError) {
  const TempDir directory;
  std::filesystem::create_directory(directory / "st");
  WriteFile(directory / "st/OK.quellmark", "0");
  Child child(directory.Path(), LoggedStep({"-status", "st"}, [](CONTROLLER_IFC& controller) {
                Say(controller.get_binary_name() + " " + controller.ConfigurationFile() + "\n");
                return 0;
              }));
  const auto not_found = [](const std::string& name) {
    return "TRACE : quellmark : Parameter " + name +
           " not found in argument list!\nTRACE : quellmark : parameter " + name +
           " not found in UNIX environment\n";
  };
  EXPECT_EQ(child.Wait().output,
            "quellmark pcf.quellmark\n" + not_found("pid") +
                "TRACE : quellmark : binary name is quellmark\n"
                "DEBUG : quellmark : Found parameter in argument list status = st\n"
                "TRACE : quellmark : status path is [st/]\n" +
                not_found("pcf") + not_found("lfn") + not_found("pid") +
                "WARN  : quellmark : Configuration file pcf.quellmark does not exist!\n" +
                not_found("lfl") + not_found("lsl"));
  EXPECT_EQ(ReadFile(directory / "st/ERROR.quellmark"), "1");
  EXPECT_FALSE(std::filesystem::exists(directory / "st/OK.quellmark"));
}

TEST(Controller, PidNamesEveryFileAndThresholdsAreObeyed) {
  const TempDir directory;
  WriteFile(directory / "pcf.step7", "lfl WARNING\nlsl 8\nK v\n");
  Child child(directory.Path(), Step({"-pid", "step7"}, [](CONTROLLER_IFC& controller) {
                LogLine(LogLevel::kWarning, "w ", controller.HasParameter("K"), "\n");
                LogLine(LogLevel::kAlarm, "a\n");
                controller.SuccessExit();
                return 9;
              }));
  const ProgramRun run = child.Wait();
  EXPECT_EQ(run.exit_status, 0);
  EXPECT_THAT(run.output, EndsWith("lsl = 8\nALARM : step7 : a\n"));
  EXPECT_THAT(ReadFile(directory / "log.step7"),
              EndsWith("Found parameter lfl = WARNING\nWARN  : step7 : w 1\nALARM : step7 : a\n"));
  EXPECT_EQ(ReadFile(directory / "OK.step7"), "0");
  EXPECT_FALSE(std::filesystem::exists(directory / "ERROR.step7"));
}

TEST(Controller, ExitsLeaveTheirStatusFile) {
  using Controller = CONTROLLER_IFC;
  const std::tuple<std::function<int(Controller&)>, int, std::string> rows[] = {
      {[](Controller& c) -> int { c.SuccessExit(); }, 0, "OK.quellmark=0 "},
      {[](Controller& c) -> int { c.FailureExit(); }, 1, "ERROR.quellmark=1 "},
      {[](Controller& c) { return c.SuccessReturn() + 40; }, 40, "OK.quellmark=0 "},
      {[](Controller& c) { return c.FailureReturn() + 40; }, 41, "ERROR.quellmark=1 "},
      {[](Controller&) { return 5; }, 5, "ERROR.quellmark=1 "}};
  for (const auto& [end, exit_status, files] : rows) {
    const TempDir directory;
    WriteFile(directory / "OK.quellmark", "0 of an older run");
    WriteFile(directory / "ERROR.quellmark", "1 of an older run");
    Child child(directory.Path(), Step({"-lfn", "log"}, [end = end](Controller& controller) {
                  Log().Start(LogLevel::kInfo) << "open line";
                  return end(controller);
                }));
    EXPECT_EQ(child.Wait().exit_status, exit_status);
    EXPECT_EQ(StatusFiles(directory), files);
    EXPECT_THAT(ReadFile(directory / "log"), EndsWith(" : open line\n"));
  }
}

TEST(Controller, StopFileEndsTheStepBeforeItStarts) {
  const TempDir directory;
  WriteFile(directory / "STOP.quellmark", "");
  WriteFile(directory / "OK.quellmark", "kept");
  Child child(directory.Path(), Step({"-lfn", "log"}, [](CONTROLLER_IFC&) { return 9; }));
  EXPECT_EQ(child.Wait().exit_status, 2);
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
  Child child(directory.Path(),
              Step({"-status", "no"}, [](CONTROLLER_IFC& c) -> int { c.SuccessExit(); }));
  EXPECT_EQ(child.Wait().exit_status, 0);
  EXPECT_THAT(ReadFile(directory / "log.quellmark"),
              EndsWith("WARN  : quellmark : Can not create file no/ERROR.quellmark\n"
                       "WARN  : quellmark : Can not create file no/OK.quellmark\n"));
}

TEST(Controller, PathsThatDoNotFitEndTheStep) {
  const auto run = [](const std::string& parameter, std::size_t length) {
    const TempDir directory;
    Child child(directory.Path(),
                Step({"-lfn", "log", "-lfl", "9", "-" + parameter, std::string(length, 'x')},
                     [](CONTROLLER_IFC& c) -> int { c.SuccessExit(); }));
    return child.Wait();
  };
  // The longest that fit beside "ERROR." and, for the status directory, "/" and "quellmark".
  for (const auto& [parameter, longest] :
       {std::pair{"pid", 249}, {"status", 255 - 1 - 6 - 9}, {"pcf", 255}, {"lfn", 255}}) {
    const auto length = static_cast<std::size_t>(longest);
    EXPECT_EQ(run(parameter, length).exit_status, 0) << parameter;
    for (const std::size_t too_long : {length + 1, std::size_t{5000}}) {
      const ProgramRun failed = run(parameter, too_long);
      EXPECT_EQ(failed.exit_status, 1) << parameter;
      EXPECT_THAT(failed.output, HasSubstr(std::string("value of parameter ") + parameter +
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

// Reads the parameters A and B from the keyboard, the first from `input`.
ProgramRun AskTwice(const TempDir& directory, std::string_view input, Child::Streams streams) {
  Child child(
      directory.Path(),
      [] {
        ::setenv("SECONDS_ON_PARAMETER_INPUT", "-3", 1);
        return Step({"-lfn", "log", "-lfl", "1", "-lsl", "9"}, [](CONTROLLER_IFC& controller) {
          std::string value;
          controller.GetParameter("A", value);
          Say("[" + value + "]");
          controller.GetParameter("B", value);
          Say("[" + value + "]");
          return controller.SuccessReturn();
        })();
      },
      streams);
  child.WaitFor("A := ");
  child.Type(input);
  if (streams == Child::Streams::kSocket) child.CloseInput();
  return child.Wait();
}

TEST(Keyboard, AsksAndReadsOneWord) {
  const TempDir directory;
  const ProgramRun typed = AskTwice(directory, "\n \t scene.pool B2\n", Child::Streams::kTerminal);
  EXPECT_THAT(typed.output, EndsWith("[scene.pool]B := [B2]"));
  EXPECT_EQ(typed.exit_status, 0);
  EXPECT_THAT(ReadFile(directory / "log"),
              HasSubstr("TRACE : quellmark : parameter A not found in UNIX environment\n"
                        "WARN  : quellmark : No configuration file or parameter not found!\n"
                        "WARN  : quellmark : \t  Please input value of parameter : <A>\n"
                        "DEBUG : quellmark : waiting 120 seconds for input\n"
                        "DEBUG : quellmark : Read from keyboard parameter A = scene.pool\n"));
  const std::string long_word(100000, 'w');
  EXPECT_THAT(AskTwice(directory, long_word + "\nb", Child::Streams::kSocket).output,
              EndsWith("A := [" + long_word + "]B := [b]"));
}

TEST(Keyboard, EndOfInputIsAMissingParameter) {
  using enum Child::Streams;
  const std::tuple<std::string_view, Child::Streams, std::string> rows[] = {
      {"", kSocket, "A"}, {" \n", kSocket, "A"}, {"a\n", kSocket, "B"}, {"\004", kTerminal, "A"}};
  for (const auto& [input, streams, missing] : rows) {
    const TempDir directory;
    const ProgramRun run = AskTwice(directory, input, streams);
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
  Child child(
      directory.Path(),
      [] {
        ::setenv("SECONDS_ON_PARAMETER_INPUT", "1", 1);
        ::signal(SIGALRM, SIG_IGN);  // as some starter may have left it
        return Step({"-lfn", "log"}, [](CONTROLLER_IFC& controller) {
          std::string value;
          controller.GetParameter("A", value);
          std::this_thread::sleep_for(std::chrono::milliseconds(1200));
          controller.GetParameter("B", value);
          return 0;
        })();
      },
      Child::Streams::kTerminal);
  child.WaitFor("A := ");
  child.Type("a\n");
  child.WaitFor("B := ");
  EXPECT_EQ(child.Wait().signal, SIGALRM);
  EXPECT_EQ(StatusFiles(directory), "ERROR.quellmark=1 ");
  EXPECT_THAT(ReadFile(directory / "log"), EndsWith("waiting 1 seconds for input\n"));
}

}  // namespace
}  // namespace quellmark::runtime
