#include "toolbox/check/check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/support/files.h"
#include "tests/support/rows.h"
#include <quellmark/pool.h>
#include <quellmark/scene.h>

namespace quellmark::check {
namespace {

namespace fs = std::filesystem;
using test::ReadFile;

std::string Described(const std::vector<Finding>& findings) {
  std::string text;
  for (const Finding& finding : findings) {
    text += std::to_string(finding.line) + (finding.severity == Severity::kError ? " E " : " W ") +
            finding.key + ": " + finding.message + '\n';
  }
  return text;
}

std::string Spoiled(std::string text, const std::string& from, const std::string& to) {
  if (from == "^") return to + text;
  if (from == "$") return text + to;
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

TEST(Check, SpoiledPools) {
  const test::TempDir folder;
  const std::string path = folder / "scene.pool";
  const std::string quebec = ReadFile(QM_EXAMPLES "/s1a_iw1_slc_quebec.pool");
  const auto rows = test::ReadRows(QM_TEST_DATA "/spoiled_pools.txt");
  EXPECT_GE(rows.size(), 60U);
  for (const test::Row& row : rows) {
    ASSERT_EQ(row.size(), 6U) << row[0];
    SCOPED_TRACE(row[0] + " | " + row[1]);
    test::WriteFile(path, Spoiled(quebec, row[0], row[1]));
    const std::vector<Finding> findings = CheckPool(path);
    const Severity severity = row[2] == "error" ? Severity::kError : Severity::kWarning;
    const bool is_found =
        std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
          return finding.severity == severity && finding.key == (row[3] == "-" ? "" : row[3]) &&
                 (row[4] == "-" || finding.line == std::stoul(row[4])) &&
                 finding.message.find(row[5]) != std::string::npos;
        });
    EXPECT_TRUE(is_found) << Described(findings);
    if (row[2] == "warning") {
      for (const Finding& finding : findings) {
        EXPECT_EQ(finding.severity, Severity::kWarning) << Described(findings);
      }
    }
  }
}

TEST(Check, RealScenesAreClean) {
  std::vector<fs::path> folders = {QM_EXAMPLES};
  if (const char* const products = std::getenv("QM_PRODUCTS")) folders.emplace_back(products);
  for (const fs::path& folder : folders) {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
      if (entry.path().extension() != ".pool") continue;
      const std::vector<Finding> findings = CheckPool(entry.path().string());
      EXPECT_TRUE(findings.empty()) << entry.path() << '\n' << Described(findings);
    }
  }
}

TEST(Check, ResultsOfThisSceneAreNotStale) {
  const test::TempDir folder;
  const std::string path = folder / "scene.pool";
  fs::copy_file(QM_EXAMPLES "/s1a_iw1_slc_quebec.pool", path);
  const SceneResults results = Scene::Open(path).Results();
  PoolEditor editor;
  for (const ResultField& field : kResultFields) {
    const double value = results.*field.value;
    if (field.is_float) {
      // The step rounds longitudes in [0, 360), before it subtracts 360 from the western ones.
      const bool is_western = value < 0.0 && field.key.find("lon") != std::string_view::npos;
      const float turn = is_western ? 360.0F : 0.0F;
      editor.Set(field.key, static_cast<float>(value + static_cast<double>(turn)) - turn);
    } else {
      editor.Set(field.key, value);
    }
  }
  editor.Update(path);
  EXPECT_TRUE(CheckPool(path).empty()) << Described(CheckPool(path));
  PoolEditor().Set("local_height", 226.0).Update(path);
  EXPECT_GE(CheckPool(path).size(), 10U) << Described(CheckPool(path));
}

TEST(Check, PoolsThatAreNone) {
  const test::TempDir folder;
  for (const std::string& content :
       {std::string(), std::string("\n\n\n"), std::string(5000, 'x'), std::string(300, '\0'),
        std::string("}\n{\n}\n"), std::string("a\nb\nc STR_V\n")}) {
    test::WriteFile(folder / "scene.pool", content);
    EXPECT_FALSE(CheckPool(folder / "scene.pool").empty());
  }
}

}  // namespace
}  // namespace quellmark::check
