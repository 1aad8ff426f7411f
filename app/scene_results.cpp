#include "app/scene_results.h"

#include <cstdint>

#include "pool/value_type.h"
#include "runtime/log.h"

namespace quellmark::app {

namespace {

using pool::ValueType;
using runtime::Log;
using runtime::LogLevel;

struct LocatedPosition {
  GeoCoordinates coordinates;
  RangePosition range;
};

LocatedPosition Locate(SAR_SCENE& scene, std::int32_t sample, std::int32_t line) {
  LocatedPosition p;
  scene.LocatePoint(sample, line, p.coordinates.longitude, p.coordinates.latitude,
                    p.range.incidence_deg, p.range.zero_doppler_velocity_ms, p.range.b_param,
                    p.range.fm_rate);
  return p;
}

// A longitude of exactly 180 is not changed. The subtraction is exact in single precision.
GeoCoordinates WrapLongitude(GeoCoordinates coordinates) {
  if (coordinates.longitude > 180.0F) coordinates.longitude -= 360.0F;
  return coordinates;
}

void LogHeading(const char* heading) { Log().Print(LogLevel::kInfo, "   - %s", heading); }

// In Latin-1, \xB0 is the degree sign and \xB2 the superscript two.
void LogAngle(const char* label, double angle_deg) {
  Log().Print(LogLevel::kInfo, "     - %-18s: %6.2f [\xB0]", label, angle_deg);
}

void LogCoordinates(const char* longitude_label, const char* latitude_label,
                    const GeoCoordinates& coordinates) {
  LogAngle(longitude_label, static_cast<double>(coordinates.longitude));
  LogAngle(latitude_label, static_cast<double>(coordinates.latitude));
}

// Logs one quantity at near, mid and far range.
template <class Member>
void LogByRange(const char* heading, const char* unit, const SceneResults& results, Member member) {
  LogHeading(heading);
  const auto log = [unit](const char* label, double value) {
    Log().Print(LogLevel::kInfo, "     - %-18s: %12.5f [%s]", label, value, unit);
  };
  log("near range", results.near.*member);
  log("mid  range", results.mid.*member);
  log("far  range", results.far.*member);
}

}  // namespace

SceneResults LocateScene(SAR_SCENE& scene) {
  const std::int32_t mid_sample = scene.GetNumberOfSamples() / 2;
  const std::int32_t last_sample = scene.GetNumberOfSamples() - 1;
  const std::int32_t mid_line = scene.GetNumberOfLines() / 2;
  const std::int32_t last_line = scene.GetNumberOfLines() - 1;

  const LocatedPosition center = Locate(scene, mid_sample, mid_line);
  SceneResults results;
  results.center = WrapLongitude(center.coordinates);
  results.mid = center.range;
  results.first_near = WrapLongitude(Locate(scene, 0, 0).coordinates);
  results.first_far = WrapLongitude(Locate(scene, last_sample, 0).coordinates);
  results.last_near = WrapLongitude(Locate(scene, 0, last_line).coordinates);
  results.last_far = WrapLongitude(Locate(scene, last_sample, last_line).coordinates);
  results.near = Locate(scene, 0, mid_line).range;
  results.far = Locate(scene, last_sample, mid_line).range;
  return results;
}

void LogResults(const SceneResults& results) {
  LogHeading("center coordinates");
  LogCoordinates("center_longitude", "center_latitude", results.center);
  LogHeading("corner coordinates");
  LogCoordinates("first_near_lon", "first_near_lat", results.first_near);
  LogCoordinates("first_far_lon", "first_far_lat", results.first_far);
  LogCoordinates("last_far_lon", "last_far_lat", results.last_far);
  LogCoordinates("last_near_lon", "last_near_lat", results.last_near);
  LogHeading("incidence angles");
  LogAngle("near range", static_cast<double>(results.near.incidence_deg));
  LogAngle("mid  range", static_cast<double>(results.mid.incidence_deg));
  LogAngle("far  range", static_cast<double>(results.far.incidence_deg));
  LogByRange("zero Doppler velocities", "m/s", results, &RangePosition::zero_doppler_velocity_ms);
  LogByRange("B-Parameter", "m\xB2/s\xB2", results, &RangePosition::b_param);
  LogByRange("FM rate", "1/s\xB2", results, &RangePosition::fm_rate);
}

void SetResults(const SceneResults& results, PARAMETER_POOL_READ_WRITE_CHANGE& pool) {
  const auto set_float = [&pool](const char* key, float value) {
    pool.Set<ValueType::kFlt6>(key, value);
  };
  const auto set_double = [&pool](const char* key, double value) {
    pool.Set<ValueType::kFlt15>(key, value);
  };
  set_float("center_longitude", results.center.longitude);
  set_float("center_latitude", results.center.latitude);
  set_float("first_near_lon", results.first_near.longitude);
  set_float("first_near_lat", results.first_near.latitude);
  set_float("first_far_lon", results.first_far.longitude);
  set_float("first_far_lat", results.first_far.latitude);
  set_float("last_far_lon", results.last_far.longitude);
  set_float("last_far_lat", results.last_far.latitude);
  set_float("last_near_lon", results.last_near.longitude);
  set_float("last_near_lat", results.last_near.latitude);
  set_float("inc_angle_center", results.mid.incidence_deg);
  set_float("inc_angle_near", results.near.incidence_deg);
  set_float("inc_angle_mid", results.mid.incidence_deg);
  set_float("inc_angle_far", results.far.incidence_deg);
  set_double("zero_doppler_velocity_near", results.near.zero_doppler_velocity_ms);
  set_double("zero_doppler_velocity_mid", results.mid.zero_doppler_velocity_ms);
  set_double("zero_doppler_velocity_far", results.far.zero_doppler_velocity_ms);
  set_double("b_param_near", results.near.b_param);
  set_double("b_param_mid", results.mid.b_param);
  set_double("b_param_far", results.far.b_param);
  set_double("fm_rate_near", results.near.fm_rate);
  set_double("fm_rate_mid", results.mid.fm_rate);
  set_double("fm_rate_far", results.far.fm_rate);
}

}  // namespace quellmark::app
