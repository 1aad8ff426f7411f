// Tests runs of the program that must fail: their last log lines, exit status and status files, and
// that the pools keep what the user wrote.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <vector>

#include "app/driver.h"
#include "tests/app/example_scene.h"
#include "tests/support/allocation_counter.h"
#include "tests/support/rows.h"

namespace quellmark::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

constexpr const char* kScene = "s1a_iw1_slc_quebec";
constexpr const char* kTerminated = "KVT_MSG|ERROR|quellmark terminated with error!\n";
constexpr const char* kFatal = "program aborted due to FATAL ERROR\n";

std::string Alarm(const std::string& line) { return "ALARM : quellmark : " + line; }

// Expects the run to fail with these ALARM lines at the end of its log.
void ExpectFailure(SceneRun& scene, const std::vector<std::string>& arguments,
                   const std::vector<std::string>& alarm_lines) {
  WriteFile(scene.directory / "OK.quellmark", "0");  // left by the run before
  const ProgramRun run = scene.Run(arguments);
  EXPECT_EQ(run.exit_status, 1) << run.output;
  EXPECT_EQ(ReadFile(scene.directory / "ERROR.quellmark"), "1");
  EXPECT_FALSE(scene.Has("OK.quellmark"));
  std::string alarms;
  for (const std::string& line : alarm_lines) alarms += Alarm(line);
  // Pools that are closed while the failure unwinds may write debug lines in between.
  std::string log_alarms;
  std::istringstream log(scene.Log());
  for (std::string line; std::getline(log, line);) {
    if (line.starts_with("ALARM")) log_alarms += line + "\n";
  }
  EXPECT_THAT(log_alarms, EndsWith(alarms + Alarm(kTerminated)));
}

struct BadPool {
  std::string name;
  std::string pool;
  std::vector<std::string> alarm_lines;
};

std::string Scene() { return ScenePool(kScene); }
std::string KeyMessage(const std::string& key, const std::string& message) {
  return "parameter pool: parameter key >> " + key + message;
}

std::vector<BadPool> BadPools() {
  const std::vector<std::string> no_entry = {KeyMessage("first_az_time", " << not found\n"),
                                             "pool error - key not found\n"};
  std::vector<BadPool> pools = {{"empty file", "", no_entry},
                                {"binary file",
                                 std::string("\x7f"
                                             "ELF\0\1\2\xff\xfe\n\r\n\0",
                                             14),
                                 no_entry},
                                {"one endless line", std::string(10'000'000, 'x'), no_entry},
                                {"missing key",
                                 Without(Scene(), "radar_frequency"),
                                 {KeyMessage("radar_frequency", " << not found\n"), no_entry[1]}}};
  for (Row row : ReadRows(QM_APP_TEST_DATA "/bad_entries.txt")) {
    for (std::string& field : row) field += "\n";
    pools.push_back({row[0], row[0] + Scene(), {row.begin() + 1, row.end()}});
  }
  return pools;
}

TEST(DriverFailures, BadScenePoolsFailWithTheirMessagesAndStayAsTheyAre) {
  for (const BadPool& bad : BadPools()) {
    SCOPED_TRACE(bad.name);
    SceneRun scene(bad.pool);
    ExpectFailure(scene, {}, bad.alarm_lines);
    EXPECT_TRUE(scene.Pool() == bad.pool) << "the pool's own text is intact";
  }
}

TEST(DriverFailures, PoolCutAtAnyLine) {
  const std::string pool = Scene();
  int failures = 0;
  for (std::size_t end = pool.find('\n'); end + 1 < pool.size(); end = pool.find('\n', end + 1)) {
    const std::string cut = pool.substr(0, end + 1);
    SceneRun scene(cut);
    const ProgramRun run = scene.Run({"-lfl", "ALARM"});
    // If the cut is after the last necessary entry, the scene is complete.
    if (run.exit_status == 0) continue;
    ++failures;
    EXPECT_EQ(run.exit_status, 1) << "signal " << run.signal << " at byte " << end;
    EXPECT_TRUE(scene.Pool() == cut) << "cut at byte " << end;
    EXPECT_THAT(scene.Log(), EndsWith(Alarm(kTerminated)));
  }
  EXPECT_GT(failures, 150);
}

TEST(DriverFailures, Parameters) {
  SceneRun scene(Scene());
  const std::string pool = scene.Pool();
  ExpectFailure(scene, {"-SCENE_POOL", ""}, {kFatal});
  ExpectFailure(scene, {"-SCENE_POOL", scene.directory.Path()},
                {"parameter file " + scene.directory.Path().string() + " is a directory!\n",
                 "pool error - can not open parameter pool\n"});
  ExpectFailure(scene, {"-SCENE_POOL", "no/such/directory/pool"},
                {"can not open parameter file no/such/directory/pool\n",
                 "pool error - can not open parameter pool\n"});
  // Every text other than "false" asks for the DEM.
  for (const char* text : {"FALSE", "False", "no", "0", "true", "", "false "}) {
    SCOPED_TRACE(text);
    ExpectFailure(scene, {"-USE_DEM", text, "-DEM_FILE", ""}, {kFatal});
  }
  EXPECT_EQ(scene.Pool(), pool);
}

