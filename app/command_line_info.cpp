#include "app/command_line_info.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "app/version.h"

namespace quellmark::app {

namespace {

constexpr std::string_view kUsage =
    "usage: quellmark -log_pp FILE -SCENE_POOL FILE -USE_DEM false\n"
    "       quellmark -log_pp FILE -SCENE_POOL FILE -USE_DEM true -DEM_FILE FILE\n"
    "       quellmark --help | --version\n"
    "\n"
    "Locates the SAR scene that the scene pool describes and writes 23 results (coordinates of\n"
    "centre and corners, incidence angles, zero-Doppler velocities, B-parameters, azimuth FM\n"
    "rates) back into the pool. Exit status: 0 done, 1 failed, 2 STOP file found.\n"
    "\n"
    "  -log_pp FILE       pool in which the run records its software identification\n"
    "  -SCENE_POOL FILE   the scene's parameter pool, read and updated in place\n"
    "  -USE_DEM TEXT      exactly \"false\" goes without a DEM; any other text opens DEM_FILE\n"
    "  -DEM_FILE FILE     DEM descriptor\n"
    "  -pid NAME          process name, used in all file names\n"
    "  -status DIR        directory of the OK., ERROR. and STOP. files\n"
    "  -pcf FILE          configuration file with further parameters\n"
    "  -lfn FILE          log file\n"
    "  -lfl, -lsl LEVEL   thresholds of log file and screen: TRACE ... ALARM, or 1 ... 8\n"
    "\n"
    "A parameter that is given nowhere is asked for at the terminal. See quellmark(1).\n";

template <class... Texts>
int Print(const Texts&... texts) {
  std::string answer;
  (answer.append(texts), ...);
  if (std::fputs(answer.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) return EXIT_SUCCESS;
  std::perror("quellmark: standard output");
  return EXIT_FAILURE;
}

}  // namespace

std::optional<int> AnswerInfoRequest(int argc, const char* const* argv) {
  if (argc != 2) return std::nullopt;
  const std::string_view argument = argv[1];
  const VERSION_RECORD version = ProgramVersion();
  if (argument == "--help") {
    return Print(version.ProgramName(), " ", version.version, ": ", version.title, "\n\n", kUsage);
  }
  if (argument == "--version") return Print(version.full_version, "\n");
  return std::nullopt;
}

}  // namespace quellmark::app
