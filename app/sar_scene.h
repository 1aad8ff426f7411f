// The one object that knows the scene: timing, size, look side, radar frequency, reference
// ellipsoid, local height and orbit.
#pragma once

#include <cstdint>
#include <memory>

#include "basic/string.h"
#include "basic/vector_3d.h"
#include "dem/srf_document.h"
#include "geolocation/ellipsoid_type.h"
#include "geolocation/geolocation_fast.h"
#include "orbit/general_orbit.h"
#include "pool/parameter_pool.h"

namespace quellmark::app {

/// The parameters of a scene.
struct SceneParameters {
  double first_azimuth_time_s = 0.0;  ///< of line 0, counted from the orbit's reference time
  double first_range_time_s = 0.0;    ///< two-way, of sample 0
  double prf_hz = 0.0;
  double range_sampling_frequency_hz = 0.0;
  std::int32_t n_samples = 0;  ///< in range; at least 1
  std::int32_t n_lines = 0;    ///< in azimuth; at least 1
  GENERAL_ORBIT<double, VECTOR_3D<double>> orbit;
  STRING look_direction;        ///< "right" or "left"
  double local_height_m = 0.0;  ///< height of the located points above the ellipsoid
  double radar_frequency_hz = 0.0;
};

/// The results of SAR_SCENE::Locate() for one image position.
struct PointLocation {
  VECTOR_3D<double> position;  ///< of the ground point, earth-fixed [m]
  double longitude_deg = 0.0;  ///< geodetic, in [0, 360)
  double latitude_deg = 0.0;   ///< geodetic
  double height_m = 0.0;       ///< above the ellipsoid: the local height, or the terrain's
  double incidence_deg = 0.0;  ///< against the ellipsoid normal
  double zero_doppler_velocity_ms = 0.0;
  double b_param = 0.0;  ///< [m^2/s^2]
  double fm_rate = 0.0;  ///< of azimuth [1/s^2]
};

}  // namespace quellmark::app

/// A scene is built empty, initialised once from its pool or from values, then asked for image
/// positions. Only one thread at a time may call Locate().
class SAR_SCENE {
 public:
  /// Throws ERROR_NO_MEMORY.
  SAR_SCENE();
  SAR_SCENE(const SAR_SCENE&) = delete;
  SAR_SCENE& operator=(const SAR_SCENE&) = delete;
  /// Releases an attached DEM only if the use-DEM flag is set. Otherwise the DEM stays open until
  /// the process ends.
  ~SAR_SCENE();

  /// Reads timing, size, orbit, look side, local height and radar frequency. Failures of the pool
  /// and of the orbit pass through; a bad look direction or an image without samples or lines
  /// throws ERROR_PARAMETER, and an empty look direction std::out_of_range. A failure leaves the
  /// scene as it was.
  void ReadFromParameterPool(PARAMETER_POOL& pool);
  /// As ReadFromParameterPool(), but without a pool. Checks image size and look direction in the
  /// same way.
  void SetParameters(quellmark::app::SceneParameters parameters);

  /// Opens the DEM document at `path` and keeps it. Positions depend on it only if the use-DEM flag
  /// is set.
  void AttachDem(const STRING& path);

  /// Chooses whether positions are located on the terrain of the attached DEM instead of at the
  /// local height. The flag is off at first, and the program never sets it: the chain that follows
  /// relies on results that do not depend on the DEM.
  void SetUseDem(bool use_dem) { use_dem_ = use_dem; }
  [[nodiscard]] bool UsesDem() const { return use_dem_; }

  /// Writes the scene's parameters to the log, level INFO.
  void Print() const;

  [[nodiscard]] std::int32_t GetNumberOfSamples() const { return parameters_.n_samples; }
  [[nodiscard]] std::int32_t GetNumberOfLines() const { return parameters_.n_lines; }
  [[nodiscard]] const quellmark::app::SceneParameters& Parameters() const { return parameters_; }
  /// +1.0 right, -1.0 left; 0.0 before initialisation.
  [[nodiscard]] double LookSign() const { return look_sign_; }
  /// The seconds to add to a scene time for an orbit query [s].
  [[nodiscard]] double OrbitTimeOrigin() const { return orbit_time_origin_s_; }
  [[nodiscard]] const ELLIPSOID<double>& Ellipsoid() const { return ellipsoid_; }
  /// The attached DEM; null without one.
  [[nodiscard]] const SRF_DOCUMENT* Dem() const { return dem_.get(); }

  /// Locates the image position (sample, line), both from 0 and not necessarily whole. The orbit
  /// must cover the line's time and 0.01 s after it. Failures of orbit, geolocation and DEM pass
  /// through; a set use-DEM flag without a DEM throws ERROR_PARAMETER.
  [[nodiscard]] quellmark::app::PointLocation Locate(double sample, double line);
  /// As Locate() without the use-DEM flag. Any number of threads may call it at once.
  [[nodiscard]] quellmark::app::PointLocation LocateOnEllipsoid(double sample, double line) const;

  /// As Locate(), with angles [deg] in single precision. A failure changes none of the output
  /// arguments.
  void LocatePoint(std::int32_t sample, std::int32_t line, float& longitude, float& latitude,
                   float& incidence, double& zero_doppler_velocity, double& b_param,
                   double& fm_rate);

 private:
  struct OrbitState {
    VECTOR_3D<double> position;      // earth-fixed [m]
    VECTOR_3D<double> velocity;      // [m/s]
    VECTOR_3D<double> acceleration;  // [m/s^2]
  };

  static constexpr std::uint8_t kDemDegree = 3;  // of the curve on which terrain is searched

  [[nodiscard]] OrbitState OrbitStateAt(double azimuth_time_s) const;
  // Both set position, angles and height.
  [[nodiscard]] quellmark::app::PointLocation GeolocateOnEllipsoid(GEOLOCATION_WORKSPACE& workspace,
                                                                   const OrbitState& sensor,
                                                                   double range_time_s) const;
  [[nodiscard]] quellmark::app::PointLocation GeolocateOnDem(const OrbitState& sensor,
                                                             double range_time_s);
  // Locates with one of these two.
  template <class Geolocate>
  [[nodiscard]] quellmark::app::PointLocation LocateWith(const Geolocate& geolocate, double sample,
                                                         double line) const;

  quellmark::app::SceneParameters parameters_;
  double orbit_time_origin_s_ = 0.0;
  double look_sign_ = 0.0;
  bool use_dem_ = false;
  std::unique_ptr<SRF_DOCUMENT> dem_;
  ELLIPSOID<double> ellipsoid_;
  GEOLOCATION_WORKSPACE workspace_;
  GEOLOCATION_DEM_WORKSPACE dem_workspace_;
};
