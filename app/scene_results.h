// The 23 results of a scene: their computation, their report in the log, their keys in the pool.
#pragma once

#include "app/sar_scene.h"
#include "pool/parameter_pool_read_write_change.h"

namespace quellmark::app {

/// Geodetic coordinates [deg], in the precision of the pool's entries.
struct GeoCoordinates {
  float longitude = 0.0F;
  float latitude = 0.0F;
};

/// The results at one slant range of the middle line.
struct RangePosition {
  float incidence_deg = 0.0F;
  double zero_doppler_velocity_ms = 0.0;
  double b_param = 0.0;  ///< [m^2/s^2]
  double fm_rate = 0.0;  ///< [1/s^2]
};

/// "first" and "last" are image lines, "near" and "far" samples. Longitudes are at most 180.
struct SceneResults {
  GeoCoordinates center;
  GeoCoordinates first_near;
  GeoCoordinates first_far;
  GeoCoordinates last_near;
  GeoCoordinates last_far;
  RangePosition near;
  RangePosition mid;  ///< equals the centre's values
  RangePosition far;
};

/// Locates centre, corners, near and far range of the initialised scene.
[[nodiscard]] SceneResults LocateScene(SAR_SCENE& scene);

/// Writes the report to the log, level INFO. Units are Latin-1 bytes on purpose: readers of the log
/// expect them.
void LogResults(const SceneResults& results);

/// Sets the result keys in the pool, in the order in which they are documented.
void SetResults(const SceneResults& results, PARAMETER_POOL_READ_WRITE_CHANGE& pool);

}  // namespace quellmark::app
