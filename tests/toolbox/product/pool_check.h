// Checks written scene pools: their values, and the positions that the core locates with them.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "toolbox/product/import.h"

namespace quellmark::product {

/// Values by key, without quotes, and without the range of a vector.
using PoolValues = std::map<std::string, std::vector<std::string>>;

[[nodiscard]] std::string PoolOf(const SceneDescription& scene);
[[nodiscard]] PoolValues ValuesOf(const std::string& pool);

/// Expects the same keys with the same texts, and numbers that agree to `relative`. The values
/// of the keys `others` may differ.
void ExpectSameValues(const PoolValues& values, const PoolValues& expected, double relative,
                      const std::vector<std::string>& others = {});

/// Locates the times and heights of a truth table's rows with the pool. Returns the largest
/// distance on the ground [m] from the table's positions.
[[nodiscard]] double LargestDistance(const std::string& pool, const std::string& truth_path);

}  // namespace quellmark::product
