#include <array>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <optional>

#include "toolbox/check/findings.h"
#include "toolbox/check/spelling.h"
#include <quellmark/error.h>
#include <quellmark/orbit.h>
#include <quellmark/scene.h>
#include <quellmark/time.h>

namespace quellmark::check {

namespace {

using Coordinates = std::vector<Vector<double>>;

// The state vectors of a pool.
struct Samples {
  const Entry* epoch_entry = nullptr;
  std::vector<double> epochs_s;  // after an arbitrary time
  const Entry* position_entry = nullptr;
  Coordinates positions;
  const Entry* velocity_entry = nullptr;
  Coordinates velocities;  // empty if the pool has none
};

// The first element of a body stands two lines below the key.
std::size_t LineOfElement(const Entry& entry, std::size_t index) { return entry.line + 2 + index; }

template <class T>
std::optional<T> TryGet(const Pool& pool, std::string_view key) {
  try {
    if (pool.Has(key)) return pool.Get<T>(key);
  } catch (const PoolError&) {  // the check of the entries has reported it
  }
  return std::nullopt;
}

constexpr std::array<std::string_view, 9> kRepresentations = {
    "orbit_pool_float_double",  "orbit_pool_float_utc",  "orbit_pool_float_met",
    "orbit_pool_double_double", "orbit_pool_double_utc", "orbit_pool_double_met",
    "orbit_mdb_double_double",  "orbit_mdb_double_utc",  "orbit_mdb_double_met"};

bool CheckRepresentation(const Pool& pool, Findings& findings) {
  const auto name = TryGet<std::string>(pool, "orbit_representation");
  if (!name) return false;
  std::string message = "'" + *name + "' is no kind of orbit";
  for (const std::string_view known : kRepresentations) {
    if (*name == known) return true;
  }
  for (const std::string_view known : kRepresentations) {
    if (!IsMisspelt(*name, known)) continue;
    message += "; is '" + std::string(known) + "' meant?";
    break;
  }
  const Entry* const entry = pool.Find("orbit_representation");
  findings.Error(entry->line, entry->key, message);
  return false;
}

// Returns the seconds in "+0012/05:25:19.000000" (days, hours, minutes, seconds).
std::optional<double> MissionSeconds(const std::string& text) {
  int days = 0;
  int hours = 0;
  int minutes = 0;
  double seconds = 0.0;
  if (std::sscanf(text.c_str(), "%d/%d:%d:%lf", &days, &hours, &minutes, &seconds) != 4) {
    return std::nullopt;
  }
  return ((days * 24.0 + hours) * 60.0 + minutes) * 60.0 + seconds;
}

std::optional<double> EpochSeconds(const std::string& text, bool is_utc, bool is_mission) {
  try {
    if (is_utc) return SecondsFromUtc(text);
  } catch (const ArgumentError&) {
    return std::nullopt;
  }
  if (is_mission && text.find('/') != std::string::npos) return MissionSeconds(text);
  char* end = nullptr;
  const double seconds = std::strtod(text.c_str(), &end);
  if (end == text.c_str() || *end != '\0') return std::nullopt;
  return seconds;
}

bool ReadEpochs(const Pool& scene, const Pool& data, Samples& samples, Findings& findings) {
  const auto key = TryGet<std::string>(scene, "orbit_param_key");
  const auto representation = TryGet<std::string>(scene, "orbit_representation");
  if (!key || !representation) return false;
  samples.epoch_entry = data.Find(*key);
  if (samples.epoch_entry == nullptr) {
    const Entry* const naming = scene.Find("orbit_param_key");
    findings.Error(naming->line, naming->key, "there is no entry '" + *key + "' with the epochs");
    return false;
  }
  if (auto seconds = TryGet<Vector<double>>(data, *key)) {
    samples.epochs_s = std::move(seconds->values);
    return true;
  }
  const auto texts = TryGet<Vector<std::string>>(data, *key);
  if (!texts) return false;
  for (std::size_t i = 0; i < texts->values.size(); ++i) {
    const std::string& text = texts->values[i];
    const auto seconds =
        EpochSeconds(text, representation->ends_with("_utc"), representation->ends_with("_met"));
    if (!seconds) {
      findings.Error(LineOfElement(*samples.epoch_entry, i), *key,
                     "'" + text + "' is no epoch of an orbit '" + *representation + "'");
      return false;
    }
    samples.epochs_s.push_back(*seconds);
  }
  return true;
}

bool ReadCoordinates(const Pool& scene, const Pool& data, std::string_view naming_key,
                     const Samples& samples, const Entry*& first, Coordinates& coordinates,
                     Findings& findings) {
  const auto keys = TryGet<Vector<std::string>>(scene, naming_key);
  if (!keys) return false;
  const Entry* const naming = scene.Find(naming_key);
  constexpr std::size_t kDimensions = 3;
  if (keys->values.size() != kDimensions) {
    findings.Error(naming->line, naming_key,
                   "names " + std::to_string(keys->values.size()) + " entries; three are read");
    return false;
  }
  for (const std::string& key : keys->values) {
    const Entry* const entry = data.Find(key);
    if (entry == nullptr) {
      findings.Error(naming->line, naming_key, "there is no entry '" + key + "'");
      return false;
    }
    auto values = TryGet<Vector<double>>(data, key);
    if (!values) return false;
    if (values->values.size() != samples.epochs_s.size()) {
      findings.Error(entry->line, key,
                     "has " + std::to_string(values->values.size()) + " values for " +
                         std::to_string(samples.epochs_s.size()) + " epochs");
      return false;
    }
    if (first == nullptr) first = entry;
    coordinates.push_back(std::move(*values));
  }
  return true;
}

double LengthOf(const Coordinates& coordinates, std::size_t i) {
  return std::hypot(coordinates[0].values[i], coordinates[1].values[i], coordinates[2].values[i]);
}

void CheckEpochs(const Samples& samples, Findings& findings) {
  const std::vector<double>& epochs = samples.epochs_s;
  const std::string_view key = samples.epoch_entry->key;
  std::vector<double> steps;
  for (std::size_t i = 1; i < epochs.size(); ++i) steps.push_back(epochs[i] - epochs[i - 1]);
  if (steps.empty()) return;
  std::vector<double> sorted = steps;
  const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
  std::nth_element(sorted.begin(), middle, sorted.end());
  constexpr double kGap = 1.5;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const std::size_t line = LineOfElement(*samples.epoch_entry, i + 1);
    if (steps[i] == 0.0) {
      findings.Error(line, key, "the epoch repeats the one before it");
    } else if (steps[i] < 0.0) {
      findings.Error(line, key, "the epoch is " + Text(-steps[i]) + " s before the one before it");
    } else if (*middle > 0.0 && steps[i] > kGap * *middle) {
      findings.Warning(
          line, key,
          "a gap of " + Text(steps[i]) + " s where the others are " + Text(*middle) + " s apart");
    }
  }
}

struct Magnitude {
  const char* what;
  const char* unit;
  double least;
  double most;
};
constexpr Magnitude kRadius = {"radius", "m", 6.4e6, 5e7};
constexpr Magnitude kSpeed = {"speed", "m/s", 1e3, 1.2e4};

void CheckMagnitude(const Magnitude& usual, const Entry& entry, const Coordinates& coordinates,
                    Findings& findings) {
  for (std::size_t i = 0; i < coordinates[0].values.size(); ++i) {
    const double length = LengthOf(coordinates, i);
    if (length >= usual.least && length <= usual.most) continue;
    std::string message = std::string("a ") + usual.what + " of " + Text(length) + ' ' +
                          usual.unit + " is not plausible";
    if (length * 1e3 >= usual.least && length * 1e3 <= usual.most) {
      message += std::string("; is it in k") + usual.unit + "?";
    }
    findings.Warning(LineOfElement(entry, i), entry.key, message);
    return;
  }
}

std::vector<StateVector> StateVectorsOf(const Samples& samples, double first_s) {
  std::vector<StateVector> states(samples.epochs_s.size());
  for (std::size_t i = 0; i < states.size(); ++i) {
    states[i].time_s = first_s + (samples.epochs_s[i] - samples.epochs_s[0]);
    for (std::size_t k = 0; k < 3; ++k) states[i].position_m[k] = samples.positions[k].values[i];
  }
  return states;
}

// Returns the distance on the ground between nearby points, in metres.
double DistanceOf(const Location& a, const Location& b) {
  constexpr double kMetresPerDegree = 111e3;
  const double east = std::remainder(a.longitude_deg - b.longitude_deg, 360.0) *
                      std::cos(a.latitude_deg * std::numbers::pi / 180.0);
  return std::hypot(a.latitude_deg - b.latitude_deg, east) * kMetresPerDegree;
}

// Returns how far the scene's centre moves if only the positions are interpolated.
double ShiftWithoutVelocities_m(const Scene& scene, const Samples& samples,
                                const char* interpolation) {
  const double first_s = scene.SensorOrbit().Coverage().first_s;
  const Scene without(scene.Parameters(),
                      Orbit::FromStateVectors(StateVectorsOf(samples, first_s), interpolation));
  const SceneParameters& image = scene.Parameters();
  const std::int32_t sample = image.samples / 2;
  const std::int32_t line = image.lines / 2;
  return DistanceOf(scene.Locate(sample, line), without.Locate(sample, line));
}

struct Misfit {
  double largest_ms = 0.0;
  std::size_t at = 0;
};

// Returns how far the velocities are from the slope of the positions, at the state vectors
// from..to-1.
Misfit MisfitOf(const Samples& samples, const char* interpolation, std::size_t from,
                std::size_t to) {
  const Orbit orbit = Orbit::FromStateVectors(StateVectorsOf(samples, 0.0), interpolation);
  Misfit misfit;
  for (std::size_t i = from; i < to; ++i) {
    const OrbitState state = orbit.StateAt(samples.epochs_s[i] - samples.epochs_s[0]);
    const double difference = std::hypot(samples.velocities[0].values[i] - state.velocity_ms[0],
                                         samples.velocities[1].values[i] - state.velocity_ms[1],
                                         samples.velocities[2].values[i] - state.velocity_ms[2]);
    if (difference > misfit.largest_ms) misfit = {difference, i};
  }
  return misfit;
}

void CheckVelocities(const Pool& pool, const Samples& samples, Findings& findings) {
  constexpr const char* kInterpolation = "localpolynom_7_8";
  constexpr std::size_t kPoints = 8;
  constexpr double kUsualMisfit_ms = 0.05;
  const std::vector<double>& epochs = samples.epochs_s;
  if (epochs.size() < kPoints) return;  // too few for a reliable slope
  try {
    const Scene scene = Scene::Open(pool.Path());
    // Two state vectors on either side of the scene determine its location. At the ends of the
    // orbit the slope is uncertain.
    const double first_s = scene.SensorOrbit().Coverage().first_s - epochs[0];
    const double last_line = scene.Parameters().lines - 1.0;
    const auto first =
        std::lower_bound(epochs.begin(), epochs.end(), scene.AzimuthTimeOf(0.0) - first_s) -
        epochs.begin();
    const auto last =
        std::upper_bound(epochs.begin(), epochs.end(), scene.AzimuthTimeOf(last_line) - first_s) -
        epochs.begin();
    const auto end = static_cast<std::ptrdiff_t>(epochs.size()) - 2;
    const Misfit misfit =
        MisfitOf(samples, kInterpolation,
                 static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(first - 2, 2, end)),
                 static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(last + 2, 2, end)));
    if (misfit.largest_ms <= kUsualMisfit_ms) return;
    findings.Warning(LineOfElement(*samples.velocity_entry, misfit.at), samples.velocity_entry->key,
                     "velocities around the scene are up to " + Text(misfit.largest_ms) +
                         " m/s off the slope of the positions; with the positions alone the "
                         "scene's centre lies " +
                         Text(ShiftWithoutVelocities_m(scene, samples, kInterpolation)) +
                         " m away");
  } catch (const Error&) {  // the scene cannot be located, which another check reports
  }
}

}  // namespace

