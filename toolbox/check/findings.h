// Collects the findings of the checks.
#pragma once

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "toolbox/check/check.h"
#include <quellmark/pool.h>

namespace quellmark::check {

class Findings {
 public:
  void Error(std::size_t line, std::string_view key, std::string message) {
    Add(Severity::kError, line, key, std::move(message));
  }
  void Warning(std::size_t line, std::string_view key, std::string message) {
    Add(Severity::kWarning, line, key, std::move(message));
  }

  /// Whether an error about this entry was found; for an empty key, whether any error was found.
  [[nodiscard]] bool HasError(std::string_view key = {}) const {
    return std::any_of(all_.begin(), all_.end(), [key](const Finding& finding) {
      return finding.severity == Severity::kError && (key.empty() || finding.key == key);
    });
  }

  [[nodiscard]] std::vector<Finding> TakeSorted() {
    std::stable_sort(all_.begin(), all_.end(),
                     [](const Finding& a, const Finding& b) { return a.line < b.line; });
    return std::move(all_);
  }

 private:
  void Add(Severity severity, std::size_t line, std::string_view key, std::string message) {
    all_.push_back({severity, line, std::string(key), std::move(message)});
  }

  std::vector<Finding> all_;
};

/// Returns a number with six digits for a message.
[[nodiscard]] inline std::string Text(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
}

/// Checks the bytes of the file: its encoding, line ends and too long lines. Returns false if
/// further checks could only repeat these findings.
bool CheckBytes(const Pool& pool, Findings& findings);

/// Checks the entries: types, values, and missing, misspelt or repeated keys.
void CheckEntries(const Pool& pool, Findings& findings);

/// Checks whether the step could read the scene, and whether its numbers are plausible.
void CheckScene(const Pool& pool, Findings& findings);

/// Checks the orbit of the pool: epochs, radii, and whether velocities match positions.
void CheckOrbit(const Pool& pool, Findings& findings);

}  // namespace quellmark::check
