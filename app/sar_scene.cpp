#include "app/sar_scene.h"

#include <memory>
#include <utility>
#include <vector>

#include "basic/errors.h"
#include "pool/value_type.h"
#include "runtime/log.h"

namespace {

using quellmark::app::SceneParameters;
using quellmark::pool::ValueType;
using quellmark::runtime::Fail;
using quellmark::runtime::Log;
using quellmark::runtime::LogLevel;

void CheckImageSize(const char* key, std::int32_t size) {
  if (size < 1) {
    Fail<ERROR_PARAMETER>("SAR_SCENE: ", key, " must be at least 1, not ", size, "\n");
  }
}

std::int32_t ReadImageSize(PARAMETER_POOL& pool, const char* key) {
  const std::int32_t size = pool.Read<ValueType::kInt32>(key);
  CheckImageSize(key, size);
  return size;
}

double LookSignOf(const STRING& look_direction) {
  const char* text = look_direction.Text();
  if (look_direction == "right") return 1.0;
  if (look_direction == "left") return -1.0;
  // "Unkown": kept exactly, do not correct.
  Log().Print(LogLevel::kAlarm, "Error: Unkown antenna look direction %s", text);
  throw ERROR_PARAMETER();
}

// Keeps a DEM that must stay open. The list is never destroyed, so no DEM in it is released.
void KeepForProcessLifetime(std::unique_ptr<SRF_DOCUMENT> dem) {
  static auto& kept = *new std::vector<std::unique_ptr<SRF_DOCUMENT>>;
  kept.push_back(std::move(dem));
}

}  // namespace

SAR_SCENE::SAR_SCENE() : ellipsoid_(EllipsoidType<double>::Default().Axes()) {
  dem_workspace_.Prepare(kDemDegree);
}

SAR_SCENE::~SAR_SCENE() {
  if (use_dem_ || dem_ == nullptr) return;
  try {
    KeepForProcessLifetime(std::move(dem_));
  } catch (...) {  // No memory to keep it, so it is released.
  }
}

void SAR_SCENE::ReadFromParameterPool(PARAMETER_POOL& pool) {
  const quellmark::pool::DoubleKeyCheck check(pool);
  SceneParameters p;
  p.first_azimuth_time_s = pool.Read<ValueType::kFlt15>("first_az_time");
  p.first_range_time_s = pool.Read<ValueType::kFlt15>("first_rg_time");
  p.prf_hz = pool.Read<ValueType::kFlt15>("prf");
  p.range_sampling_frequency_hz = pool.Read<ValueType::kFlt15>("range_sampling_frequency");
  p.n_samples = ReadImageSize(pool, "n_samples");
  p.n_lines = ReadImageSize(pool, "n_lines");
  p.orbit.ReadFromParameterPool(pool);
  p.look_direction = pool.Read<ValueType::kStr>("antenna_look_direction");
  static_cast<void>(LookSignOf(p.look_direction));  // fails before the next keys are read
  if (pool.Has("local_height")) p.local_height_m = pool.Read<ValueType::kFlt15>("local_height");
  p.radar_frequency_hz = pool.Read<ValueType::kFlt15>("radar_frequency");
  SetParameters(std::move(p));
}

void SAR_SCENE::SetParameters(SceneParameters parameters) {
  CheckImageSize("n_samples", parameters.n_samples);
  CheckImageSize("n_lines", parameters.n_lines);
  const double look_sign = LookSignOf(parameters.look_direction);
  const double orbit_time_origin_s = parameters.orbit.TimeOrigin();
  ellipsoid_ = EllipsoidType<double>::Default().Axes();
  parameters_ = std::move(parameters);
  orbit_time_origin_s_ = orbit_time_origin_s;
  look_sign_ = look_sign;
}

void SAR_SCENE::AttachDem(const STRING& path) {
  constexpr bool kFastMode = true;
  const DEM_DESCRIPTOR descriptor = DEM_DESCRIPTOR::ReadFromFile(path);
  dem_ = std::make_unique<SRF_DOCUMENT>(descriptor, kFastMode);
}

void SAR_SCENE::Print() const {
  const auto print = [](const char* name, double value, const char* unit) {
    Log().Print(LogLevel::kInfo, "   - %-20s: %e [%s]", name, value, unit);
  };
  const auto print_count = [](const char* name, std::int32_t count) {
    Log().Print(LogLevel::kInfo, "   - %-20s: %i ", name, count);
  };
  print("first_az_time", parameters_.first_azimuth_time_s, "s");
  print("first_rg_time", parameters_.first_range_time_s, "s");
  print("prf", parameters_.prf_hz, "Hz");
  print("rsf", parameters_.range_sampling_frequency_hz, "Hz");
  print_count("n_samples", parameters_.n_samples);
  print_count("n_lines", parameters_.n_lines);
  Log().Print(LogLevel::kInfo, "   - %-20s: %s ", "look dirc.", parameters_.look_direction.Text());
  print("ellipsoid_a", ellipsoid_.semi_major_m, "m");
  print("ellipsoid_b", ellipsoid_.semi_minor_m, "m");
  print("local_height", parameters_.local_height_m, "m");
}
