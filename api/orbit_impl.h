// The data of an Orbit.
#pragma once

#include <memory>
#include <string>

#include "basic/vector_3d.h"
#include "orbit/general_orbit.h"
#include "time/time_value.h"
#include <quellmark/orbit.h>

class PARAMETER_POOL;

namespace quellmark {

namespace api {

using CoreOrbit = GENERAL_ORBIT<double, VECTOR_3D<double>>;

[[nodiscard]] inline Vector3 ToArray(const VECTOR_3D<double>& v) { return {v.x, v.y, v.z}; }

}  // namespace api

struct Orbit::Impl {
  /// Takes over an orbit that was read.
  Impl(api::CoreOrbit core_orbit, std::string interpolation_text);
  /// Makes the orbit that a scene has read from `pool`.
  [[nodiscard]] static std::shared_ptr<const Impl> Of(const api::CoreOrbit& orbit,
                                                      PARAMETER_POOL& pool);

  api::CoreOrbit orbit;
  std::string interpolation;
  std::string reference_text;
  time::TimeValue reference;
  TimeInterval coverage;  // after the reference time
};

}  // namespace quellmark
