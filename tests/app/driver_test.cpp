// Tests whole runs of the program that succeed: their log, pools and status files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <regex>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/app/example_scene.h"
#include "tests/dem/test_dem.h"

namespace quellmark::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kScene = "s1a_iw1_slc_quebec";
constexpr const char* kFullVersion = "quellmark.v0.0.5.linux.gcc4.5.0_64bit.default.20161209173218";

__attribute__((format(printf, 1, 2))) std::string Format(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  char text[256];
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return text;
}

// `log` with replacements for the parts that differ from run to run and from build to build.
std::string Masked(std::string log) {
  const std::pair<const char*, const char*> masks[] = {
      {"(compile date: ).*(  compiled by: ).*", "$1DATE$2COMPILER"},
      {R"((time: )\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d)", "$1TIME"},
      {"(hostname: ).*", "$1HOST"},
      {"(execution time:) .*", "$1 SHORT"}};
  for (const auto& [pattern, replacement] : masks) {
    log = std::regex_replace(log, std::regex(pattern), replacement);
  }
  return log;
}

TEST(Driver, LogOfARunByteForByte) {
  SceneRun scene(ScenePool(kScene));
  const ProgramRun run = scene.Run({"-lfl", "INFO", "-lsl", "INFO"});
  ASSERT_EQ(run.exit_status, 0) << run.output;

  // The expected log was typed by hand; its values come from the separate solver's table.
  const std::string expected = ReadFile(QM_APP_TEST_DATA "/quebec.log");
  EXPECT_EQ(Masked(scene.Log()), expected);
  // The screen shows one more line, because its threshold is not yet known then.
  EXPECT_THAT(Masked(run.output), EndsWith(expected.substr(expected.find("INFO"))));
}

TEST(Driver, StatusFilesAndSoftwareIdentification) {
  SceneRun scene(ScenePool(kScene));
  ASSERT_EQ(scene.Run().exit_status, 0);
  EXPECT_EQ(ReadFile(scene.directory / "OK.quellmark"), "0");
  EXPECT_FALSE(scene.Has("ERROR.quellmark"));
  const std::string indent(47, ' ');
  const auto software_names = [&](const std::string& first, int runs) {
    std::string elements;
    for (int i = 0; i < runs; ++i) elements += indent + "  \"" + kFullVersion + "\"\n";
    return "software_names" + std::string(19, ' ') + "STR_V" + std::string(11, ' ') + first + "\t" +
           std::to_string(runs) + "\n" + indent + "{\n" + elements + indent + "}\n\n";
  };
  EXPECT_EQ(ReadFile(scene.directory / "log.pool"), software_names("1", 1));
  ASSERT_EQ(scene.Run().exit_status, 0);
  EXPECT_EQ(ReadFile(scene.directory / "log.pool"), software_names("1", 2));

  WriteFile(scene.directory / "log.pool", "# by hand\nsoftware_names STR_V -3 0\n {\n }\n");
  ASSERT_EQ(scene.Run().exit_status, 0);
  EXPECT_EQ(ReadFile(scene.directory / "log.pool"), "# by hand\n" + software_names("-3", 1));
}

TEST(Driver, KeepsEveryByteThatIsNotAResult) {
  // Line ends of all kinds, Latin-1, NUL, a long line, and a last line without line end.
  const std::string foreign = std::string("# caf\xE9\r\n\t indented\r\nother_key UNHEARD_OF  x\n") +
                              std::string("# nul \0 byte\n", 13) + "long " +
                              std::string(3000, 'y') + "\n#last line";
  const std::string pool = ScenePool(kScene) + foreign;
  SceneRun scene(pool);
  ASSERT_EQ(scene.Run().exit_status, 0) << scene.Log();
  const std::string first = scene.Pool();
  ASSERT_TRUE(first.starts_with(pool + "\ncenter_longitude ")) << "results follow, on a new line";
  ASSERT_EQ(scene.Run().exit_status, 0);
  EXPECT_EQ(scene.Pool(), first) << "a second run changes nothing";

  const std::string results = first.substr(pool.size() + 1);
  SceneRun replaced("center_longitude FLT_15 0\n\n" + pool);  // an old result of another type
  ASSERT_EQ(replaced.Run().exit_status, 0);
  const std::string first_entry = results.substr(0, results.find("\n\n") + 2);
  EXPECT_EQ(replaced.Pool(), first_entry + pool + "\n" + results.substr(first_entry.size()));
}

