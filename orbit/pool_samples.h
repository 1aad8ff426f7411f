// Reading of epochs and support points, common to all pool orbits.
#pragma once

#include <string_view>
#include <vector>

#include "basic/array.h"
#include "orbit/orbit_base.h"

class PARAMETER_POOL;

namespace quellmark::orbit {

/// The epochs under `key` as seconds after the reference time: texts, for S = double also a vector
/// of doubles.
template <class S>
[[nodiscard]] std::vector<double> ReadEpochs(PARAMETER_POOL& pool, std::string_view key,
                                             const S& reference_time);

/// The support points of each coordinate, in the order of the value keys: abscissae `seconds`, and
/// with derivatives where P is a DPOINT<T>. Throws INVALID_PARAMETER_VALUE after an ALARM line if
/// one of the vectors has not as many elements as there are epochs, and the character string
/// "POOL_ORBIT::ReadFromParameterPool::Number of coordinates in position and velocity disagree.".
template <class T, class P>
[[nodiscard]] ARRAY<ARRAY<P>> ReadSupportPoints(PARAMETER_POOL& pool, const OrbitKeys& keys,
                                                const std::vector<double>& seconds);

}  // namespace quellmark::orbit
