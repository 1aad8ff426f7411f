#include <cstdio>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>

#include "toolbox/cli/command.h"
#include "toolbox/cli/output.h"
#include "toolbox/product/import.h"

#include <CLI/CLI.hpp>

namespace quellmark::cli {

namespace {

struct Arguments {
  std::string product;
  std::string output;
  std::string orbit_file;
  product::ImportOptions options;
};

int Run(Arguments& arguments) {
  arguments.options.orbit_file = arguments.orbit_file;
  const product::ImportedScene imported =
      product::ImportProduct(arguments.product, arguments.options);
  std::ostringstream pool;
  product::WritePool(imported.scene, pool);
  WriteOutput(arguments.output, pool.str());
  // Notes go to standard error, because the pool may go to standard output.
  for (const std::string& note : imported.notes) std::fprintf(stderr, "note: %s\n", note.c_str());
  std::fprintf(stderr, "%s: %s, %s: %d x %d samples, %zu state vectors\n",
               arguments.output.empty() ? "standard output" : arguments.output.c_str(),
               imported.scene.mission.c_str(), imported.scene.product.c_str(),
               imported.scene.n_samples.value, imported.scene.n_lines.value,
               imported.scene.orbit.value.size());
  return kDone;
}

}  // namespace

RunCommand AddImport(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  command.description("Make a scene pool of a product's metadata");
  command
      .add_option("PRODUCT", arguments->product,
                  "Folder, zip archive or main metadata file of a Sentinel-1, TerraSAR-X, "
                  "TanDEM-X, PAZ, RCM, RADARSAT-2, ICEYE or NISAR product")
      ->required();
  command.add_option("-o,--output", arguments->output,
                     "The pool to write (default: standard output)");
  command.add_option("--orbit", arguments->orbit_file,
                     "A precise or restituted orbit file of Sentinel-1");
  command.add_flag("--smooth-orbit", arguments->options.smooth_orbit,
                   "Fit positions and velocities of a noisy orbit together");
  command.add_option("--swath", arguments->options.swath, "Of a product with several: IW2");
  command.add_option("--polarisation", arguments->options.polarisation, "Such as VV");
  command.footer(
      "Example:\n"
      "  qmtool import S1A_IW_SLC.zip --swath IW2 -o scene.pool\n"
      "The comments of the pool tell where each value comes from.");
  return [arguments] { return Run(*arguments); };
}

}  // namespace quellmark::cli
