// Whole runs of the program that succeed: log, pools, status files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/app/example_scene.h"
#include "tests/dem/test_dem.h"

namespace quellmark::test {
namespace {

using testing::HasSubstr;

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

// The report's lines as other programs match them, typed out; the values come from the separate
// solver's table.
std::string ExpectedReport(const std::string& scene) {
  std::map<std::string, double> v;
  for (const auto& [key, value] : SceneResultsTable(scene)) v[key] = value;
  const auto f = [&v](const char* key) {
    return static_cast<double>(static_cast<float>(v.at(key)));
  };
  std::string report = " * Perform geolocalization\n";
  report += "   - center coordinates\n";
  report += Format("     - center_longitude  : %6.2f [\xB0]\n", f("center_longitude"));
  report += Format("     - center_latitude   : %6.2f [\xB0]\n", f("center_latitude"));
  report += "   - corner coordinates\n";
  report += Format("     - first_near_lon    : %6.2f [\xB0]\n", f("first_near_lon"));
  report += Format("     - first_near_lat    : %6.2f [\xB0]\n", f("first_near_lat"));
  report += Format("     - first_far_lon     : %6.2f [\xB0]\n", f("first_far_lon"));
  report += Format("     - first_far_lat     : %6.2f [\xB0]\n", f("first_far_lat"));
  report += Format("     - last_far_lon      : %6.2f [\xB0]\n", f("last_far_lon"));
  report += Format("     - last_far_lat      : %6.2f [\xB0]\n", f("last_far_lat"));
  report += Format("     - last_near_lon     : %6.2f [\xB0]\n", f("last_near_lon"));
  report += Format("     - last_near_lat     : %6.2f [\xB0]\n", f("last_near_lat"));
  report += "   - incidence angles\n";
  report += Format("     - near range        : %6.2f [\xB0]\n", f("inc_angle_near"));
  report += Format("     - mid  range        : %6.2f [\xB0]\n", f("inc_angle_mid"));
  report += Format("     - far  range        : %6.2f [\xB0]\n", f("inc_angle_far"));
  report += "   - zero Doppler velocities\n";
  report += Format("     - near range        : %12.5f [m/s]\n", v["zero_doppler_velocity_near"]);
  report += Format("     - mid  range        : %12.5f [m/s]\n", v["zero_doppler_velocity_mid"]);
  report += Format("     - far  range        : %12.5f [m/s]\n", v["zero_doppler_velocity_far"]);
  report += "   - B-Parameter\n";
  report += Format("     - near range        : %12.5f [m\xB2/s\xB2]\n", v["b_param_near"]);
  report += Format("     - mid  range        : %12.5f [m\xB2/s\xB2]\n", v["b_param_mid"]);
  report += Format("     - far  range        : %12.5f [m\xB2/s\xB2]\n", v["b_param_far"]);
  report += "   - FM rate\n";
  report += Format("     - near range        : %12.5f [1/s\xB2]\n", v["fm_rate_near"]);
  report += Format("     - mid  range        : %12.5f [1/s\xB2]\n", v["fm_rate_mid"]);
  report += Format("     - far  range        : %12.5f [1/s\xB2]\n", v["fm_rate_far"]);
  return report + " * Write parameters to pool\n";
}

// `lines` as the log writes them at level INFO. The host name follows the start time's line end
// within one message and so has no prefix.
std::string InfoLines(const std::string& lines) {
  std::string text;
  std::istringstream stream(lines);
  for (std::string line; std::getline(stream, line);) {
    if (!line.starts_with("  hostname: ")) text += "INFO  : quellmark : ";
    text += line + "\n";
  }
  return text;
}

// `log` with what differs from run to run and from build to build replaced.
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

