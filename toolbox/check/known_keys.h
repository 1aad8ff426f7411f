// The entries that the step reads and writes.
#pragma once

#include <array>
#include <string_view>

#include <quellmark/pool.h>

namespace quellmark::check {

struct KnownKey {
  std::string_view key;
  ValueType type;
  bool is_required;
};

/// The entries that the step reads from a scene pool. The pool itself names the keys of epochs and
/// coordinates.
inline constexpr std::array kKnownKeys = {
    KnownKey{"first_az_time", ValueType::kDouble, true},
    KnownKey{"first_rg_time", ValueType::kDouble, true},
    KnownKey{"prf", ValueType::kDouble, true},
    KnownKey{"range_sampling_frequency", ValueType::kDouble, true},
    KnownKey{"n_samples", ValueType::kInt32, true},
    KnownKey{"n_lines", ValueType::kInt32, true},
    KnownKey{"antenna_look_direction", ValueType::kString, true},
    KnownKey{"local_height", ValueType::kDouble, false},
    KnownKey{"radar_frequency", ValueType::kDouble, true},
    KnownKey{"orbit_representation", ValueType::kString, true},
    KnownKey{"orbit_interpolation", ValueType::kString, true},
    KnownKey{"orbit_param_key", ValueType::kString, true},
    KnownKey{"orbit_value_key", ValueType::kStringVector, true},
    KnownKey{"orbit_velocity_key", ValueType::kStringVector, false},
    KnownKey{"orbit_reference_time", ValueType::kString, true},
    KnownKey{"orbit_data_file", ValueType::kString, false},
};

}  // namespace quellmark::check