TEST(DriverFailures, LogPoolThatCanNotBeWritten) {
  SceneRun scene(Scene());
  // A regular file, beside which no copy can be made.
  ExpectFailure(scene, {"-log_pp", "/proc/self/comm"},
                {"no permission to change pool file: /proc/self/comm\n",
                 "pool error - parameter pool update(): insufficient file permission\n"});
}

TEST(DriverFailures, LastLinesCarryTheProcessName) {
  SceneRun scene("");
  EXPECT_EQ(scene.Run({"-pid", "step 7"}).exit_status, 1);
  EXPECT_THAT(scene.Log(),
              EndsWith("ALARM : step 7 : KVT_MSG|ERROR|step 7 terminated with error!\n"));
  EXPECT_EQ(ReadFile(scene.directory / "ERROR.step 7"), "1");
  // A signal arrives while the program asks for "USE_DEM". The controller gets a message line too.
  const std::string command =
      "mkfifo keys; exec 3<>keys; touch log; " QM_PROGRAM
      " -log_pp log.pool -SCENE_POOL scene.pool -lfn log <&3 & "
      "for i in $(seq 200); do grep -q waiting log && break; sleep 0.05; done; "
      "kill -TERM $!; wait $!";
  EXPECT_EQ(RunProgram("/bin/bash", {"-c", command}, scene.directory.Path()).exit_status, 1);
  EXPECT_THAT(scene.Log(), HasSubstr("KVT_MSG|ERROR|quellmark got fatal signal 15"));
}

// Runs the program's own code in a child in which only `allocations` calls of operator new succeed,
// and returns its wait status. Its output goes to "screen".
int RunWithMemory(const SceneRun& scene, std::size_t allocations) {
  const char* argv[] = {"quellmark", "-log_pp", "log.pool", "-SCENE_POOL", "scene.pool",
                        "-USE_DEM",  "false",   "-lfn",     "log",         nullptr};
  const pid_t child = ::fork();
  if (child == 0) {
    if (::chdir(scene.directory.Path().c_str()) != 0) ::_exit(99);
    const int screen = ::open("screen", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (::dup2(screen, 1) < 0 || ::dup2(screen, 2) < 0) ::_exit(99);
    const AllocationLimit limit(allocations);
    app::Run(9, const_cast<char**>(argv));
  }
  int status = -1;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  return status;
}

TEST(DriverFailures, MemoryThatRunsOutAtAnyMomentEndsTheRunAsDocumented) {
  const std::string pool = Scene();
  std::size_t allocations = 0;
  bool told_no_memory = false;
  for (bool succeeds = false; !succeeds; allocations += allocations < 100 ? 1 : 7) {
    ASSERT_LT(allocations, 100'000U);
    SCOPED_TRACE(allocations);
    SceneRun scene(pool);
    const int status = RunWithMemory(scene, allocations);
    ASSERT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
    succeeds = WEXITSTATUS(status) == 0;
    const bool is_updated = scene.Pool().starts_with(pool) && scene.Pool().size() > pool.size();
    EXPECT_TRUE(scene.Pool() == pool || is_updated);
    if (succeeds) break;
    ASSERT_EQ(WEXITSTATUS(status), 1);
    const std::string screen = ReadFile(scene.directory / "screen");
    ASSERT_THAT(screen, HasSubstr(" terminated with error!\n"));
    told_no_memory |= screen.find("not enough memory\n") != std::string::npos;
    EXPECT_EQ(ReadFile(scene.directory / "ERROR.quellmark"), "1");
  }
  EXPECT_GT(allocations, 100U);
  EXPECT_TRUE(told_no_memory);
}

TEST(DriverFailures, KeysSetBeforeTheFailureAreKept) {
  const std::string rows[][3] = {
      {"STR \"one\"\n", " << type STR_V expected\n", "pool error - wrong parameter type\n"},
      {"STR_V 2147483647 1\n {\n \"no index is left\"\n }\n",
       " << no correct range for VECTOR or MATRIX\n",
       "pool error - no or invalid parameter value in file\n"}};
  for (const auto& [names, said, thrown] : rows) {
    SceneRun scene(Scene());
    WriteFile(scene.directory / "log.pool", "software_names " + names);
    ExpectFailure(scene, {}, {KeyMessage("software_names", said), thrown});
    EXPECT_NE(ValueOf(scene.Pool(), "fm_rate_far"), "");
    EXPECT_EQ(ReadFile(scene.directory / "log.pool"), "software_names " + names);
  }
}

}  // namespace
}  // namespace quellmark::test
