#include "tests/app/example_scene.h"

#include <gtest/gtest.h>

#include <sstream>

namespace quellmark::test {

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> fields;
  std::istringstream stream(text);
  for (std::string field; std::getline(stream, field, separator);) fields.push_back(field);
  return fields;
}

namespace {

std::vector<TableRow> ReadTable(const std::string& path) {
  const std::vector<std::string> lines = Split(ReadFile(path), '\n');
  const std::vector<std::string> columns = Split(lines.at(0), ',');
  std::vector<TableRow> rows;
  for (std::size_t i = 1; i < lines.size(); ++i) {
    const std::vector<std::string> fields = Split(lines[i], ',');
    TableRow& row = rows.emplace_back();
    for (std::size_t c = 0; c < columns.size(); ++c) row[columns[c]] = fields.at(c);
  }
  return rows;
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

std::string Without(const std::string& pool, const std::string& key) {
  std::string text;
  bool inside = false;
  for (const std::string& line : Split(pool, '\n')) {
    if (BeginsKeyLine(line)) inside = line.substr(0, line.find_first_of(" \t")) == key;
    if (!line.empty() && line[0] == '#') inside = false;
    if (!inside) text += line + "\n";
  }
  return text;
}

std::string ValueOf(const std::string& pool, const std::string& key) {
  for (const std::string& line : Split(pool, '\n')) {
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
