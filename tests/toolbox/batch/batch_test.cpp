#include "toolbox/batch/batch.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <stdexcept>
#include <thread>

#include "tests/support/files.h"
#include "toolbox/batch/summary.h"
#include <quellmark/pool.h>

namespace quellmark::batch {
namespace {

namespace fs = std::filesystem;

// A script in place of the step, which does what the first line of its scene says. It counts its
// runs in a file beside the scene and leaves the same files as the step.
constexpr const char* kStandIn = R"sh(#!/bin/sh
[ "$(readlink /proc/self/fd/0)" = /dev/null ] || exit 1
while [ $# -gt 1 ]; do
  case $1 in
    -pid) name=$2 ;; -status) status=$2 ;; -log_pp) log_pool=$2 ;; -SCENE_POOL) scene=$2 ;;
  esac
  shift 2
done
echo run >>"$scene.runs"
runs=$(wc -l <"$scene.runs")
echo 1 >"$status/ERROR.$name"
read -r what <"$scene"
case $what in
  fails) printf 'WARN  : n : first\nALARM : n : a "bad", key\nALARM : n : last\n'; exit 1 ;;
  killed-once) [ "$runs" -gt 1 ] || kill -9 $$ ;;
  full-once) [ "$runs" -gt 1 ] || { echo "ALARM : n : No space left on device"; exit 1; } ;;
  interrupted) echo "ALARM : n : got fatal signal 15: software"; exit 1 ;;
  crashes) kill -11 $$ ;;
  slow) sleep 0.3 ;;
  waits) sleep 60 ;;
esac
printf 'software_names STR_V 1 1\n{\n"step of %s"\n}\n' "$(basename "$scene")" >"$log_pool"
rm "$status/ERROR.$name"
echo 0 >"$status/OK.$name"
)sh";

std::vector<SummaryRow> ReadSummary(const std::string& path) {
  std::vector<SummaryRow> rows;
  ForEachRow(path, [&rows](const SummaryRow& row) { rows.push_back(row); });
  return rows;
}

class BatchTest : public testing::Test {
 protected:
  BatchTest() {
    Write("step", kStandIn);
    fs::permissions(folder_ + "/step", fs::perms::owner_all);
    options_.list = folder_ + "/list";
    options_.out = folder_ + "/out";
    options_.step = folder_ + "/step";
    options_.jobs = 3;
    options_.retries = 1;
  }

  void Write(const std::string& name, const std::string& content) const {
    test::WriteFile(folder_ + '/' + name, content);
  }
  // Makes one scene for each text, and the list of the scenes.
  void MakeScenes(const std::vector<std::string>& texts) const {
    std::string list;
    for (std::size_t i = 0; i < texts.size(); ++i) {
      const std::string name = std::to_string(i) + ".pool";
      Write(name, texts[i] + '\n');
      list += folder_ + '/' + name + '\n';
    }
    Write("list", list);
  }
  [[nodiscard]] long RunsOf(std::size_t scene) const {
    std::ifstream runs(folder_ + '/' + std::to_string(scene) + ".pool.runs");
    return std::count(std::istreambuf_iterator<char>(runs), {}, '\n');
  }
  [[nodiscard]] std::map<std::string, SummaryRow> RowsByName() const {
    std::map<std::string, SummaryRow> rows;
    for (SummaryRow& row : ReadSummary(options_.out + "/summary.csv")) {
      const std::string name = fs::path(row.scene).stem().string();
      EXPECT_TRUE(rows.emplace(name, std::move(row)).second) << name << " stands twice";
    }
    return rows;
  }
  [[nodiscard]] std::vector<std::string> LogPoolNames() const {
    return Pool::Open(options_.out + "/log.pool").Get<Vector<std::string>>("software_names").values;
  }

  test::TempDir temp_;
  std::string folder_ = temp_.Path().string();
  BatchOptions options_;
};

