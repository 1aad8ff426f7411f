#include <array>
#include <cmath>

#include "toolbox/check/findings.h"
#include <quellmark/error.h>
#include <quellmark/scene.h>

namespace quellmark::check {

namespace {

std::size_t LineOf(const Pool& pool, std::string_view key) {
  const Entry* const entry = pool.Find(key);
  return entry == nullptr ? 0 : entry->line;
}

// A value that the step does not check, with its usual range and likely mistakes outside it.
struct Plausible {
  std::string_view key;
  double SceneParameters::*value;
  double least;
  double most;
  std::string_view unit;
  double mistake_factor;  // if value times this is plausible, the unit is probably wrong
  std::string_view mistaken_unit;
};

constexpr std::array kPlausible = {
    Plausible{"prf", &SceneParameters::prf_hz, 10.0, 1e5, "Hz", 1e3, "kHz"},
    Plausible{"range_sampling_frequency", &SceneParameters::range_sampling_frequency_hz, 1e6, 5e9,
              "Hz", 1e6, "MHz"},
    Plausible{"radar_frequency", &SceneParameters::radar_frequency_hz, 1e8, 1e11, "Hz", 1e9, "GHz"},
    Plausible{"first_rg_time", &SceneParameters::first_range_time_s, 1e-4, 0.05, "s", 1e-3, "ms"},
};

constexpr double kLowestGround_m = -500.0;
constexpr double kHighestGround_m = 9000.0;

bool IsWithin(double value, const Plausible& row) {
  return value >= row.least && value <= row.most;
}

void CheckPlausible(const Pool& pool, const SceneParameters& parameters, Findings& findings) {
  for (const Plausible& row : kPlausible) {
    const double value = parameters.*row.value;
    if (IsWithin(value, row)) continue;
    std::string message = Text(value) + ' ' + std::string(row.unit) + " is not plausible";
    if (IsWithin(value * row.mistake_factor, row)) {
      message += "; is it in " + std::string(row.mistaken_unit) + "?";
    }
    findings.Warning(LineOf(pool, row.key), row.key, message);
  }
  const double height = parameters.local_height_m;
  if (height < kLowestGround_m || height > kHighestGround_m) {
    findings.Warning(LineOf(pool, "local_height"), "local_height",
                     Text(height) + " m is no height of land or sea");
  } else if (height != 0.0 && std::abs(height) < kHighestGround_m / 1e3 &&
             height != std::round(height) && std::abs(height) < 1.0) {
    findings.Warning(LineOf(pool, "local_height"), "local_height",
                     Text(height) + " m is next to nothing; is it in km?");
  }
}

void CheckCoverage(const Pool& pool, const Scene& scene, Findings& findings) {
  // The velocity of the last line uses a second point this long after it.
  constexpr double kTimeStep_s = 0.01;
  const TimeInterval orbit = scene.SensorOrbit().Coverage();
  const double first = scene.AzimuthTimeOf(0.0);
  const double last = scene.AzimuthTimeOf(scene.Parameters().lines - 1.0) + kTimeStep_s;
  if (first < orbit.first_s) {
    findings.Error(
        LineOf(pool, "first_az_time"), "first_az_time",
        "the first line is " + Text(orbit.first_s - first) + " s before the first state vector");
  }
  if (last > orbit.last_s) {
    findings.Error(
        LineOf(pool, "n_lines"), "n_lines",
        "the last line is " + Text(last - orbit.last_s) + " s after the last state vector");
  }
}

// The allowed distance of a result from the computed one: the rounding to the digits in the file
// and to single precision, for western longitudes before 360 degrees are subtracted.
double ToleranceOf(const ResultField& field, double value) {
  constexpr double kFloatSteps = 1.2e-7;
  constexpr double kDoubleSteps = 1e-9;
  const bool is_western = value < 0.0 && field.key.find("_lon") != std::string_view::npos;
  const double rounded = is_western ? value + 360.0 : std::abs(value);
  return rounded * (field.is_float ? kFloatSteps : kDoubleSteps) + (field.is_float ? 1e-9 : 0.0);
}

std::optional<double> NumberIn(const Pool& pool, const Entry& entry) {
  const Value value = pool.Parse(entry);
  if (const auto* const number = std::get_if<float>(&value)) return *number;
  if (const auto* const number = std::get_if<double>(&value)) return *number;
  return std::nullopt;
}

void CheckResults(const Pool& pool, const Scene& scene, Findings& findings) {
  const SceneResults results = scene.Results();
  std::size_t found = 0;
  for (const ResultField& field : kResultFields) {
    const Entry* const entry = pool.Find(field.key);
    if (entry == nullptr || findings.HasError(field.key)) continue;
    ++found;
    const std::optional<double> stored = NumberIn(pool, *entry);
    const double computed = results.*field.value;
    if (!stored) {
      findings.Warning(entry->line, field.key, "is no number; the step replaces it");
    } else if (!(std::abs(*stored - computed) <= ToleranceOf(field, computed))) {
      findings.Warning(entry->line, field.key,
                       "is stale: the pool has changed since, now it is " + Text(computed) +
                           ", off by " + Text(computed - *stored));
    }
  }
  if (found != 0 && found != kResultFields.size()) {
    findings.Warning(0, "",
                     "holds " + std::to_string(found) + " of the " +
                         std::to_string(kResultFields.size()) + " results; the rest is missing");
  }
}

}  // namespace

void CheckScene(const Pool& pool, Findings& findings) {
  try {
    const Scene scene = Scene::Open(pool.Path());
    CheckPlausible(pool, scene.Parameters(), findings);
    CheckCoverage(pool, scene, findings);
    CheckResults(pool, scene, findings);
  } catch (const Error& error) {
    // A failure of the step is an error here too, unless another finding has explained it.
    if (findings.HasError()) return;
    findings.Error(error.Line(), error.Key(),
                   error.LogLines().empty() ? error.what() : error.LogLines().back());
  }
}

}  // namespace quellmark::check
