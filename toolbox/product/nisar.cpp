// NISAR: range-Doppler single look complex products (RSLC), HDF5.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <numeric>

#include "toolbox/product/ground_range.h"
#include "toolbox/product/hdf5_file.h"
#include "toolbox/product/missions.h"

namespace quellmark::product {

namespace {

// The groups of the two radars, and the names of the product's group in this version and earlier
// ones.
constexpr std::array kRadars = {"/science/LSAR", "/science/SSAR"};
constexpr std::array kProducts = {"/RSLC", "/SLC"};
constexpr std::array kFrequencies = {"/swaths/frequencyA", "/swaths/frequencyB"};

// Names in the radar's group.
constexpr struct {
  const char* mission = "/identification/missionId";
  const char* pass = "/identification/orbitPassDirection";
  const char* look_side = "/identification/lookDirection";
} kIdentification;

// Names in the product's group.
constexpr struct {
  const char* line_times_s = "/swaths/zeroDopplerTime";
  const char* line_spacing_s = "/swaths/zeroDopplerTimeSpacing";
  const char* orbit_times_s = "/metadata/orbit/time";
  const char* orbit_positions_m = "/metadata/orbit/position";
  const char* orbit_velocities_m_s = "/metadata/orbit/velocity";
  const char* orbit_type = "/metadata/orbit/orbitType";
  const char* height_m = "/metadata/processingInformation/parameters/referenceTerrainHeight";
} kFields;

// Names in the frequency's group.
constexpr struct {
  const char* slant_ranges_m = "/slantRange";
  const char* slant_range_spacing_m = "/slantRangeSpacing";
  const char* radar_frequency_hz = "/processedCenterFrequency";
} kSwath;

// Returns the first of the `names` in `parent` that the file has.
template <std::size_t n>
std::string FirstOf(const Hdf5File& file, const std::string& parent,
                    const std::array<const char*, n>& names) {
  for (const char* name : names) {
    if (file.Has(parent + name)) return parent + name;
  }
  file.Fail(parent + names[0], "is missing");
}

// Returns the zero of times with a unit like "seconds since 2021-07-01 00:00:00".
UtcTime TimeOrigin(const Hdf5File& file, const std::string& path) {
  constexpr std::string_view kBefore = "seconds since ";
  const std::string units = file.TextOfAttribute(path, "units");
  const auto origin = units.starts_with(kBefore)
                          ? ParseUtc(std::string_view(units).substr(kBefore.size()))
                          : std::nullopt;
  if (!origin) file.Fail(path + "@units", "\"" + units.substr(0, 60) + "\" names no time");
  return *origin;
}

// Reads times and checks that they are small enough for Shifted().
std::vector<double> Seconds(const Hdf5File& file, const std::string& path) {
  constexpr double kMost_s = 1e10;
  std::vector<double> times = file.Numbers(path);
  if (file.ShapeOf(path).size() != 1) file.Fail(path, "is no list");
  if (!std::ranges::all_of(times, [](double t) { return t > -kMost_s && t < kMost_s; })) {
    file.Fail(path, "has times centuries away");
  }
  return times;
}

double Positive(const Hdf5File& file, const std::string& path) {
  const double number = file.Number(path);
  if (!(number > 0.0)) file.Fail(path, "is not positive");
  return number;
}

Sourced<std::vector<StateVector>> ReadOrbit(const Hdf5File& file, const std::string& product) {
  const std::string times_path = product + kFields.orbit_times_s;
  const UtcTime origin = TimeOrigin(file, times_path);
  const std::vector<double> times_s = Seconds(file, times_path);
  const auto rows_of_three = [&](const char* field) {
    const std::string path = product + field;
    if (file.ShapeOf(path) != Hdf5File::Shape{times_s.size(), 3}) {
      file.Fail(path, "does not have three numbers for each of the " +
                          std::to_string(times_s.size()) + " times in " + kFields.orbit_times_s);
    }
    return file.Numbers(path);
  };
  const std::vector<double> positions = rows_of_three(kFields.orbit_positions_m);
  const std::vector<double> velocities = rows_of_three(kFields.orbit_velocities_m_s);

  Sourced<std::vector<StateVector>> orbit{{}, product + "/metadata/orbit"};
  for (std::size_t i = 0; i < times_s.size(); ++i) {
    orbit.value.push_back({Shifted(origin, times_s[i]),
                           {positions[3 * i], positions[3 * i + 1], positions[3 * i + 2]},
                           {velocities[3 * i], velocities[3 * i + 1], velocities[3 * i + 2]}});
  }
  return orbit;
}

void SetAzimuth(const Hdf5File& file, const std::string& product, SceneDescription& scene) {
  const std::string path = product + kFields.line_times_s;
  const std::vector<double> times_s = Seconds(file, path);
  const std::string spacing_path = product + kFields.line_spacing_s;
  scene.n_lines = {static_cast<std::int32_t>(times_s.size()), "size of " + path};
  scene.first_line = {Shifted(TimeOrigin(file, path), times_s.front()), path};
  scene.prf_hz = {1.0 / Positive(file, spacing_path), "inverse of " + spacing_path};
}

void SetRange(const Hdf5File& file, const std::string& swath, SceneDescription& scene) {
  const std::string path = swath + kSwath.slant_ranges_m;
  const std::vector<double> ranges_m = file.Numbers(path);
  if (file.ShapeOf(path).size() != 1) file.Fail(path, "is no list");
  const std::string spacing_path = swath + kSwath.slant_range_spacing_m;
  scene.n_samples = {static_cast<std::int32_t>(ranges_m.size()), "size of " + path};
  scene.first_range_time_s = {2.0 * ranges_m.front() / kSpeedOfLight_m_s, path};
  scene.range_sampling_frequency_hz = {kSpeedOfLight_m_s / (2.0 * Positive(file, spacing_path)),
                                       spacing_path};
  const std::string frequency_path = swath + kSwath.radar_frequency_hz;
  scene.radar_frequency_hz = {file.Number(frequency_path), frequency_path};
}

SceneDescription ReadFile(const std::filesystem::path& path) {
  const Hdf5File file(path);
  const std::string radar = FirstOf(file, "", kRadars);
  const std::string product = FirstOf(file, radar, kProducts);
  const std::string swath = FirstOf(file, product, kFrequencies);

  SceneDescription scene;
  const std::string mission = file.Text(radar + kIdentification.mission);
  scene.mission = mission == "NISAR" ? mission : "NISAR format, mission " + mission;
  scene.product = "RSLC, " + file.Text(radar + kIdentification.pass) + " pass, orbit " +
                  file.Text(product + kFields.orbit_type);
  SetAzimuth(file, product, scene);
  SetRange(file, swath, scene);

  const std::string look_path = radar + kIdentification.look_side;
  const std::string look = file.Text(look_path);
  const auto side = ParseLookSide(look);
  if (!side) file.Fail(look_path, "\"" + look.substr(0, 60) + "\" is no look direction");
  scene.look_side = {*side, look_path};

  const std::string height_path = product + kFields.height_m;
  if (file.Has(height_path)) {
    const std::vector<double> heights_m = file.Numbers(height_path);
    scene.local_height_m = {std::accumulate(heights_m.begin(), heights_m.end(), 0.0) /
                                static_cast<double>(heights_m.size()),
                            "mean of " + height_path};
  } else {
    scene.remarks.push_back("The product names no height of its ground (" + height_path +
                            " is missing): points are located on the ellipsoid.");
  }
  scene.orbit = ReadOrbit(file, product);
  scene.orbit_interpolation = "localhermite_7_4";
  return scene;
}

// The HDF5 library reads beyond its buffers in some damaged files, and never ends with others. So a
// child process reads the file first. It reports no failure of the file, but it may crash or be
// ended without harm.
void Rehearse(const std::filesystem::path& path) {
  const pid_t child = ::fork();
  if (child < 0) throw ImportError(path, "", "no process can be started to try the file");
  if (child == 0) {
    constexpr rlim_t kMost_s = 20;
    const rlimit time{kMost_s, kMost_s};
    const rlimit core{0, 0};
    ::setrlimit(RLIMIT_CPU, &time);
    ::setrlimit(RLIMIT_CORE, &core);
    const int null = ::open("/dev/null", O_WRONLY);
    if (null >= 0) ::dup2(null, STDERR_FILENO);
    try {
      static_cast<void>(ReadFile(path));
    } catch (const std::exception&) {
      // The parent process gets the same exception when it reads the file, and reports it.
    }
    ::_exit(0);
  }
  int status = 0;
  pid_t ended = 0;
  do {
    ended = ::waitpid(child, &status, 0);
  } while (ended < 0 && errno == EINTR);
  if (ended == child && status != 0) {
    throw ImportError(path, "", "is damaged: the HDF5 library does not survive it");
  }
}

}  // namespace

SceneDescription ReadNisar(const std::filesystem::path& path) {
  Rehearse(path);
  return ReadFile(path);
}

}  // namespace quellmark::product
