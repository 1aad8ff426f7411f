#include "runtime/log.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <limits>
#include <new>
#include <thread>
#include <utility>

#include "basic/alarm.h"
#include "tests/support/child.h"
#include "tests/support/files.h"
#include "tests/support/scoped_log.h"

namespace quellmark::runtime {
namespace {

using test::Child;
using test::ReadFile;
using test::ScopedLog;
using test::TempDir;
using test::WriteFile;
using ::testing::EndsWith;
using ::testing::MatchesRegex;

TEST(LogLevelText, IsANumberOrAnExactName) {
  int level = 0;
  for (const char* const name : {"0", "TRACE", "DEBUG", "PARAMETER", "INFO", "QA_WARNING",
                                 "WARNING", "EXCEPTION", "ALARM"}) {
    EXPECT_EQ(static_cast<int>(ParseLogLevel(name)), level++) << name;
  }
  EXPECT_EQ(static_cast<int>(ParseLogLevel("12")), 12);
  EXPECT_EQ(static_cast<int>(ParseLogLevel("-1")), -1);
  for (const char* const other : {"alarm", "ALARM ", "WARN", "INFO ", "", "4x", "+4",
                                  "99999999999999999999", "-99999999999999999999"}) {
    EXPECT_EQ(ParseLogLevel(other), LogLevel::kSilent) << other;
  }
}

TEST(Log, PassesWhatReachesTheThresholdAndRemembersTheQaWarning) {
  const std::string lines[] = {"LEV_? : step : m\n", "TRACE : step : m\n", "DEBUG : step : m\n",
                               "PARAM : step : m\n", "INFO  : step : m\n", "QA_WA : step : m\n",
                               "WARN  : step : m\n", "EXCEP : step : m\n", "ALARM : step : m\n"};
  for (const auto& [threshold, first] :
       {std::pair{"0", 0}, {"QA_WARNING", 5}, {"ALARM", 8}, {"8", 8}, {"NONSENSE", 9}}) {
    const ScopedLog log(ParseLogLevel(threshold));
    Log().SetProcessName("step");
    std::string passed;
    for (int level = 0; level <= 8; ++level) {
      EXPECT_EQ(Log().HasQaWarning(), level > 5);
      LogLine(static_cast<LogLevel>(level), "m\n");
      if (level >= first) passed += lines[level];
    }
    EXPECT_EQ(log.Text(), passed) << threshold;
  }
}

TEST(Log, JoinsPiecesAndEndsOpenLines) {
  const ScopedLog log;
  Log().Start(LogLevel::kInfo) << "i " << -7 << ' ' << 18446744073709551615ULL << " d " << 0.1
                               << STRING(" s ") << std::numeric_limits<long long>::min();
  Log().Print(LogLevel::kAlarm, "%6.2f [\xB0]", -1.234);
  Log().Print(LogLevel::kInfo, "own end\n");
  Log().Start(LogLevel::kInfo) << "a\n"
                               << "b";
  const std::string longer_than_the_buffer(10000, 'x');
  LogLine(LogLevel::kInfo, longer_than_the_buffer, "y");
  EXPECT_EQ(log.Text(),
            "INFO  : i -7 18446744073709551615 d 0.1 s -9223372036854775808\n"
            "ALARM :  -1.23 [\xB0]\nINFO  : own end\nINFO  : a\nINFO  : b\nINFO  : " +
                longer_than_the_buffer + "y\n");
}

TEST(Log, OfOneThreadGoesToItsSinkAndNothingIsPrinted) {
  const TempDir directory;
  Child child(directory.Path(), [] {
    std::string lines;
    LOG log(
        [&lines](LOG::Level level, std::string_view line) {
          lines.append(LogLevelTag(level)).append("|").append(line).append("\n");
          if (line == "refused") throw std::bad_alloc();
        },
        LogLevel::kInfo);
    {
      const LogScope scope(log);
      const LogBatch batch;
      Log().Initialise();
      Log().Open("log");
      LogLine(LogLevel::kDebug, "below");
      LogLine(LogLevel::kInfo, std::string(10000, 'x'));
      LogLine(LogLevel::kAlarm, "refused");
      Log().Print(LogLevel::kAlarm, "%s", "bold");
      basic::Alarm("from below\n");
      std::thread([] { LogLine(LogLevel::kAlarm, "of another thread"); }).join();
      Log().Start(LogLevel::kWarning) << "open";
    }
    LogLine(LogLevel::kAlarm, "not initialised");
    WriteFile("lines", lines);
    return 0;
  });
  EXPECT_EQ(child.Wait().output, "");
  EXPECT_EQ(ReadFile(directory / "lines"),
            "INFO |" + std::string(10000, 'x') +
                "\nALARM|refused\nALARM|bold\nALARM|from below\nWARN |open\n");
  EXPECT_FALSE(std::filesystem::exists(directory / "log"));
}

TEST(Log, FooterSplitsTheElapsedTime) {
  const std::pair<long long, std::string> rows[] = {
      {0, "less than 1 second"},
      {59, "59 second(s)"},
      {60, "1 minute(s)"},
      {3600, "1 hour(s)"},
      {86399, "23 hour(s) 59 minute(s) 59 second(s)"},
      {86400, "1 day(s)"},
      {90000 * 10 + 61, "10 day(s) 10 hour(s) 1 minute(s) 1 second(s)"}};
  for (const auto& [seconds, text] : rows) {
    EXPECT_EQ(ExecutionTimeText(seconds), "execution time: " + text);
  }
}

TEST(Log, TimesAreLocal) {
  const TempDir directory;
  Child child(directory.Path(), [] {
    ::setenv("TZ", "Kabul-04:30", 1);
    const ScopedLog log;
    const std::time_t before = std::time(nullptr);
    Log().WriteFooter();
    std::tm local{};
    const std::string text = log.Text();
    ::strptime(text.c_str() + text.find("end time: ") + 10, "%Y-%m-%dT%H:%M:%S", &local);
    const std::time_t shift = ::timegm(&local) - before;
    return shift >= 16200 && shift < 16260 ? 0 : 1;
  });
  EXPECT_EQ(child.Wait().exit_status, 0);
}

TEST(Log, HeaderNamesItsStarter) {
  constexpr VERSION_RECORD kVersion = {"program.v7.linux.x", "$Date: 2016 $", "7", "Does it"};
  const auto header = [&] {
    const ScopedLog log;
    Log().WriteHeader(kVersion, "pcf.x");
    return log.Text();
  };
  const auto expected = [](const std::string& started) {
    return MatchesRegex(".*INFO  : program 7\n.*hostname: [^\n]+\n" + started +
                        "INFO  : using configuration file pcf\\.x\n"
                        "DEBUG : full version: program\\.v7\\.linux\\.x\n");
  };
  ::unsetenv("PROC_NAME");
  EXPECT_THAT(header(), expected(""));
  ::setenv("PROC_NAME", "chain", 1);
  EXPECT_THAT(header(), expected("INFO  : started by: chain\n"));
  ::setenv("chain_VERSION", "7.1", 1);
  EXPECT_THAT(header(), expected("INFO  : started by: chain 7\\.1\n"));
  ::unsetenv("PROC_NAME");
  ::unsetenv("chain_VERSION");
}

// A log object in the state that the process-wide log has before the controller exists.
class FileLog : public ::testing::Test {
 protected:
  FileLog() { Log().SetProcessName("step"); }

