#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "toolbox/cli/command.h"
#include "toolbox/cli/output.h"
#include "toolbox/report/map_page.h"
#include <quellmark/scene.h>

#include <CLI/CLI.hpp>

namespace quellmark::cli {

namespace {

struct Arguments {
  std::vector<std::string> pools;
  std::string output = "map.html";
};

int Run(const Arguments& arguments) {
  std::vector<report::MapScene> scenes;
  for (const std::string& path : arguments.pools) {
    const std::string name = std::filesystem::path(path).stem().string();
    scenes.push_back(report::MapSceneOf(name, Scene::Open(path)));
  }
  const bool is_svg = std::filesystem::path(arguments.output).extension() == ".svg";
  WriteOutput(arguments.output, is_svg ? report::MapSvg(scenes) : report::MapHtml(scenes));
  std::printf("%s: %zu scene%s\n", arguments.output.c_str(), scenes.size(),
              scenes.size() == 1 ? "" : "s");
  return kDone;
}

}  // namespace

RunCommand AddMap(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  command.description("Draw where scenes lie, as a page or a picture");
  command.add_option("POOL", arguments->pools, "The scenes")->required();
  command.add_option("-o,--output", arguments->output,
                     "map.html (default) or a name that ends in .svg");
  command.footer(
      "Example:\n"
      "  qmtool map scene.pool other.pool -o map.html\n"
      "makes a page with zoom and pan that needs no network.");
  return [arguments] { return Run(*arguments); };
}

}  // namespace quellmark::cli