  const std::string stars = std::string(59, '*') + "\n";
  const std::string banner = "\n" + stars + "quellmark 0.0.5\n" + stars +
                             "compile date: DATE  compiled by: COMPILER\n"
                             "start time: TIME\n  hostname: HOST\n"
                             "using configuration file pcf.quellmark\n";
  const std::string phases =
      " * Read parameters from controller\n"
      "   - SCENE_POOL          : scene.pool\n"
      " * Initialize scene from pool\n"
      "   - first_az_time       : 7.175537e+01 [s]\n"
      "   - first_rg_time       : 5.348498e-03 [s]\n"
      "   - prf                 : 5.370965e+02 [Hz]\n"
      "   - rsf                 : 6.434524e+07 [Hz]\n"
      "   - n_samples           : 21169 \n"
      "   - n_lines             : 13500 \n"
      "   - look dirc.          : right \n"
      "   - ellipsoid_a         : 6.378137e+06 [m]\n"
      "   - ellipsoid_b         : 6.356752e+06 [m]\n"
      "   - local_height        : 2.251918e+02 [m]\n";
  const std::string footer = "execution time: SHORT\nend time: TIME\n" + stars;
  // Written before the file's threshold is known.
  const std::string start =
      "DEBUG : quellmark : Found parameter in argument list lfn = log\n"
      "WARN  : quellmark : Configuration file pcf.quellmark does not exist!\n"
      "DEBUG : quellmark : Found parameter in argument list lfl = INFO\n";
  EXPECT_EQ(Masked(scene.Log()),
            start + InfoLines(banner + phases + ExpectedReport(kScene) + footer));
  EXPECT_THAT(run.output, HasSubstr(InfoLines(ExpectedReport(kScene))));
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
  // Line ends of all kinds, Latin-1, NUL, a long line, a last line without its end.
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

TEST(Driver, LongitudesAreWrappedOnceAndLocalHeightIsOptional) {
  SceneRun scene(Without(ScenePool(kScene), "local_height"));
  ASSERT_EQ(scene.Run().exit_status, 0);
  EXPECT_LT(std::stod(ValueOf(scene.Pool(), "center_longitude")), -60.0);
  EXPECT_THAT(scene.Log(), HasSubstr("   - local_height        : 0.000000e+00 [m]\n"));
  EXPECT_EQ(ValueOf(scene.Pool(), "inc_angle_center"), ValueOf(scene.Pool(), "inc_angle_mid"));
}

TEST(Driver, OneSampleOneLineIsOnePosition) {
  SceneRun scene(Overridden(ScenePool(kScene),
                            {Entry("n_samples", "INT_32", "1"), Entry("n_lines", "INT_32", "1")}));
  ASSERT_EQ(scene.Run().exit_status, 0);
  const std::string pool = scene.Pool();
  for (const char* key : {"first_near_lon", "first_far_lon", "last_near_lon", "last_far_lon"}) {
    EXPECT_EQ(ValueOf(pool, key), ValueOf(pool, "center_longitude")) << key;
  }
  EXPECT_EQ(ValueOf(pool, "fm_rate_near"), ValueOf(pool, "fm_rate_far"));
}

// The same orbit under every pool representation: a reference time and the epochs after it, as the
// time type's own texts.
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

// Seconds of the scene's epochs after its reference time, which is a whole minute of their hour.
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

// How many degrees a corner may be off. Seven digits are written: 1.5e-5 of a longitude. The spline
// suffers from its ends. A single-precision coordinate steps by 0.5 m, which a fit enlarges.
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

TEST(Driver, EveryOrbitAndInterpolationLocatesEveryScene) {
  for (const std::string name : kSceneNames) {
    const std::string pool = ScenePool(name);
    const std::vector<double> seconds = EpochsOf(pool);
    const auto expected = SceneResultsTable(name);
    for (const TimeKind& time : kTimeKinds) {
      std::string epochs = Format("orbit_time STR_V 0 %zu\n {\n", seconds.size());
      for (const double t : seconds) epochs += "  " + Quoted(time.epoch(t)) + "\n";
      for (const std::string number : {"double", "float"}) {
        const std::string representation = "orbit_pool_" + number + "_" + time.name;
        for (const InterpolationKind& kind : kInterpolations) {
          SCOPED_TRACE(name + " " + representation + " " + kind.text);
          SceneRun scene(Overridden(
              pool,
              {Entry("orbit_representation", "STR", Quoted(representation)),
               Entry("orbit_interpolation", "STR", Quoted(kind.text)),
               Entry("orbit_reference_time", "STR", Quoted(time.reference)), epochs + " }\n"}));
          const int status = scene.Run().exit_status;
          if (name == kScene && std::string_view(kind.text) == "everett_6") {
            // The epochs of this scene wobble by a microsecond.
            EXPECT_EQ(status, 1);
            EXPECT_THAT(scene.Log(), HasSubstr("only possible on equidistant grid.\n"));
            continue;
          }
          ASSERT_EQ(status, 0) << scene.Log();
          const double tolerance =
              number == "float" ? kind.float_tolerance_deg : kind.tolerance_deg;
          for (const auto& [key, value] : expected) {
            if (key.find("lon") == std::string::npos && key.find("lat") == std::string::npos)
              continue;
            EXPECT_NEAR(std::stod(ValueOf(scene.Pool(), key)), value, tolerance) << key;
          }
        }
      }
    }
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

  WriteFile(with.directory / "tile0.srf", "too short");
  EXPECT_EQ(with.Run({"-USE_DEM", "true", "-DEM_FILE", "dem.pool"}).exit_status, 1);
  EXPECT_THAT(with.Log(), HasSubstr("MEM_MGR: can not read header from: "));
}

TEST(Driver, InfoRequestsTouchNoFile) {
  const TempDir directory;
  const ProgramRun help = RunProgram(QM_PROGRAM, {"--help"}, directory.Path());
  EXPECT_EQ(help.exit_status, 0);
  EXPECT_THAT(help.output, HasSubstr("-SCENE_POOL FILE"));
  const ProgramRun version = RunProgram(QM_PROGRAM, {"--version"}, directory.Path());
  EXPECT_EQ(version.exit_status, 0);
  EXPECT_EQ(version.output, std::string(kFullVersion) + "\n");
  EXPECT_TRUE(std::filesystem::is_empty(directory.Path()));
}

}  // namespace
}  // namespace quellmark::test