void CheckOrbit(const Pool& pool, Findings& findings) {
  Pool data = pool;
  if (const auto file = TryGet<std::string>(pool, "orbit_data_file"); file && *file != "none") {
    try {
      data = Pool::Open(*file);
    } catch (const PoolError&) {
      const Entry* const naming = pool.Find("orbit_data_file");
      findings.Error(naming->line, naming->key, "there is no pool '" + *file + "'");
      return;
    }
  }
  if (!CheckRepresentation(pool, findings)) return;
  Samples samples;
  if (!ReadEpochs(pool, data, samples, findings)) return;
  CheckEpochs(samples, findings);
  if (!ReadCoordinates(pool, data, "orbit_value_key", samples, samples.position_entry,
                       samples.positions, findings)) {
    return;
  }
  CheckMagnitude(kRadius, *samples.position_entry, samples.positions, findings);
  if (!pool.Has("orbit_velocity_key") ||
      !ReadCoordinates(pool, data, "orbit_velocity_key", samples, samples.velocity_entry,
                       samples.velocities, findings)) {
    return;
  }
  CheckMagnitude(kSpeed, *samples.velocity_entry, samples.velocities, findings);
  if (!findings.HasError(samples.epoch_entry->key)) CheckVelocities(pool, samples, findings);
}

}  // namespace quellmark::check