TEST(Driver, TwoPoolsInOneFile) {
  SceneRun scene(ScenePool(kScene));
  ASSERT_EQ(scene.Run({"-log_pp", "scene.pool"}).exit_status, 0);
  const std::string pool = scene.Pool();
  EXPECT_NE(ValueOf(pool, "fm_rate_far"), "");
  EXPECT_THAT(pool, HasSubstr(kFullVersion));
}

// A satellite that crosses the antimeridian eastward over the equator exactly at line 0. The zero
// Doppler plane is then the meridian itself, and right is south.
TEST(Driver, LooksToEitherSideOfTheAntimeridian) {
  const std::string base =
      Overridden(Without(ScenePool(kScene), "local_height"),
                 {Entry("n_samples", "INT_32", "1"), Entry("n_lines", "INT_32", "2"),
                  Entry("first_az_time", "FLT_15", "0"), Entry("prf", "FLT_15", "1"),
                  Entry("orbit_representation", "STR", Quoted("orbit_pool_double_double")),
                  Entry("orbit_interpolation", "STR", Quoted("polynom")),
                  Entry("orbit_reference_time", "STR", Quoted("0")),
                  "orbit_time FLT_15_V 1 3\n {\n -10\n 0\n 10\n }\n",
                  "orbit_pos_x FLT_15_V 1 3\n {\n -7000000\n -7000000\n -7000000\n }\n",
                  "orbit_pos_y FLT_15_V 1 3\n {\n 75000\n 0\n -75000\n }\n",
                  "orbit_pos_z FLT_15_V 1 3\n {\n 0\n 0\n 0\n }\n"});
  double latitude[2];
  for (const bool is_left : {false, true}) {
    SceneRun scene(Overridden(
        base, {Entry("antenna_look_direction", "STR", Quoted(is_left ? "left" : "right"))}));
    ASSERT_EQ(scene.Run().exit_status, 0) << scene.Log();
    EXPECT_THAT(scene.Log(), HasSubstr("   - local_height        : 0.000000e+00 [m]\n"));
    const std::string pool = scene.Pool();
    EXPECT_EQ(ValueOf(pool, "first_near_lon"), "1.8000000000E+02") << "wrapped only beyond 180";
    EXPECT_NEAR(std::stod(ValueOf(pool, "last_near_lon")), -179.93, 0.01);
    EXPECT_EQ(ValueOf(pool, "last_near_lon"), ValueOf(pool, "last_far_lon"));
    EXPECT_EQ(ValueOf(pool, "fm_rate_near"), ValueOf(pool, "fm_rate_far"));
    latitude[is_left] = std::stod(ValueOf(pool, "first_near_lat"));
  }
  EXPECT_LT(latitude[0], -1.0);
  EXPECT_EQ(latitude[1], -latitude[0]);
}

// How a pool represents the same orbit: reference time and epochs as texts of one time type.
struct TimeKind {
  const char* name;
  const char* reference;
  std::string (*epoch)(double seconds);
};

std::string MinutesAndSeconds(double t) {
  const int minutes = static_cast<int>(t / 60.0);
  return Format("%02d:%09.6f", 21 + minutes, t - 60.0 * minutes);
}

const TimeKind kTimeKinds[] = {
    {"double", "-250.5", [](double t) { return Format("%.6f", t - 250.5); }},
    {"utc", "14-APR-2022/10:21:00.000000",
     [](double t) { return "2022-04-14T10:" + MinutesAndSeconds(t) + "Z"; }},
    {"met", "+0012/10:21:00.000000", [](double t) { return "+0012/10:" + MinutesAndSeconds(t); }},
};

// The epochs of the scene in seconds after its reference time, which is a full minute.
std::vector<double> EpochsOf(const std::string& pool) {
  const std::regex time(R"re("\d{4}-\d\d-\d\dT\d\d:(\d\d):(\d\d\.\d{6})Z"\n)re");
  std::vector<double> seconds;
  for (std::sregex_iterator i(pool.begin(), pool.end(), time), end; i != end; ++i) {
    seconds.push_back(60.0 * std::stod((*i)[1]) + std::stod((*i)[2]));
  }
  const double reference = seconds.front();
  seconds.erase(seconds.begin());
  for (double& each : seconds) each -= reference;
  return seconds;
}

