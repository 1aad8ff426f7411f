#include "tests/app/example_scene.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/rows.h"

namespace quellmark::test {

namespace {

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::vector<TableRow> ReadTable(const std::string& path) {
  const std::vector<Row> rows = ReadRows(path, ",");
  std::vector<TableRow> table(rows.size() - 1);
  for (std::size_t i = 0; i < table.size(); ++i) {
    for (std::size_t c = 0; c < rows[0].size(); ++c) table[i][rows[0][c]] = rows[i + 1].at(c);
  }
  return table;
}

std::string ScenePath(const std::string& scene, const std::string& extension) {
  return std::string(QM_SCENES) + "/" + scene + extension;
}

bool BeginsKeyLine(const std::string& line) {
  return !line.empty() && std::string(" \t\r#").find(line[0]) == std::string::npos;
}

}  // namespace

std::string ScenePool(const std::string& scene) { return ReadFile(ScenePath(scene, ".pool")); }

std::vector<TableRow> SceneTruth(const std::string& scene) {
  return ReadTable(ScenePath(scene, ".truth.csv"));
}

std::vector<std::pair<std::string, double>> SceneResultsTable(const std::string& scene) {
  std::vector<std::pair<std::string, double>> results;
  for (const TableRow& row : ReadTable(ScenePath(scene, ".results.csv"))) {
    results.emplace_back(row.at("key"), std::stod(row.at("value")));
  }
  return results;
}

std::string Overridden(const std::string& pool, const std::vector<std::string>& entries) {
  std::string text;
  for (const std::string& entry : entries) text += entry;
  return text + pool;
}

std::string Entry(const std::string& key, const std::string& type, const std::string& value) {
  return key + " " + type + " " + value + "\n";
}

std::string Quoted(const std::string& text) {
  std::string quoted("\"");
  quoted += text;
  quoted += '"';
  return quoted;
}

std::string Without(std::string pool, const std::string& key) {
  return pool.insert(pool.find("\n" + key + " ") + 1, "no_");
}

std::string ValueOf(const std::string& pool, const std::string& key) {
  for (const std::string& line : Lines(pool)) {
    std::istringstream words(line);
    std::string name, type, value;
    if (BeginsKeyLine(line) && words >> name >> type >> value && name == key) return value;
  }
  return "";
}

ProgramRun SceneRun::Run(const std::vector<std::string>& arguments) {
  std::vector<std::string> all = {"-log_pp", "log.pool", "-SCENE_POOL", "scene.pool", "-USE_DEM",
                                  "false",   "-lfn",     "log",         "-lfl",       "TRACE"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return RunProgram(QM_PROGRAM, all, directory.Path());
}

}  // namespace quellmark::test
