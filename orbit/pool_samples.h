// Reading of epochs and coordinates, common to all pool orbits.
#pragma once

#include <string_view>
#include <vector>

#include "basic/array.h"

class PARAMETER_POOL;

namespace quellmark::orbit {

/// The epochs under `key` as seconds after the reference time: texts, for S = double also a vector
/// of doubles.
template <class S>
[[nodiscard]] std::vector<double> ReadEpochs(PARAMETER_POOL& pool, std::string_view key,
                                             const S& reference_time);

/// The doubles under `key`. Throws INVALID_PARAMETER_VALUE after an ALARM line if they are not
/// `epoch_count` many, the number of epochs under `time_key`.
[[nodiscard]] ARRAY<double> ReadCoordinate(PARAMETER_POOL& pool, std::string_view key,
                                           std::string_view time_key, int epoch_count);

}  // namespace quellmark::orbit