TEST_F(BatchTest, EveryEndOfAStep) {
  struct Case {
    const char* text;
    SceneStatus status;
    long runs;
    const char* first_error;
  };
  const std::vector<Case> cases = {
      {"works", SceneStatus::kLocated, 1, ""},
      {"fails", SceneStatus::kFailed, 1, "a \"bad\", key"},
      {"killed-once", SceneStatus::kLocated, 2, ""},
      {"full-once", SceneStatus::kLocated, 2, ""},
      {"interrupted", SceneStatus::kUnfinished, 2, "got fatal signal 15: software"},
      {"crashes", SceneStatus::kFailed, 1, "killed by signal 11"},
  };
  std::vector<std::string> texts;
  for (const Case& row : cases) texts.emplace_back(row.text);
  MakeScenes(texts);
  Write("list", folder_ + "/0.pool\n# a comment\n\n" + folder_ + "/./0.pool\r\n" + folder_ +
                    "/missing.pool\n" + folder_ + "/1.pool\n" + folder_ + "/2.pool\n" + folder_ +
                    "/3.pool\n" + folder_ + "/4.pool\n" + folder_ + "/5.pool\n");
  const BatchOutcome outcome = RunBatch(options_, {});
  EXPECT_EQ(outcome.progress.total, 7U);
  EXPECT_EQ(outcome.progress.done, 7U);
  EXPECT_EQ(outcome.progress.failed, 4U);
  EXPECT_EQ(outcome.repeated, 1U);
  EXPECT_FALSE(outcome.stopped);

  const auto rows = RowsByName();
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(cases[i].text);
    const SummaryRow& row = rows.at(std::to_string(i));
    EXPECT_EQ(row.status, cases[i].status);
    EXPECT_EQ(row.first_error, cases[i].first_error);
    EXPECT_EQ(RunsOf(i), cases[i].runs);
  }
  EXPECT_EQ(rows.at("missing").status, SceneStatus::kFailed);
  EXPECT_FALSE(fs::exists(folder_ + "/missing.pool"));

  std::vector<std::string> names = LogPoolNames();
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names,
            (std::vector<std::string>{"step of 0.pool", "step of 2.pool", "step of 3.pool"}));
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(options_.out)) {
    const std::string name = entry.path().filename().string();
    EXPECT_TRUE(entry.is_directory() || name == "summary.csv" || name == "log.pool" ||
                name.starts_with("ERROR."))
        << name;
  }
}

TEST_F(BatchTest, ResumeLeavesOutWhatIsDoneAndUnchanged) {
  MakeScenes({"works", "works", "fails", "interrupted"});
  static_cast<void>(RunBatch(options_, {}));
  EXPECT_THROW(static_cast<void>(RunBatch(options_, {})), std::runtime_error) << "not overwritten";

  Write("1.pool", "works, but is longer now\n");
  options_.resume = true;
  const BatchOutcome outcome = RunBatch(options_, {});
  EXPECT_EQ(outcome.progress.skipped, 2U);
  EXPECT_EQ(RunsOf(0), 1);
  EXPECT_EQ(RunsOf(1), 2) << "it has changed";
  EXPECT_EQ(RunsOf(2), 1) << "it would fail again";
  EXPECT_EQ(RunsOf(3), 4) << "it did not fail by itself";
  EXPECT_EQ(RowsByName().size(), 4U);
  EXPECT_EQ(LogPoolNames().size(), 3U) << "both runs of scene 1 are recorded";
}

TEST_F(BatchTest, AStopFileEndsInOrder) {
  MakeScenes(std::vector<std::string>(40, "slow"));
  const BatchOutcome outcome = RunBatch(options_, [&](const BatchProgress& progress) {
    if (progress.done == 3) Write("out/STOP", "");
  });
  EXPECT_TRUE(outcome.stopped);
  EXPECT_GE(outcome.progress.done, 3U);
  EXPECT_LE(outcome.progress.done, 9U);
  const auto rows = RowsByName();
  EXPECT_EQ(rows.size(), outcome.progress.done);
  for (const auto& [name, row] : rows) EXPECT_EQ(row.status, SceneStatus::kLocated) << name;
}

// Starts a batch in a child process and returns its process id.
pid_t ForkBatch(const BatchOptions& options) {
  const pid_t pid = ::fork();
  if (pid != 0) return pid;
  int status = 9;
  try {
    status = RunBatch(options, {}).stopped ? 3 : 0;
  } catch (...) {
  }
  ::_exit(status);
}

void WaitForRows(const std::string& summary, std::size_t count) {
  for (int i = 0; i < 2000; ++i) {
    if (fs::exists(summary) && ReadSummary(summary).size() >= count) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  FAIL() << "no " << count << " rows in time";
}

TEST_F(BatchTest, AKillLosesNothing) {
  // The steps that run when the kill comes go on for a while.
  std::vector<std::string> texts(60, "works");
  for (std::size_t i = 10; i < 20; ++i) texts[i] = "slow";
  MakeScenes(texts);
  const pid_t pid = ForkBatch(options_);
  WaitForRows(options_.out + "/summary.csv", 10);
  ::kill(pid, SIGKILL);
  ::waitpid(pid, nullptr, 0);

  options_.resume = true;
  const BatchOutcome outcome = RunBatch(options_, {});
  EXPECT_EQ(outcome.progress.done, 60U);
  EXPECT_EQ(outcome.progress.failed, 0U);
  EXPECT_GE(outcome.progress.skipped, 10U);
  long runs = 0;
  for (std::size_t i = 0; i < 60; ++i) runs += RunsOf(i);
  EXPECT_LE(runs, 63) << "at most those that ran when it was killed run again";
  const std::vector<std::string> names = LogPoolNames();
  EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), 60U);
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(options_.out)) {
    EXPECT_FALSE(entry.path().filename().string().starts_with("OK.")) << entry.path();
  }
}

