#include "app/plausibility.h"

#include <algorithm>
#include <cmath>

#include "runtime/log.h"

namespace quellmark::app {
namespace {

using runtime::LogLevel;
using runtime::LogLine;

void WarnUnlessPositive(const char* name, double frequency_hz) {
  if (std::isfinite(frequency_hz) && frequency_hz > 0.0) return;
  LogLine(LogLevel::kQaWarning, name, " ", frequency_hz, " [Hz] is not positive\n");
}

void WarnOfRadarFrequency(double frequency_hz) {
  constexpr double kLowest_hz = 0.1e9;
  constexpr double kHighest_hz = 100e9;
  if (frequency_hz >= kLowest_hz && frequency_hz <= kHighest_hz) return;
  LogLine(LogLevel::kQaWarning, "radar_frequency ", frequency_hz,
          " [Hz] is not between 0.1 and 100 GHz\n");
}

void WarnOfLinesBeyondOrbit(const SAR_SCENE& scene) {
  constexpr double kVelocityStep_s = 0.01;  // a line's velocity uses the orbit this much later, too
  // Time texts have microseconds; a smaller difference is rounding.
  constexpr double kResolution_s = 1e-6;
  const SceneParameters& p = scene.Parameters();
  const double first_s = p.first_azimuth_time_s + scene.OrbitTimeOrigin();
  const double last_s = first_s + (p.n_lines - 1) / p.prf_hz;
  const orbit::CoveredInterval covered = p.orbit.Coverage();
  const double before_s = covered.first_s - std::min(first_s, last_s);
  const double after_s = std::max(first_s, last_s) + kVelocityStep_s - covered.last_s;
  if (before_s > kResolution_s || after_s > kResolution_s) {
    LogLine(LogLevel::kQaWarning,
            "the image lines reach beyond the state vectors: ", std::max(before_s, 0.0),
            " [s] before the first, ", std::max(after_s, 0.0), " [s] after the last\n");
  }
}

// Whether a point lies within the outermost values of a tile (counted from 0) or less than one cell
// beside them.
bool TileCovers(const DEM_DESCRIPTOR& dem, int tile, double longitude_deg, double latitude_deg) {
  const TUPLE<int>& north_west = dem.upper_left[dem.upper_left.First() + tile];
  const TUPLE<int>& south_east = dem.lower_right[dem.lower_right.First() + tile];
  const double west = (north_west.First() - 1) * dem.lon_res_deg;
  const double east = (south_east.First() + 2) * dem.lon_res_deg;
  const double south = (south_east.Second() - 1) * dem.lat_res_deg;
  const double north = (north_west.Second() + 2) * dem.lat_res_deg;
  const double east_of_edge =
      longitude_deg - west - 360.0 * std::floor((longitude_deg - west) / 360.0);
  return east_of_edge <= east - west && latitude_deg >= south && latitude_deg <= north;
}

}  // namespace

void WarnOfImplausibleScene(const SAR_SCENE& scene) {
  const SceneParameters& p = scene.Parameters();
  WarnUnlessPositive("prf", p.prf_hz);
  WarnUnlessPositive("range_sampling_frequency", p.range_sampling_frequency_hz);
  WarnOfRadarFrequency(p.radar_frequency_hz);
  WarnOfLinesBeyondOrbit(scene);
}

void WarnOfDemBesideCentre(const SAR_SCENE& scene, double longitude_deg, double latitude_deg) {
  if (scene.Dem() == nullptr) return;
  const DEM_DESCRIPTOR& dem = scene.Dem()->Descriptor();
  const int tiles = dem.upper_left.Length();
  for (int tile = 0; tile < tiles; ++tile) {
    if (TileCovers(dem, tile, longitude_deg, latitude_deg)) return;
  }
  if (tiles == 0) return;  // a single file without corners
  LogLine(LogLevel::kQaWarning, "the DEM does not cover the scene centre at longitude ",
          longitude_deg, ", latitude ", latitude_deg, " [deg]\n");
}

}  // namespace quellmark::app