  // Initialises the log with a file in the test's directory and no screen.
  void Initialise() {
    const std::string missing = directory_ / "missing/";
    const std::string there = directory_ / "";
    Log().Initialise(std::array<std::string_view, 2>{missing, there});
    Log().SetScreenThreshold(LogLevel::kSilent);
  }

  // Opens the log in the current directory and shows all levels on the screen.
  static void OpenWithScreen() {
    Log().Open("log");
    Log().SetFileThreshold(LogLevel::kTrace);
    Log().SetScreenThreshold(LogLevel::kTrace);
  }

  TempDir directory_;
  LOG log_;
  LogScope scope_{log_};
};

TEST_F(FileLog, TemporaryFileMovesToTheNamedOneWithItsLines) {
  Initialise();
  const std::string temporary = Log().FilePath();
  EXPECT_THAT(temporary, MatchesRegex(".*/log\\.[A-Za-z0-9]{6}"));
  LogLine(LogLevel::kTrace, "below the threshold\n");
  LogLine(LogLevel::kDebug, "before\n");
  Log().Initialise(kTemporaryDirectories);
  EXPECT_EQ(Log().FilePath(), temporary) << "the second initialisation only counts";

  WriteFile(directory_ / "named", "older and longer than what comes now, much longer\n");
  Log().Open(directory_ / "named");
  LogLine(LogLevel::kInfo, "after\n");
  Log().Open(directory_ / "named");  // the present path again: nothing is lost
  EXPECT_EQ(ReadFile(directory_ / "named"), "DEBUG : step : before\nINFO  : step : after\n");
  EXPECT_FALSE(std::filesystem::exists(temporary));

  Log().Release();
  LogLine(LogLevel::kInfo, "still initialised\n");
  Log().Release();
  LogLine(LogLevel::kInfo, "closed\n");
  EXPECT_THAT(ReadFile(directory_ / "named"), EndsWith("still initialised\n"));
}

TEST_F(FileLog, FailedMovesAreReportedAndLoseNothing) {
  Initialise();
  const std::string temporary = Log().FilePath();
  const std::string nowhere = directory_ / "missing/log";
  Log().Open(nowhere);
  EXPECT_EQ(ReadFile(temporary), "ALARM : step : can not open logging file: " + nowhere + "\n");
  Log().Open("/dev/full");
  EXPECT_TRUE(std::filesystem::exists(temporary)) << "its lines have not arrived";
  LogLine(LogLevel::kInfo, "goes nowhere\n");
}

// The temporary log is missing, is a directory, or stands where nothing can be removed.
TEST_F(FileLog, TemporaryFileThatCannotBeCarriedOverIsReported) {
  using Fault = void (*)(const std::string& temporary);
  const std::pair<Fault, std::string> rows[] = {
      {[](const std::string& path) { std::filesystem::remove(path); },
       " can not reopen tmp logging file: TMP\n"},
      {[](const std::string& path) {
         std::filesystem::remove(path);
         std::filesystem::create_symlink("/etc/passwd", path);
       },
       " can not reopen tmp logging file: TMP\n"},
      {[](const std::string& path) {
         std::filesystem::remove(path);
         std::filesystem::create_directory(path);
       },
       "can not copy tmp logging file: TMP\n"},
      {[](const std::string& path) {
         ::chmod(std::filesystem::path(path).parent_path().c_str(), 0555);
         if (::geteuid() == 0 && ::seteuid(65534) != 0) ::_exit(7);
         ::chmod(path.c_str(), 0444);
       },
       "can not remove tmp file: TMP\nALARM : step : reason: Permission denied\n"}};
  for (const auto& [fault, message] : rows) {
    SCOPED_TRACE(message);
    const TempDir directory;
    const std::string temporaries = directory / "t/";
    std::filesystem::create_directory(temporaries);
    std::filesystem::permissions(directory.Path(), std::filesystem::perms::all);
    Child child(directory.Path(), [&, fault = fault] {
      Log().Initialise(std::array<std::string_view, 1>{temporaries});
      Log().SetScreenThreshold(LogLevel::kSilent);
      WriteFile("name", Log().FilePath());
      if (::chmod(Log().FilePath().c_str(), 0666) != 0) return 8;
      fault(Log().FilePath());
      Log().Open("named");
      // A leak checker at the exit needs the rights back that the last fault gave up.
      return ::seteuid(::getuid()) == 0 ? 0 : 9;
    });
    EXPECT_EQ(child.Wait().exit_status, 0);
    const std::string name = ReadFile(directory / "name");
    std::string expected = "ALARM : step : " + message;
    EXPECT_EQ(ReadFile(directory / "named"), expected.replace(expected.find("TMP"), 3, name));
  }
}

TEST_F(FileLog, LineOfASignalIsCutWhereItsRoomEnds) {
  Initialise();
  Log().WriteFromSignal(LogLevel::kAlarm, {std::string(2000, 'x'), "y"});
  EXPECT_EQ(ReadFile(Log().FilePath()), "ALARM : step : " + std::string(1024 - 15 - 1, 'x') + "\n");
}

TEST_F(FileLog, HasNoFileWithoutADirectory) {
  Log().Initialise(std::array<std::string_view, 1>{"/nonexistent/"});
  Log().SetScreenThreshold(LogLevel::kSilent);
  EXPECT_EQ(Log().FilePath(), "");
  LogLine(LogLevel::kAlarm, "dropped\n");
}

TEST_F(FileLog, TerminalAloneIsHighlighted) {
  const auto screen = [&](bool no_color) {
    Child child(directory_.Path(), [no_color] {
      ::unsetenv("NO_COLOR");
      if (no_color) ::setenv("NO_COLOR", "", 1);
      OpenWithScreen();
      Log().Print(LogLevel::kQaWarning, "q");
      Log().Print(LogLevel::kWarning, "w");
      Log().Print(LogLevel::kException, "e\n");
      Log().Print(LogLevel::kAlarm, "a");
      LogLine(LogLevel::kAlarm, "streamed\n");
      return 0;
    });
    return child.Wait().output;
  };
  const std::string plain =
      "QA_WA : step : q\nWARN  : step : w\nEXCEP : step : e\nALARM : step : a\n"
      "ALARM : step : streamed\n";
  EXPECT_EQ(screen(false),
            "QA_WA : step : q\nWARN  : step : \033[4mw\033[0m\nEXCEP : step : \033[1me\033[0m\n"
            "ALARM : step : \033[7ma\033[0m\nALARM : step : streamed\n");
  EXPECT_EQ(ReadFile(directory_ / "log"), plain);
  EXPECT_EQ(screen(true), plain);
}

TEST_F(FileLog, ClosedScreenDoesNotEndTheProgram) {
  Child child(directory_.Path(), [] {
    int ends[2];
    if (::pipe(ends) != 0) return 2;
    ::dup2(ends[1], STDOUT_FILENO);
    ::close(ends[0]);
    ::signal(SIGPIPE, SIG_DFL);
    Log().Initialise(std::array<std::string_view, 1>{"./"});
    OpenWithScreen();
    LogLine(LogLevel::kAlarm, "nobody reads\n");
    ::close(STDOUT_FILENO);
    LogLine(LogLevel::kAlarm, "no screen at all\n");
    sigset_t pending;
    ::sigpending(&pending);
    return ::sigismember(&pending, SIGPIPE);
  });
  EXPECT_EQ(child.Wait().exit_status, 0);
  EXPECT_THAT(ReadFile(directory_ / "log"), EndsWith("no screen at all\n"));
}

TEST_F(FileLog, ClosedStandardStreamsAreNotTakenByFiles) {
  Child child(directory_.Path(), [] {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::close(fd);
    Log().Initialise(std::array<std::string_view, 1>{"./"});
    const basic::UniqueFd pool(::open("pool", O_RDWR | O_CREAT, 0600));
    LogLine(LogLevel::kAlarm, "for the screen\n");
    return pool.Get() > STDERR_FILENO ? 0 : 1;
  });
  EXPECT_EQ(child.Wait().exit_status, 0);
  EXPECT_EQ(ReadFile(directory_ / "pool"), "");
}

}  // namespace
}  // namespace quellmark::runtime
