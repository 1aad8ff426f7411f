// Derives the results for one image position. Legend:
//   tau  two-way slant range time of the sample [s]
//   t    azimuth time of the line [s], on the scene's time scale
//   S V A  sensor position [m], velocity [m/s], acceleration [m/s^2] at t, earth-fixed
//   P0 P1  ground points at the same tau, at t and at t + kTimeStep_s [m]
//   B    B-parameter (S - P0) . A + |V|^2 [m^2/s^2]
#include "app/sar_scene.h"
#include "basic/constants.h"
#include "basic/errors.h"
#include "runtime/log.h"

namespace {

using quellmark::app::PointLocation;
using quellmark::basic::kSpeedOfLight_ms;
using quellmark::runtime::Fail;

// Azimuth time between the two ground points of the zero-Doppler velocity.
constexpr double kTimeStep_s = 0.01;
constexpr double kZeroDoppler_ms = 0.0;

}  // namespace

SAR_SCENE::OrbitState SAR_SCENE::OrbitStateAt(double azimuth_time_s) const {
  OrbitState state;
  parameters_.orbit.GetState(orbit_time_origin_s_, azimuth_time_s, state.position, state.velocity,
                             state.acceleration);
  return state;
}

PointLocation SAR_SCENE::GeolocateOnEllipsoid(GEOLOCATION_WORKSPACE& workspace,
                                              const OrbitState& sensor, double range_time_s) const {
  PointLocation point;
  double heading_deg = 0.0;
  point.height_m = parameters_.local_height_m;
  geolocation_fast(workspace, sensor.position, sensor.velocity, point.position, heading_deg,
                   point.latitude_deg, point.longitude_deg, point.incidence_deg, look_sign_,
                   point.height_m, ellipsoid_.semi_minor_m, ellipsoid_.semi_major_m, range_time_s,
                   kZeroDoppler_ms);
  return point;
}

PointLocation SAR_SCENE::GeolocateOnDem(const OrbitState& sensor, double range_time_s) {
  if (dem_ == nullptr) Fail<ERROR_PARAMETER>("SAR_SCENE: no DEM is attached to locate points on\n");
  PointLocation point;
  double heading_deg = 0.0;
  geolocation_fast(dem_workspace_, *dem_, sensor.position, sensor.velocity, point.position,
                   heading_deg, point.latitude_deg, point.longitude_deg, point.incidence_deg,
                   point.height_m, kDemDegree, look_sign_, ellipsoid_.semi_minor_m,
                   ellipsoid_.semi_major_m, range_time_s, kZeroDoppler_ms);
  return point;
}

PointLocation SAR_SCENE::Locate(double sample, double line) {
  const auto geolocate = [this](const OrbitState& sensor, double tau) {
    return use_dem_ ? GeolocateOnDem(sensor, tau) : GeolocateOnEllipsoid(workspace_, sensor, tau);
  };
  return LocateWith(geolocate, sample, line);
}

PointLocation SAR_SCENE::LocateOnEllipsoid(double sample, double line) const {
  GEOLOCATION_WORKSPACE workspace;
  const auto geolocate = [&](const OrbitState& sensor, double tau) {
    return GeolocateOnEllipsoid(workspace, sensor, tau);
  };
  return LocateWith(geolocate, sample, line);
}

template <class Geolocate>
PointLocation SAR_SCENE::LocateWith(const Geolocate& geolocate, double sample, double line) const {
  const double tau =
      parameters_.first_range_time_s + sample / parameters_.range_sampling_frequency_hz;
  const double t = parameters_.first_azimuth_time_s + line / parameters_.prf_hz;

  const VECTOR_3D<double> P1 = geolocate(OrbitStateAt(t + kTimeStep_s), tau).position;
  const OrbitState sensor = OrbitStateAt(t);
  PointLocation point = geolocate(sensor, tau);
  const VECTOR_3D<double>& P0 = point.position;

  const double B =
      Dot(sensor.position - P0, sensor.acceleration) + Dot(sensor.velocity, sensor.velocity);
  point.zero_doppler_velocity_ms = Length(P1 - P0) / kTimeStep_s;
  point.b_param = B;
  // 2 B / (lambda R) with lambda = c / f and R = c tau / 2. The formula divides by c twice, because
  // c squared would round differently from the reference results.
  point.fm_rate =
      4.0 * B * parameters_.radar_frequency_hz / (tau * kSpeedOfLight_ms * kSpeedOfLight_ms);
  return point;
}

void SAR_SCENE::LocatePoint(std::int32_t sample, std::int32_t line, float& longitude,
                            float& latitude, float& incidence, double& zero_doppler_velocity,
                            double& b_param, double& fm_rate) {
  const PointLocation point = Locate(sample, line);
  longitude = static_cast<float>(point.longitude_deg);
  latitude = static_cast<float>(point.latitude_deg);
  incidence = static_cast<float>(point.incidence_deg);
  zero_doppler_velocity = point.zero_doppler_velocity_ms;
  b_param = point.b_param;
  fm_rate = point.fm_rate;
}