// The tolerance of a corner in degrees. Results have seven digits, which is 1.5e-5 for a longitude.
// The spline is less accurate because of its ends. Single-precision coordinates have steps of 0.5
// m, which a fit enlarges.
struct InterpolationKind {
  const char* text;
  double tolerance_deg, float_tolerance_deg;
};

const InterpolationKind kInterpolations[] = {
    {"polynom", 2e-5, 5e-5},
    {"polyfit_8", 2e-5, 2.5e-4},
    {"spline", 5e-5, 1e-4},
    {"localpolynom_7_8", 2e-5, 5e-5},
    {"localpolyfit_7_10", 2e-5, 2.5e-4},
    {"chebyshev_8", 2e-5, 2.5e-4},
    {"localchebyshev_7_10", 2e-5, 2.5e-4},
    {"hermite", 2e-5, 5e-5},
    {"localhermite_7_4", 2e-5, 5e-5},
    {"everett_6", 2e-5, 5e-5},
};

// The scene's pool with its orbit in another representation and interpolation.
std::string WithOrbit(const std::string& pool, const TimeKind& time, const std::string& number,
                      const InterpolationKind& kind) {
  const std::vector<double> seconds = EpochsOf(pool);
  std::string epochs = Format("orbit_time STR_V 0 %zu\n {\n", seconds.size());
  for (const double t : seconds) epochs += "  " + Quoted(time.epoch(t)) + "\n";
  return Overridden(
      pool, {Entry("orbit_representation", "STR", Quoted("orbit_pool_" + number + "_" + time.name)),
             Entry("orbit_interpolation", "STR", Quoted(kind.text)),
             Entry("orbit_reference_time", "STR", Quoted(time.reference)), epochs + " }\n"});
}

// Each scene takes each interpolation once, and the six representations in turn. The orbit's own
// tests have every pair of representation and interpolation.
TEST(Driver, EveryInterpolationLocatesEveryScene) {
  std::size_t turn = 0;
  for (const std::string name : kSceneNames) {
    for (const InterpolationKind& kind : kInterpolations) {
      const TimeKind& time = kTimeKinds[turn / 2 % std::size(kTimeKinds)];
      const bool is_float = turn++ % 2 == 1;
      SCOPED_TRACE(name + " " + time.name + (is_float ? " float " : " double ") + kind.text);
      SceneRun scene(WithOrbit(ScenePool(name), time, is_float ? "float" : "double", kind));
      const int status = scene.Run().exit_status;
      if (name == kScene && std::string_view(kind.text) == "everett_6") {
        // The epochs of this scene are uneven by a microsecond.
        EXPECT_EQ(status, 1);
        EXPECT_THAT(scene.Log(), HasSubstr("only possible on equidistant grid.\n"));
        continue;
      }
      ASSERT_EQ(status, 0) << scene.Log();
      const double tolerance = is_float ? kind.float_tolerance_deg : kind.tolerance_deg;
      for (const auto& [key, value] : SceneResultsTable(name)) {
        if (key.find("lon") == std::string::npos && key.find("lat") == std::string::npos) continue;
        EXPECT_NEAR(std::stod(ValueOf(scene.Pool(), key)), value, tolerance) << key;
      }
    }
    ++turn;  // the next scene starts with another pair
  }
}

TEST(Driver, DemIsOpenedAndCheckedAndChangesNoResult) {
  SceneRun without(ScenePool(kScene));
  ASSERT_EQ(without.Run().exit_status, 0);

  SceneRun with(ScenePool(kScene));
  WriteDem(with.directory, {.tiles = {{-61, 51, -60, 50}}, .resolution_arcsec = 3600.0});
  ASSERT_EQ(with.Run({"-USE_DEM", "true", "-DEM_FILE", "dem.pool"}).exit_status, 0) << with.Log();
  EXPECT_THAT(with.Log(), HasSubstr("DEM_DOCUMENT::SetDescriptor: Mapping file "));
  EXPECT_EQ(with.Pool(), without.Pool());

  EXPECT_THAT(with.Log(), Not(HasSubstr("the DEM does not cover")));
  WriteDem(with.directory, {.tiles = {{10, 51, 11, 50}}, .resolution_arcsec = 3600.0});
  ASSERT_EQ(with.Run({"-USE_DEM", "true", "-DEM_FILE", "dem.pool"}).exit_status, 0) << with.Log();
  EXPECT_THAT(with.Log(),
              HasSubstr("QA_WA : quellmark : the DEM does not cover the scene centre at "
                        "longitude -61.1354, latitude 50.8363 [deg]"));

  WriteFile(with.directory / "tile0.srf", "too short");
  EXPECT_EQ(with.Run({"-USE_DEM", "true", "-DEM_FILE", "dem.pool"}).exit_status, 1);
  EXPECT_THAT(with.Log(), HasSubstr("MEM_MGR: can not read header from: "));
}

