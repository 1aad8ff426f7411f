#include "app/sar_scene.h"

#include <memory>
#include <vector>

#include "basic/errors.h"
#include "dem/srf_document.h"
#include "pool/value_type.h"
#include "runtime/log.h"

namespace {

using quellmark::pool::ValueType;
using quellmark::runtime::Fail;
using quellmark::runtime::Log;
using quellmark::runtime::LogLevel;

std::int32_t ReadImageSize(PARAMETER_POOL& pool, const char* key) {
  const std::int32_t size = pool.Read<ValueType::kInt32>(key);
  if (size < 1) {
    Fail<ERROR_PARAMETER>("SAR_SCENE: ", key, " must be at least 1, not ", size, "\n");
  }
  return size;
}

// Owns every attached DEM until the process ends: the scene hands its DEM over and never releases
// it, since its use-DEM flag stays off.
void KeepForProcessLifetime(std::unique_ptr<SRF_DOCUMENT> dem) {
  static std::vector<std::unique_ptr<SRF_DOCUMENT>> attached;
  attached.push_back(std::move(dem));
}

}  // namespace

SAR_SCENE::SAR_SCENE() : ellipsoid_(EllipsoidType<double>::Default().Axes()) {}

SAR_SCENE::~SAR_SCENE() = default;

void SAR_SCENE::ReadFromParameterPool(PARAMETER_POOL& pool) {
  first_azimuth_time_s_ = pool.Read<ValueType::kFlt15>("first_az_time");
  first_range_time_s_ = pool.Read<ValueType::kFlt15>("first_rg_time");
  prf_hz_ = pool.Read<ValueType::kFlt15>("prf");
  range_sampling_frequency_hz_ = pool.Read<ValueType::kFlt15>("range_sampling_frequency");
  n_samples_ = ReadImageSize(pool, "n_samples");
  n_lines_ = ReadImageSize(pool, "n_lines");
  orbit_.ReadFromParameterPool(pool);
  orbit_time_origin_s_ = orbit_.TimeOrigin();
  ReadLookDirection(pool);
  local_height_m_ = pool.Has("local_height") ? pool.Read<ValueType::kFlt15>("local_height") : 0.0;
  radar_frequency_hz_ = pool.Read<ValueType::kFlt15>("radar_frequency");
}

void SAR_SCENE::ReadLookDirection(PARAMETER_POOL& pool) {
  look_direction_ = pool.Read<ValueType::kStr>("antenna_look_direction");
  const char* text = look_direction_.Text();
  if (look_direction_ == "right") {
    look_sign_ = 1.0;
  } else if (look_direction_ == "left") {
    look_sign_ = -1.0;
  } else {
    // "Unkown": kept exactly, do not correct.
    Log().Print(LogLevel::kAlarm, "Error: Unkown antenna look direction %s", text);
    throw ERROR_PARAMETER();
  }
}

void SAR_SCENE::AttachDem(const STRING& path) {
  constexpr bool kFastMode = true;
  const DEM_DESCRIPTOR descriptor = DEM_DESCRIPTOR::ReadFromFile(path);
  KeepForProcessLifetime(std::make_unique<SRF_DOCUMENT>(descriptor, kFastMode));
}

void SAR_SCENE::Print() const {
  const auto print = [](const char* name, double value, const char* unit) {
    Log().Print(LogLevel::kInfo, "   - %-20s: %e [%s]", name, value, unit);
  };
  const auto print_count = [](const char* name, std::int32_t count) {
    Log().Print(LogLevel::kInfo, "   - %-20s: %i ", name, count);
  };
  print("first_az_time", first_azimuth_time_s_, "s");
  print("first_rg_time", first_range_time_s_, "s");
  print("prf", prf_hz_, "Hz");
  print("rsf", range_sampling_frequency_hz_, "Hz");
  print_count("n_samples", n_samples_);
  print_count("n_lines", n_lines_);
  Log().Print(LogLevel::kInfo, "   - %-20s: %s ", "look dirc.", look_direction_.Text());
  print("ellipsoid_a", ellipsoid_.semi_major_m, "m");
  print("ellipsoid_b", ellipsoid_.semi_minor_m, "m");
  print("local_height", local_height_m_, "m");
}
