// Scene pools that were written: their values, and where the step's core locates them.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "toolbox/product/import.h"

namespace quellmark::product {

/// Values by key, unquoted; those of a vector without its range.
using PoolValues = std::map<std::string, std::vector<std::string>>;

[[nodiscard]] std::string PoolOf(const SceneDescription& scene);
[[nodiscard]] PoolValues ValuesOf(const std::string& pool);

/// Expects the same keys with the same texts, and numbers that agree to `relative` but for those of
/// `others`.
void ExpectSameValues(const PoolValues& values, const PoolValues& expected, double relative,
                      const std::vector<std::string>& others = {});

/// The largest distance [m] on the ground between the rows of a truth table and where the core
/// locates their times in the pool, each at its own height.
[[nodiscard]] double LargestDistance(const std::string& pool, const std::string& truth_path);

}  // namespace quellmark::product