TEST(Driver, InfoRequestsTouchNoFile) {
  const TempDir directory;
  const auto run = [&](const std::vector<std::string>& arguments) {
    return RunProgram(QM_PROGRAM, arguments, directory.Path());
  };
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--help"}, {"-h", "x"}, {"--help", "-lsl"}}) {
    const ProgramRun help = run(arguments);
    EXPECT_EQ(help.exit_status, 0);
    EXPECT_THAT(help.output, HasSubstr("-SCENE_POOL FILE"));
  }
  const ProgramRun version = run({"--version", "--help"});
  EXPECT_EQ(version.exit_status, 0);
  EXPECT_THAT(version.output, StartsWith(std::string(kFullVersion) + "\nquellmark 0.0.5, built 2"));
  const std::string to_full_disk = QM_PROGRAM " --version >/dev/full";
  EXPECT_EQ(RunProgram("/bin/sh", {"-c", to_full_disk}, directory.Path()).exit_status, 1);
  EXPECT_TRUE(std::filesystem::is_empty(directory.Path()));
  EXPECT_EQ(run({"--help", "-pid", "job"}).exit_status, 1) << "a run with a parameter";
}

TEST(Driver, UnknownArgumentsAreReported) {
  SceneRun scene(ScenePool(kScene));
  EXPECT_EQ(scene.Run({"-SCENEPOOL", "x", "stray", "-use_dem", "-lsl"}).exit_status, 0);
  const std::string no_parameter = " names no parameter of this program; the nearest is ";
  std::string warnings;
  for (const auto& [argument, nearest] :
       {std::pair{"-SCENEPOOL", "-SCENE_POOL"}, {"stray", "-status"}, {"-use_dem", "-USE_DEM"}}) {
    warnings +=
        "WARN  : quellmark : argument " + std::string(argument) + no_parameter + nearest + "\n";
  }
  EXPECT_THAT(scene.Log(),
              HasSubstr(warnings + "WARN  : quellmark : argument -lsl has no value: not used\n"));
}

// Results that nobody should trust are still written, and a line in the log says why.
TEST(Driver, ImplausibleScenesAreReported) {
  const std::string beyond = "the image lines reach beyond the state vectors: ";
  const std::tuple<std::string, std::string, std::string> rows[] = {
      // The state vectors begin at 7.036419 s and end at 157.036419 s; the lines take 25.133 s.
      {"first_az_time", "FLT_15 5.036419",
       beyond + "2 [s] before the first, 0 [s] after the last\n"},
      {"first_az_time", "FLT_15 142.0", beyond + "0 [s] before the first, 10.1069 [s] after"},
      {"prf", "FLT_15 0.0", "prf 0 [Hz] is not positive\n"},
      {"range_sampling_frequency", "FLT_15 -1.0",
       "range_sampling_frequency -1 [Hz] is not positive\n"},
      {"radar_frequency", "FLT_15 5.4",
       "radar_frequency 5.4 [Hz] is not between 0.1 and 100 GHz\n"},
  };
  for (const auto& [key, entry, line] : rows) {
    SCOPED_TRACE(key + " " + entry);
    SceneRun scene(Overridden(ScenePool(kScene), {key + " " + entry + "\n"}));
    static_cast<void>(scene.Run({}));
    EXPECT_THAT(scene.Log(), HasSubstr("QA_WA : quellmark : " + line));
  }
  SceneRun sound(ScenePool(kScene));
  EXPECT_EQ(sound.Run({}).exit_status, 0);
  EXPECT_THAT(sound.Log(), Not(HasSubstr("QA_WA")));
}

}  // namespace
}  // namespace quellmark::test
