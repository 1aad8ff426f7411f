// The one object that knows the scene: timing, size, look side, radar frequency, reference
// ellipsoid, local height and orbit.
#pragma once

#include <cstdint>

#include "basic/string.h"
#include "basic/vector_3d.h"
#include "geolocation/ellipsoid_type.h"
#include "geolocation/geolocation_fast.h"
#include "orbit/general_orbit.h"
#include "pool/parameter_pool.h"

/// Built empty, initialised once from the scene's pool, then asked for image positions.
class SAR_SCENE {
 public:
  SAR_SCENE();
  SAR_SCENE(const SAR_SCENE&) = delete;
  SAR_SCENE& operator=(const SAR_SCENE&) = delete;
  ~SAR_SCENE();

  /// Reads timing, size, orbit, look side, local height and radar frequency. Failures of the pool
  /// and of the orbit pass through; a bad look direction or an image without samples or lines
  /// throws ERROR_PARAMETER.
  void ReadFromParameterPool(PARAMETER_POOL& pool);

  /// Opens the DEM document at `path` and keeps it until the process ends. No position is located
  /// on it: every result comes from the ellipsoid at the local height. Deliberate, the chain behind
  /// relies on results that do not depend on the DEM.
  void AttachDem(const STRING& path);

  /// Writes the scene's parameters to the log, level INFO.
  void Print() const;

  [[nodiscard]] std::int32_t GetNumberOfSamples() const { return n_samples_; }
  [[nodiscard]] std::int32_t GetNumberOfLines() const { return n_lines_; }

  /// Locates the image position (sample, line), both from 0: geodetic longitude [0, 360) and
  /// latitude [deg], incidence angle against the ellipsoid normal [deg], zero-Doppler velocity
  /// [m/s], B-parameter [m^2/s^2] and azimuth FM rate [1/s^2]. The orbit must cover the line's time
  /// and 0.01 s after it. Failures of orbit and geolocation pass through.
  void LocatePoint(std::int32_t sample, std::int32_t line, float& longitude, float& latitude,
                   float& incidence, double& zero_doppler_velocity, double& b_param,
                   double& fm_rate);

 private:
  struct OrbitState {
    VECTOR_3D<double> position;      // earth-fixed [m]
    VECTOR_3D<double> velocity;      // [m/s]
    VECTOR_3D<double> acceleration;  // [m/s^2]
  };
  struct GroundPoint {
    VECTOR_3D<double> position;  // earth-fixed [m]
    double longitude_deg = 0.0;
    double latitude_deg = 0.0;
    double incidence_deg = 0.0;
  };

  void ReadLookDirection(PARAMETER_POOL& pool);
  [[nodiscard]] OrbitState OrbitStateAt(double azimuth_time_s) const;
  [[nodiscard]] GroundPoint Geolocate(const OrbitState& sensor, double range_time_s);

  GENERAL_ORBIT<double, VECTOR_3D<double>> orbit_;
  double orbit_time_origin_s_ = 0.0;
  double radar_frequency_hz_ = 0.0;
  double range_sampling_frequency_hz_ = 0.0;
  double prf_hz_ = 0.0;
  double first_range_time_s_ = 0.0;  // two-way, of sample 0
  double first_azimuth_time_s_ = 0.0;
  std::int32_t n_samples_ = 0;
  std::int32_t n_lines_ = 0;
  STRING look_direction_;
  double look_sign_ = 0.0;  // +1 right, -1 left
  ELLIPSOID<double> ellipsoid_;
  double local_height_m_ = 0.0;
  GEOLOCATION_WORKSPACE workspace_;
};
