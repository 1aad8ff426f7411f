// The shipped real scenes, their independent truth, and runs of the program on them.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/child.h"
#include "tests/support/files.h"

namespace quellmark::test {

inline constexpr const char* kSceneNames[] = {"s1b_iw_grd_alps", "s1a_s3_slc_comoros",
                                              "s1a_iw1_slc_quebec"};

/// A row of a table, by column name.
using TableRow = std::map<std::string, std::string>;

[[nodiscard]] std::string ScenePool(const std::string& scene);
/// The grid points that the product's processor located.
[[nodiscard]] std::vector<TableRow> SceneTruth(const std::string& scene);
/// Key and value of the 23 whole-scene results, in the order in which the program sets them.
[[nodiscard]] std::vector<std::pair<std::string, double>> SceneResultsTable(
    const std::string& scene);

/// `pool` with `entries` before it, which override its own: a look-up finds the first entry of a
/// key.
[[nodiscard]] std::string Overridden(const std::string& pool,
                                     const std::vector<std::string>& entries);
/// An entry as a line of pool text.
[[nodiscard]] std::string Entry(const std::string& key, const std::string& type,
                                const std::string& value);
/// `text` as the value of a "STR".
[[nodiscard]] std::string Quoted(const std::string& text);
/// `pool` without the entry `key`, which gets another name.
[[nodiscard]] std::string Without(std::string pool, const std::string& key);

/// The value of a scalar entry as text; "" when the key is missing.
[[nodiscard]] std::string ValueOf(const std::string& pool, const std::string& key);

/// A directory with "scene.pool", in which the program can be run.
class SceneRun {
 public:
  explicit SceneRun(const std::string& pool) { WriteFile(directory / "scene.pool", pool); }

  /// Runs the program with log file "log" and both thresholds at TRACE. `arguments` follow the
  /// usual ones and override them, because the last occurrence of a parameter wins.
  ProgramRun Run(const std::vector<std::string>& arguments = {});

  [[nodiscard]] std::string Pool() const { return ReadFile(directory / "scene.pool"); }
  [[nodiscard]] std::string Log() const { return ReadFile(directory / "log"); }
  [[nodiscard]] bool Has(const std::string& name) const {
    return std::filesystem::exists(directory / name);
  }

  TempDir directory;
};

}  // namespace quellmark::test
