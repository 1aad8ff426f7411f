#include "orbit/general_orbit.h"

#include <utility>

#include "basic/errors.h"
#include "pool/parameter_pool.h"
#include "runtime/log.h"

using namespace quellmark::orbit;
using quellmark::pool::ValueType;

template <class T, class V>
GENERAL_ORBIT<T, V>& GENERAL_ORBIT<T, V>::operator=(const GENERAL_ORBIT& orbit) {
  quellmark::runtime::LogLine(
      LOG::Level::kDebug,
      "virtual GENERAL_ORBIT<T>& operator=( const GENERAL_ORBIT<T>& agen_orbit )\n");
  if (this == &orbit) return *this;
  std::unique_ptr<ORBIT_BASE> core;
  if (orbit.core_ != nullptr) {
    core = MakeCore(orbit.orbit_type_id_, orbit.choice_);
    *core = *orbit.core_;
  }
  TakeOver(std::move(core), orbit.orbit_type_id_, orbit.choice_);
  return *this;
}

template <class T, class V>
std::unique_ptr<ORBIT_BASE> GENERAL_ORBIT<T, V>::MakeCore(int type_id,
                                                          const InterpolationChoice& choice) {
  std::unique_ptr<ORBIT_BASE> core = CreateCoreObject(type_id, choice.interpolation_id);
  core->SetPolynomialFitOrder(choice.polynomial_fit_order);
  core->SetSupportPointCount(choice.support_point_count);
  return core;
}

template <class T, class V>
void GENERAL_ORBIT<T, V>::TakeOver(std::unique_ptr<ORBIT_BASE> core, int type_id,
                                   const InterpolationChoice& choice) {
  core_ = std::move(core);
  orbit_type_id_ = type_id;
  choice_ = choice;
}

template <class T, class V>
void GENERAL_ORBIT<T, V>::ReadFromParameterPool(PARAMETER_POOL& pool) {
  const int type_id =
      quellmark::orbit::OrbitTypeId(pool.Read<ValueType::kStr>("orbit_representation").View());
  const InterpolationChoice choice =
      ParseInterpolation(pool.Read<ValueType::kStr>("orbit_interpolation").View(), choice_);

  std::unique_ptr<ORBIT_BASE> core = MakeCore(type_id, choice);
  OrbitKeys keys;
  keys.time = pool.Read<ValueType::kStr>("orbit_param_key");
  keys.values = pool.Read<ValueType::kStrV>("orbit_value_key");
  if (choice.interpolation_id == kHermiteId || choice.interpolation_id == kLocalHermiteId) {
    keys.velocities = pool.Read<ValueType::kStrV>("orbit_velocity_key");
  }
  core->SetKeys(std::move(keys));
  core->ReadSource(pool);
  core->SetReferenceTime(pool.Read<ValueType::kStr>("orbit_reference_time"));
  core->ReadSamples(pool);
  TakeOver(std::move(core), type_id, choice);
}

template <class T, class V>
void GENERAL_ORBIT<T, V>::ReadFromMemory(std::string_view interpolation,
                                         const STRING& utc_reference, StateVectors vectors) {
  constexpr bool kWithLines = false;
  const int type_id = quellmark::orbit::OrbitTypeId("orbit_pool_double_utc");
  const InterpolationChoice choice = ParseInterpolation(interpolation, {}, kWithLines);
  std::unique_ptr<ORBIT_BASE> core = MakeCore(type_id, choice);
  core->SetReferenceTime(utc_reference);
  core->SetStateVectors(std::move(vectors), kWithLines);
  TakeOver(std::move(core), type_id, choice);
}

template <class T, class V>
void GENERAL_ORBIT<T, V>::FailNotRead() {
  quellmark::runtime::Fail<ERROR_ALGORITHM>("GENERAL_ORBIT: no orbit was read\n");
}

template class GENERAL_ORBIT<double, VECTOR_3D<double>>;
