// Reading of epochs and support points, common to all pool orbits.
#pragma once

#include <string_view>
#include <vector>

#include "orbit/orbit_base.h"

class PARAMETER_POOL;

namespace quellmark::orbit {

/// The epochs under `key` as seconds after the reference time. They stand in the pool as texts; for
/// S = double also as a vector of doubles.
template <class S>
[[nodiscard]] std::vector<double> ReadEpochs(PARAMETER_POOL& pool, std::string_view key,
                                             const S& reference_time);

/// The state vectors at `seconds`, in the order of the keys. Throws INVALID_PARAMETER_VALUE after
/// an ALARM line if the number of elements of a vector differs from the number of epochs, or the
/// character string
/// "POOL_ORBIT::ReadFromParameterPool::Number of coordinates in position and velocity disagree.".
[[nodiscard]] StateVectors ReadStateVectors(PARAMETER_POOL& pool, const OrbitKeys& keys,
                                            std::vector<double> seconds, bool with_velocities);

}  // namespace quellmark::orbit
