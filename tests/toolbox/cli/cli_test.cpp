// Tests qmtool as a person or a script calls it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "tests/support/child.h"
#include "tests/support/files.h"
#include <quellmark/pool.h>
#include <quellmark/scene.h>

namespace quellmark {
namespace {

namespace fs = std::filesystem;
using test::ProgramRun;
using test::ReadFile;

constexpr const char* kQuebec = QM_EXAMPLES "/s1a_iw1_slc_quebec.pool";

class Cli : public testing::Test {
 protected:
  ProgramRun Run(const std::vector<std::string>& arguments) const {
    return test::RunProgram(QM_TOOL, arguments, folder_.Path());
  }
  // Runs another program and returns its exit status, or -1 if that program is not installed.
  int RunIfThere(const std::string& command) const {
    const std::string name = command.substr(0, command.find(' '));
    if (std::system(("command -v " + name + " >/dev/null").c_str()) != 0) return -1;
    return std::system(("cd " + folder_.Path().string() + " && " + command).c_str());
  }

  test::TempDir folder_;
};

TEST_F(Cli, StatusesAndMessages) {
  test::WriteFile(folder_ / "spoiled.pool", "prf FLT_15 fast\n");
  struct Case {
    std::vector<std::string> arguments;
    int status;
    const char* output;
  };
  const std::vector<Case> cases = {
      {{"--version"}, 0, "qmtool "},
      {{"--help"}, 0, "locate"},
      {{"locate", "--help"}, 0, "Examples:"},
      {{}, 2, "subcommand"},
      {{"fly"}, 2, "subcommand"},
      {{"check"}, 2, "POOL"},
      {{"locate", kQuebec, "--grid", "0x3"}, 2, "qmtool locate: --grid is"},
      {{"locate", kQuebec, "--at", "1,2", "--grid", "3x3"}, 2, "at a time"},
      {{"locate", kQuebec, "--all"}, 2, "--all needs -o"},
      {{"locate", kQuebec, "--at", "1;x"}, 1, "qmtool locate: --at: '1;x' is not 2 numbers"},
      {{"locate", "no.pool"}, 1, "qmtool locate: "},
      {{"check", kQuebec}, 0, "nothing is wrong"},
      {{"check", "spoiled.pool"}, 1, "spoiled.pool:1: error: prf: read value is : fast"},
      {{"check", "--json", "spoiled.pool"}, 1, "\"severity\": \"error\""},
      {{"pool", "get", kQuebec, "n_lines"}, 0, "13500\n"},
      {{"pool", "get", kQuebec, "no_such_key"}, 1, "no_such_key"},
      {{"pool", "list", kQuebec}, 0, "orbit_reference_time"},
      {{"batch"}, 2, "LIST or --merge"},
      {{"batch", "no.list"}, 1, "no.list"},
      {{"batch", "--part", "3/2", kQuebec}, 1, "1 <= I <= N"},
      {{"map", "no.pool"}, 1, "qmtool map: "},
  };
  for (const Case& row : cases) {
    const ProgramRun run = Run(row.arguments);
    std::string called;
    for (const std::string& argument : row.arguments) called += argument + ' ';
    EXPECT_EQ(run.exit_status, row.status) << called << '\n' << run.output;
    EXPECT_NE(run.output.find(row.output), std::string::npos) << called << '\n' << run.output;
  }
}

// The fields of the second line of a table.
std::vector<double> FirstRow(const std::string& table) {
  std::vector<double> numbers;
  std::size_t at = table.find('\n') + 1;
  const std::size_t end = table.find('\n', at);
  while (at < end) {
    numbers.push_back(std::atof(table.c_str() + at));
    at = std::min(table.find(',', at), end) + 1;
  }
  return numbers;
}

TEST_F(Cli, ThereAndBack) {
  for (const double line : {0.0, 13499.0, 6750.25}) {
    const auto ground = FirstRow(
        Run({"locate", kQuebec, "--at", "21168," + std::to_string(line), "--height", "1000"})
            .output);
    ASSERT_GE(ground.size(), 6U);
    EXPECT_NEAR(ground[4], 1000.0, 1e-4);
    const auto image =
        FirstRow(Run({"locate", kQuebec, "--ground",
                      std::to_string(ground[2]) + ',' + std::to_string(ground[3]) + ",1000"})
                     .output);
    ASSERT_GE(image.size(), 5U);
    // std::to_string writes six decimals of a degree, which is 0.1 m.
    EXPECT_NEAR(image[3], 21168.0, 0.1);
    EXPECT_NEAR(image[4], line, 0.1);
  }
  test::WriteFile(folder_ / "points.csv", "sample,line\n# corner\n0,0\n\n10;20\r\n-1e9 0\n");
  const std::string table = Run({"locate", kQuebec, "--points", "points.csv"}).output;
  EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 4);
  EXPECT_NE(table.find(",,,"), std::string::npos) << "a position without an answer is empty";
}

TEST_F(Cli, OutputsAreReadByOthers) {
  for (const char* format : {"geojson", "kml"}) {
    const std::string file = std::string("out.") + format;
    EXPECT_EQ(Run({"locate", kQuebec, "--footprint", "--format", format, "-o", file}).exit_status,
              0);
    const int status = RunIfThere("ogrinfo -al -so " + file + " | grep -q 'Feature Count: 1'");
    if (status == -1) GTEST_SKIP() << "ogrinfo is not installed";
    EXPECT_EQ(status, 0) << ReadFile(folder_ / file);
  }
}

TEST_F(Cli, WholeImages) {
  fs::copy_file(kQuebec, folder_ / "small.pool");
  EXPECT_EQ(Run({"pool", "set", "small.pool", "n_samples", "101"}).exit_status, 0);
  EXPECT_EQ(Run({"pool", "set", "small.pool", "n_lines", "57"}).exit_status, 0);
  const ProgramRun run = Run({"locate", "small.pool", "--all", "-o", "image.bin"});
  EXPECT_EQ(run.output, "image.bin: 101 samples x 57 lines, 3 bands\n");
  const std::string image = ReadFile(folder_ / "image.bin");
  ASSERT_EQ(image.size(), sizeof(double) * 3 * 101 * 57);
  // This is line 30, sample 77. Within a line the bands follow each other.
  double longitude = 0.0;
  std::memcpy(&longitude, image.data() + sizeof(double) * (30 * 3 * 101 + 77), sizeof longitude);
  const auto row = FirstRow(Run({"locate", "small.pool", "--at", "77,30"}).output);
  EXPECT_NEAR(longitude, row[2], 5e-10);
  EXPECT_FALSE(fs::exists(folder_ / "image.bin.part"));
  const int status = RunIfThere("gdalinfo image.bin | grep -q 'Size is 101, 57'");
  EXPECT_TRUE(status == 0 || status == -1);
}

TEST_F(Cli, PoolsAreSetComparedAndConverted) {
  fs::copy_file(kQuebec, folder_ / "a.pool");
  fs::copy_file(kQuebec, folder_ / "b.pool");
  struct Case {
    std::vector<std::string> set;
    int status;
    const char* value;
  };
  const std::vector<Case> cases = {
      {{"local_height", "230.5"}, 0, "230.5\n"},
      {{"local_height", "high"}, 1, nullptr},
      {{"local_height", "1", "2"}, 1, nullptr},
      {{"n_lines", "2147483648"}, 1, nullptr},
      {{"new_key", "1"}, 2, nullptr},
      {{"new_key", "--type", "INT_32_INT_32", "1", "-2"}, 0, "1 -2\n"},
      {{"new_vector", "--type", "FLT_15_V", "1", "2.5"}, 0, "1.0\n2.5\n"},
      {{"new_text", "--type", "STR", "a \"b\" \\ c"}, 0, "a \"b\" \\ c\n"},
      {{"new_flag", "--type", "BOL", "TRUE"}, 0, "true\n"},
      {{"a key", "--type", "INT_32", "1"}, 1, nullptr},
      {{"new_matrix", "--type", "FLT_15_M", "1"}, 2, nullptr},
  };
  for (const Case& row : cases) {
    std::vector<std::string> arguments = {"pool", "set", "a.pool"};
    arguments.insert(arguments.end(), row.set.begin(), row.set.end());
    const std::string before = ReadFile(folder_ / "a.pool");
    const ProgramRun run = Run(arguments);
    EXPECT_EQ(run.exit_status, row.status) << row.set[0] << run.output;
    if (row.value == nullptr) {
      EXPECT_EQ(ReadFile(folder_ / "a.pool"), before) << row.set[0];
    } else {
      EXPECT_EQ(Run({"pool", "get", "a.pool", row.set[0]}).output, row.value);
    }
  }
  const ProgramRun diff = Run({"pool", "diff", "a.pool", "b.pool"});
  EXPECT_EQ(diff.exit_status, 1);
  EXPECT_NE(diff.output.find("- local_height FLT_15 230.5\n+ local_height FLT_15 225.19"),
            std::string::npos);
  EXPECT_EQ(std::count(diff.output.begin(), diff.output.end(), '\n'), 6);

  EXPECT_EQ(Run({"pool", "to-json", "a.pool", "-o", "a.json"}).exit_status, 0);
  EXPECT_EQ(Run({"pool", "from-json", "a.json", "-o", "c.pool"}).exit_status, 0);
  EXPECT_EQ(Run({"pool", "diff", "a.pool", "c.pool"}).exit_status, 0);
  test::WriteFile(folder_ / "bad.json", "{\"entries\": [");
  EXPECT_EQ(Run({"pool", "from-json", "bad.json", "-o", "c.pool"}).exit_status, 1);
  EXPECT_EQ(Run({"pool", "diff", "a.pool", "c.pool"}).exit_status, 0) << "c.pool is untouched";
}

TEST_F(Cli, BrokenPoolsAreFixed) {
  const std::string plain = "prf FLT_15 1\n\nx INT_32 2\n";
  std::string crlf = plain;
  for (std::size_t i = 0; (i = crlf.find('\n', i)) != std::string::npos; i += 2) {
    crlf.insert(i, 1, '\r');
  }
  std::string utf16 = "\xFF\xFE";
  for (const char c : plain) utf16 += std::string{c, '\0'};
  for (const std::string& broken :
       {plain, "\xEF\xBB\xBF" + plain, crlf, utf16, plain.substr(0, plain.size() - 1)}) {
    test::WriteFile(folder_ / "broken.pool", broken);
    EXPECT_EQ(Run({"pool", "fix", "broken.pool", "-o", "fixed.pool"}).exit_status, 0);
    EXPECT_EQ(ReadFile(folder_ / "fixed.pool"), plain);
  }
}

// Writes a scene whose orbit is turned about the earth's axis or tilted over a pole, which is the
// same geometry elsewhere on the globe.
void WriteTurnedScene(const std::string& path, double turn_deg, bool over_pole) {
  const Pool pool = Pool::Open(kQuebec);
  const double angle = turn_deg * std::acos(-1.0) / 180.0;
  PoolEditor editor;
  for (const char* kind : {"orbit_pos_", "orbit_vel_"}) {
    const auto component = [&](const char* axis) {
      return pool.Get<Vector<double>>(std::string(kind) + axis);
    };
    Vector<double> x = component("x");
    Vector<double> y = component("y");
    Vector<double> z = component("z");
    for (std::size_t i = 0; i < x.values.size(); ++i) {
      double& a = x.values[i];
      double& b = over_pole ? z.values[i] : y.values[i];
      const double turned = a * std::cos(angle) - b * std::sin(angle);
      b = a * std::sin(angle) + b * std::cos(angle);
      a = turned;
    }
    editor.Set(std::string(kind) + "x", x).Set(std::string(kind) + "y", y);
    editor.Set(std::string(kind) + "z", z);
  }
  fs::copy_file(kQuebec, path, fs::copy_options::overwrite_existing);
  editor.Update(path);
}

TEST_F(Cli, MapsAreDrawnEverywhere) {
  WriteTurnedScene(folder_ / "antimeridian.pool", -119.0, false);
  WriteTurnedScene(folder_ / "polar.pool", 60.0, true);
  fs::copy_file(kQuebec, folder_ / "tiny.pool");
  EXPECT_EQ(Run({"pool", "set", "tiny.pool", "n_lines", "200"}).exit_status, 0);
  EXPECT_EQ(Run({"pool", "set", "tiny.pool", "n_samples", "200"}).exit_status, 0);
  for (const char* name : {"antimeridian", "polar", "tiny"}) {
    const std::string pool = std::string(name) + ".pool";
    const std::string page = std::string(name) + ".html";
    const ProgramRun run = Run({"map", pool, "-o", page});
    EXPECT_EQ(run.exit_status, 0) << run.output;
    const std::string html = ReadFile(folder_ / page);
    EXPECT_EQ(html.find("nan"), std::string::npos) << name;
    EXPECT_EQ(html.find("inf "), std::string::npos) << name;
    EXPECT_EQ(html.find("http://www.w3.org/2000/svg"), html.find("http")) << "no network";
    EXPECT_LT(html.size(), 1'000'000U);
  }
  const std::string geojson =
      Run({"locate", "antimeridian.pool", "--footprint", "--format", "geojson"}).output;
  EXPECT_NE(geojson.find("MultiPolygon"), std::string::npos);
  EXPECT_EQ(Run({"map", "tiny.pool", "polar.pool", "-o", "both.svg"}).exit_status, 0);
  EXPECT_EQ(ReadFile(folder_ / "both.svg").rfind("<?xml", 0), 0U);
}

}  // namespace
}  // namespace quellmark
