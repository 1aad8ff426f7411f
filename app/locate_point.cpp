// What is derived for one image position. Legend:
//   tau  two-way slant range time of the sample [s]
//   t    azimuth time of the line [s], on the scene's time scale
//   S V A  sensor position [m], velocity [m/s], acceleration [m/s^2] at t, earth-fixed
//   P0 P1  ground points at the same tau, at t and at t + kTimeStep_s [m]
//   B    B-parameter (S - P0) . A + |V|^2 [m^2/s^2]
#include "app/sar_scene.h"

namespace {

constexpr double kSpeedOfLight_ms = 299792458.0;
// Azimuth time between the two ground points of the zero-Doppler velocity.
constexpr double kTimeStep_s = 0.01;

}  // namespace

SAR_SCENE::OrbitState SAR_SCENE::OrbitStateAt(double azimuth_time_s) const {
  OrbitState state;
  orbit_.GetState(orbit_time_origin_s_, azimuth_time_s, state.position, state.velocity,
                  state.acceleration);
  return state;
}

SAR_SCENE::GroundPoint SAR_SCENE::Geolocate(const OrbitState& sensor, double range_time_s) {
  constexpr double kZeroDoppler_ms = 0.0;
  GroundPoint ground;
  double heading_deg = 0.0;
  geolocation_fast(workspace_, sensor.position, sensor.velocity, ground.position, heading_deg,
                   ground.latitude_deg, ground.longitude_deg, ground.incidence_deg, look_sign_,
                   local_height_m_, ellipsoid_.semi_minor_m, ellipsoid_.semi_major_m, range_time_s,
                   kZeroDoppler_ms);
  return ground;
}

void SAR_SCENE::LocatePoint(std::int32_t sample, std::int32_t line, float& longitude,
                            float& latitude, float& incidence, double& zero_doppler_velocity,
                            double& b_param, double& fm_rate) {
  const double tau = first_range_time_s_ + sample / range_sampling_frequency_hz_;
  const double t = first_azimuth_time_s_ + line / prf_hz_;

  const VECTOR_3D<double> P1 = Geolocate(OrbitStateAt(t + kTimeStep_s), tau).position;
  const OrbitState sensor = OrbitStateAt(t);
  const GroundPoint ground = Geolocate(sensor, tau);
  const VECTOR_3D<double>& P0 = ground.position;

  const double B =
      Dot(sensor.position - P0, sensor.acceleration) + Dot(sensor.velocity, sensor.velocity);
  longitude = static_cast<float>(ground.longitude_deg);
  latitude = static_cast<float>(ground.latitude_deg);
  incidence = static_cast<float>(ground.incidence_deg);
  zero_doppler_velocity = Length(P1 - P0) / kTimeStep_s;
  b_param = B;
  // 2 B / (lambda R) with lambda = c / f and R = c tau / 2; c twice, as the results are compared.
  fm_rate = 4.0 * B * radar_frequency_hz_ / (tau * kSpeedOfLight_ms * kSpeedOfLight_ms);
}
