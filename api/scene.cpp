#include <cmath>
#include <utility>

#include "api/call.h"
#include "api/longitude.h"
#include "api/orbit_impl.h"
#include "api/scene_impl.h"
#include "basic/constants.h"
#include "basic/errors.h"
#include "pool/parameter_pool.h"
#include <quellmark/scene.h>

namespace quellmark {
namespace {

using api::Call;
using api::Concern;
using runtime::Fail;

SceneParameters ParametersOf(const app::SceneParameters& values) {
  return {.first_azimuth_time_s = values.first_azimuth_time_s,
          .first_range_time_s = values.first_range_time_s,
          .prf_hz = values.prf_hz,
          .range_sampling_frequency_hz = values.range_sampling_frequency_hz,
          .samples = values.n_samples,
          .lines = values.n_lines,
          .look_side = values.look_direction == "left" ? LookSide::kLeft : LookSide::kRight,
          .radar_frequency_hz = values.radar_frequency_hz,
          .local_height_m = values.local_height_m};
}

// Checks the values of a caller. Values from a pool are used as they are, like in the batch step.
void Check(const SceneParameters& parameters) {
  const auto check = [](double value, bool must_be_positive, const char* name) {
    if (!std::isfinite(value) || (must_be_positive && value <= 0.0)) {
      Fail<ERROR_PARAMETER>("scene: ", name, " can not be ", value, "\n");
    }
  };
  check(parameters.first_azimuth_time_s, false, "first_azimuth_time_s");
  check(parameters.first_range_time_s, true, "first_range_time_s");
  check(parameters.prf_hz, true, "prf_hz");
  check(parameters.range_sampling_frequency_hz, true, "range_sampling_frequency_hz");
  check(parameters.radar_frequency_hz, true, "radar_frequency_hz");
  check(parameters.local_height_m, false, "local_height_m");
}

Location LocationOf(const app::PointLocation& point) {
  return {.longitude_deg = api::NormalLongitude(point.longitude_deg),
          .latitude_deg = point.latitude_deg,
          .height_m = point.height_m,
          .incidence_deg = point.incidence_deg,
          .zero_doppler_velocity_ms = point.zero_doppler_velocity_ms,
          .b_parameter = point.b_param,
          .fm_rate = point.fm_rate};
}

}  // namespace

Scene::Impl::Impl(app::SceneParameters values, Orbit core_orbit)
    : parameters(ParametersOf(values)), orbit(std::move(core_orbit)) {
  scene.SetParameters(std::move(values));
}

Scene Scene::Open(const std::string& path) {
  return Call({.concern = Concern::kScene, .file = path}, [&] {
    PARAMETER_POOL pool;
    pool.OpenForReading(path);
    SAR_SCENE scene;
    scene.ReadFromParameterPool(pool);
    Orbit orbit(Orbit::Impl::Of(scene.Parameters().orbit, pool));
    return Scene(std::make_shared<const Impl>(scene.Parameters(), std::move(orbit)));
  });
}

Scene::Scene(const SceneParameters& parameters, Orbit orbit) {
  impl_ = Call({.concern = Concern::kScene}, [&] {
    Check(parameters);
    app::SceneParameters values{
        .first_azimuth_time_s = parameters.first_azimuth_time_s,
        .first_range_time_s = parameters.first_range_time_s,
        .prf_hz = parameters.prf_hz,
        .range_sampling_frequency_hz = parameters.range_sampling_frequency_hz,
        .n_samples = parameters.samples,
        .n_lines = parameters.lines,
        .orbit = orbit.impl_->orbit,
        .look_direction = parameters.look_side == LookSide::kLeft ? "left" : "right",
        .local_height_m = parameters.local_height_m,
        .radar_frequency_hz = parameters.radar_frequency_hz};
    return std::make_shared<const Impl>(std::move(values), std::move(orbit));
  });
}

const SceneParameters& Scene::Parameters() const noexcept { return impl_->parameters; }
const Orbit& Scene::SensorOrbit() const noexcept { return impl_->orbit; }

double Scene::AzimuthTimeOf(double line) const noexcept {
  return impl_->parameters.first_azimuth_time_s + line / impl_->parameters.prf_hz;
}

double Scene::RangeTimeOf(double sample) const noexcept {
  return impl_->parameters.first_range_time_s +
         sample / impl_->parameters.range_sampling_frequency_hz;
}

double Scene::SlantRangeOf(double sample) const noexcept {
  return 0.5 * basic::kSpeedOfLight_ms * RangeTimeOf(sample);
}

SceneResults Scene::Results() const {
  return Call({.concern = Concern::kScene}, [&] {
    const SceneParameters& p = impl_->parameters;
    const auto locate = [this](std::int32_t sample, std::int32_t line) {
      return LocationOf(impl_->scene.LocateOnEllipsoid(sample, line));
    };
    const std::int32_t mid_line = p.lines / 2;
    const Location center = locate(p.samples / 2, mid_line);
    const Location first_near = locate(0, 0);
    const Location first_far = locate(p.samples - 1, 0);
    const Location last_near = locate(0, p.lines - 1);
    const Location last_far = locate(p.samples - 1, p.lines - 1);
    const Location near = locate(0, mid_line);
    const Location far = locate(p.samples - 1, mid_line);
    return SceneResults{.center_longitude = center.longitude_deg,
                        .center_latitude = center.latitude_deg,
                        .first_near_lon = first_near.longitude_deg,
                        .first_near_lat = first_near.latitude_deg,
                        .first_far_lon = first_far.longitude_deg,
                        .first_far_lat = first_far.latitude_deg,
                        .last_far_lon = last_far.longitude_deg,
                        .last_far_lat = last_far.latitude_deg,
                        .last_near_lon = last_near.longitude_deg,
                        .last_near_lat = last_near.latitude_deg,
                        .inc_angle_center = center.incidence_deg,
                        .inc_angle_near = near.incidence_deg,
                        .inc_angle_mid = center.incidence_deg,
                        .inc_angle_far = far.incidence_deg,
                        .zero_doppler_velocity_near = near.zero_doppler_velocity_ms,
                        .zero_doppler_velocity_mid = center.zero_doppler_velocity_ms,
                        .zero_doppler_velocity_far = far.zero_doppler_velocity_ms,
                        .b_param_near = near.b_parameter,
                        .b_param_mid = center.b_parameter,
                        .b_param_far = far.b_parameter,
                        .fm_rate_near = near.fm_rate,
                        .fm_rate_mid = center.fm_rate,
                        .fm_rate_far = far.fm_rate};
  });
}

Location Scene::Locate(double sample, double line) const {
  return Call({.concern = Concern::kScene}, [&] {
    if (!std::isfinite(sample) || !std::isfinite(line)) {
      api::FailArgument("an image position must be finite");
    }
    // StateAt() throws for a time that is not covered.
    static_cast<void>(impl_->orbit.StateAt(AzimuthTimeOf(line)));
    return LocationOf(impl_->scene.LocateOnEllipsoid(sample, line));
  });
}

}  // namespace quellmark
