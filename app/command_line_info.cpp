#include "app/command_line_info.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

#include "app/version.h"
#include "runtime/log.h"

namespace quellmark::app {

namespace {

using runtime::LogLevel;

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

constexpr std::array<std::string_view, 10> kParameters = {
    "log_pp", "SCENE_POOL", "USE_DEM", "DEM_FILE", "pid", "status", "pcf", "lfn", "lfl", "lsl"};

bool IsParameter(std::string_view argument) {
  return argument.starts_with('-') &&
         std::ranges::find(kParameters, argument.substr(1)) != kParameters.end();
}

// The number of letters to insert, leave out or replace to turn one name into the other. Upper and
// lower case count as equal.
std::size_t Distance(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; };
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (const char letter : a) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = diagonal + (lower(letter) == lower(b[j - 1]) ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row.back();
}

std::string_view NearestParameter(std::string_view argument) {
  argument = argument.substr(0, 64);  // no name is this long, and a value may be huge
  argument.remove_prefix(std::min(argument.find_first_not_of('-'), argument.size()));
  return *std::ranges::min_element(
      kParameters, {}, [argument](std::string_view name) { return Distance(argument, name); });
}

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
  if (argc < 2) return std::nullopt;
  for (int i = 1; i + 1 < argc; ++i) {
    if (IsParameter(argv[i])) return std::nullopt;
  }
  const std::string_view argument = argv[1];
  const VERSION_RECORD version = ProgramVersion();
  if (argument == "--help" || argument == "-h") {
    return Print(version.ProgramName(), " ", version.version, ": ", version.title, "\n\n", kUsage);
  }
  if (argument == "--version") {
    return Print(version.full_version, "\n", version.ProgramName(), " ", version.version,
                 ", built ", runtime::BuildDate(), " by ", runtime::CompilerName(), "\n",
                 "The first line is the text under which the processing chain archives this step.\n"
                 "It stays as it is: its compiler and its date are not those of this build.\n");
  }
  return std::nullopt;
}

void WarnOfUnknownArguments(int argc, const char* const* argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    const bool is_last = i + 1 == argc;
    if (IsParameter(argument)) {
      if (is_last) {
        runtime::LogLine(LogLevel::kWarning, "argument ", argument, " has no value: not used\n");
      }
      ++i;
      continue;
    }
    runtime::LogLine(LogLevel::kWarning, "argument ", argument,
                     " names no parameter of this program; the nearest is -",
                     NearestParameter(argument), "\n");
    // The argument after an unknown name is taken for its value.
    if (argument.starts_with('-') && !is_last && argv[i + 1][0] != '-') ++i;
  }
}

}  // namespace quellmark::app