TEST_F(BatchTest, TheFirstSignalWaitsTheSecondDoesNot) {
  MakeScenes({"waits", "waits", "works"});
  options_.jobs = 2;
  const pid_t pid = ForkBatch(options_);
  for (int i = 0;
       i < 2000 && !(fs::exists(folder_ + "/0.pool.runs") && fs::exists(folder_ + "/1.pool.runs"));
       ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  ::kill(pid, SIGTERM);
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  EXPECT_EQ(::waitpid(pid, nullptr, WNOHANG), 0) << "it waits for its scenes";
  ::kill(pid, SIGTERM);
  int status = 0;
  ::waitpid(pid, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 3);
  EXPECT_EQ(RowsByName().size(), 2U);
  EXPECT_EQ(RunsOf(2), 0);
}

TEST_F(BatchTest, PartsShareTheListAndAreMerged) {
  MakeScenes(std::vector<std::string>(50, "works"));
  for (std::uint32_t i = 1; i <= 4; ++i) {
    EXPECT_THROW(static_cast<void>(MergeParts(options_.out)), std::runtime_error) << "before " << i;
    options_.part = {i, 4};
    static_cast<void>(RunBatch(options_, {}));
  }
  EXPECT_EQ(MergeParts(options_.out).progress.done, 50U);
  EXPECT_EQ(RowsByName().size(), 50U);
  EXPECT_EQ(LogPoolNames().size(), 50U);
  for (const char* text : {"0/4", "5/4", "1/0", "1", "/4", "1/", "1/4x", "-1/4", "1/99999999999"}) {
    EXPECT_THROW(static_cast<void>(ParsePart(text)), std::runtime_error) << text;
  }
}

TEST_F(BatchTest, ASummaryIsReadAtEveryLengthThatAKillLeaves) {
  const std::string path = folder_ + "/summary.csv";
  const std::vector<SummaryRow> rows = {
      {"/a,b \"c\".pool", SceneStatus::kFailed, 1.5, "x\ny", 1, 10, 20, ""},
      {"/d.pool", SceneStatus::kLocated, 0.25, "", 2, -1, 0, "one\ntwo"}};
  {
    Summary summary(path);
    summary.Replace([](const TakeRow&) {});
    for (const SummaryRow& row : rows) summary.Append(row);
    EXPECT_THROW(Summary(path).Append(rows[0]), std::runtime_error) << "it is locked";
  }
  Summary(path).Append(rows[0]);
  std::ifstream file(path);
  const std::string text((std::istreambuf_iterator<char>(file)), {});
  std::size_t most = 0;
  for (std::size_t length = 0; length <= text.size(); ++length) {
    std::ofstream(path, std::ios::trunc) << text.substr(0, length);
    const std::vector<SummaryRow> read = ReadSummary(path);
    ASSERT_TRUE(read.size() == most || read.size() == ++most) << length;
    for (std::size_t i = 0; i < read.size(); ++i) {
      const SummaryRow& expected = rows[i % 2];
      EXPECT_EQ(read[i].scene, expected.scene);
      EXPECT_EQ(read[i].first_error, expected.first_error);
      EXPECT_EQ(read[i].software, expected.software);
      EXPECT_EQ(read[i].pool_bytes, expected.pool_bytes);
    }
  }
  EXPECT_EQ(most, 3U);
  std::ofstream(path, std::ios::trunc) << "a,b\n1,2\n";
  EXPECT_THROW(static_cast<void>(ReadSummary(path)), std::runtime_error);
}

TEST_F(BatchTest, TheRealStepLocatesItsScenes) {
  options_.step = QM_PROGRAM;
  std::size_t count = 0;
  fs::create_directory(folder_ + "/scenes");
  for (const fs::directory_entry& entry : fs::directory_iterator(QM_EXAMPLES)) {
    if (entry.path().extension() != ".pool") continue;
    fs::copy_file(entry.path(), folder_ + "/scenes/" + entry.path().filename().string());
    ++count;
  }
  Write("scenes/empty.pool", "# nothing\n");
  options_.list = folder_ + "/scenes";
  const BatchOutcome outcome = RunBatch(options_, {});
  EXPECT_EQ(outcome.progress.done, count + 1);
  EXPECT_EQ(outcome.progress.failed, 1U);
  for (const auto& [name, row] : RowsByName()) {
    if (name == "empty") {
      EXPECT_EQ(row.first_error, "parameter pool: parameter key >> first_az_time << not found");
    } else {
      EXPECT_TRUE(Pool::Open(row.scene).Has("fm_rate_far")) << name;
    }
  }
  EXPECT_EQ(LogPoolNames().size(), count);
}

}  // namespace
}  // namespace quellmark::batch
