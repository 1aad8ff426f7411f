#include "toolbox/cli/dem_commands.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "toolbox/cli/progress_bar.h"
#include "toolbox/raster/dem_import.h"
#include <quellmark/dem.h>

#include <CLI/CLI.hpp>

namespace quellmark::cli {

namespace {

// Shows progress by rows, with the time since its construction.
class RowProgress {
 public:
  void Show(std::size_t done, std::size_t total) {
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start_;
    bar_.Show(done, total, 0, seconds.count());
  }
  void End() { bar_.End(); }

 private:
  ProgressBar bar_{"rows"};
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

int Import(const raster::DemImportOptions& options) {
  RowProgress progress;
  const raster::DemImportResult result =
      raster::ImportDem(options, [&progress](std::int64_t done, std::int64_t total) {
        progress.Show(static_cast<std::size_t>(done), static_cast<std::size_t>(total));
      });
  progress.End();
  for (const std::string& note : result.notes) std::printf("note: %s\n", note.c_str());
  std::printf("%s: %lld x %lld heights from %g m to %g m, %lld missing, %zu tile%s\n",
              options.output.c_str(), static_cast<long long>(result.grid.columns),
              static_cast<long long>(result.grid.rows), result.least_m, result.most_m,
              static_cast<long long>(result.missing), result.tiles, result.tiles == 1 ? "" : "s");
  return kDone;
}

// The results of looking up the middle of every cell of a tile.
struct TileStatistics {
  double least_m = std::numeric_limits<double>::infinity();
  double most_m = -std::numeric_limits<double>::infinity();
  std::size_t voids = 0;
  std::size_t outside = 0;
};

TileStatistics StatisticsOf(const Dem& dem, const DemTile& tile, RowProgress& progress) {
  TileStatistics statistics;
  const auto columns = static_cast<std::size_t>(std::max<std::int64_t>(tile.columns - 1, 0));
  const auto rows = static_cast<std::size_t>(std::max<std::int64_t>(tile.rows - 1, 0));
  std::vector<double> longitudes(columns);
  std::vector<double> latitudes(columns);
  std::vector<double> heights(columns);
  std::vector<HeightStatus> status(columns);
  for (std::size_t i = 0; i < columns; ++i) {
    longitudes[i] = tile.box.west_deg + (static_cast<double>(i) + 0.5) * dem.LongitudeSpacing();
  }
  for (std::size_t row = 0; row < rows; ++row) {
    const double latitude =
        tile.box.south_deg + (static_cast<double>(row) + 0.5) * dem.LatitudeSpacing();
    std::fill(latitudes.begin(), latitudes.end(), latitude);
    dem.HeightsAt(longitudes, latitudes, heights, status);
    for (std::size_t i = 0; i < columns; ++i) {
      if (status[i] == HeightStatus::kVoid) ++statistics.voids;
      if (status[i] == HeightStatus::kOutside) ++statistics.outside;
      if (!std::isfinite(heights[i])) continue;
      statistics.least_m = std::min(statistics.least_m, heights[i]);
      statistics.most_m = std::max(statistics.most_m, heights[i]);
    }
    progress.Show(row + 1, rows);
  }
  return statistics;
}

int Check(const std::string& path) {
  const Dem dem = Dem::Open(path);
  std::size_t faults = 0;
  std::size_t voids = 0;
  const auto fault = [&faults](const std::string& file, const std::string& what) {
    std::printf("%s: error: %s\n", file.c_str(), what.c_str());
    ++faults;
  };
  if (dem.Tiles().empty()) fault(path, "has no tiles");
  RowProgress progress;
  for (const DemTile& tile : dem.Tiles()) {
    const TileStatistics statistics = StatisticsOf(dem, tile, progress);
    voids += statistics.voids;
    progress.End();
    if (statistics.outside != 0) {
      fault(tile.path, std::to_string(statistics.outside) + " cells can not be read");
    }
    // The step searches terrain between these heights.
    constexpr double kLowest_m = -500.0;
    constexpr double kHighest_m = 9000.0;
    if (statistics.least_m < kLowest_m || statistics.most_m > kHighest_m) {
      fault(tile.path, "has heights from " + std::to_string(statistics.least_m) + " m to " +
                           std::to_string(statistics.most_m) + " m");
    }
  }
  std::printf("%s: %zu errors, %zu cells without a height\n", path.c_str(), faults, voids);
  return faults == 0 ? kDone : kFailed;
}

int Info(const std::string& path) {
  const Dem dem = Dem::Open(path);
  std::printf("%s: %zu tiles, heights every %.9g x %.9g degrees\n", path.c_str(),
              dem.Tiles().size(), dem.LongitudeSpacing(), dem.LatitudeSpacing());
  if (dem.VoidValue()) std::printf("missing heights: %.9g\n", *dem.VoidValue());
  for (const DemTile& tile : dem.Tiles()) {
    std::printf("%s: %lld x %lld, longitude %.6f to %.6f, latitude %.6f to %.6f\n",
                tile.path.c_str(), static_cast<long long>(tile.columns),
                static_cast<long long>(tile.rows), tile.box.west_deg, tile.box.east_deg,
                tile.box.south_deg, tile.box.north_deg);
  }
  return kDone;
}

RunCommand AddForDescriptor(CLI::App& command, const char* description,
                            int (*run)(const std::string&)) {
  const auto path = std::make_shared<std::string>();
  command.description(description);
  command.add_option("DEM", *path, "The descriptor of a DEM")->required();
  return [path, run] { return run(*path); };
}

}  // namespace

RunCommand AddDemImport(CLI::App& command) {
  const auto options = std::make_shared<raster::DemImportOptions>();
  command.description("Make a DEM of rasters that GDAL reads");
  command.add_option("RASTER", options->rasters, "A raster; several become a mosaic")->required();
  command.add_option("-o,--output", options->output,
                     "The descriptor to write (default: terrain.dem); tiles stand beside it");
  command
      .add_option("--tile-size", options->tile_size,
                  "Columns and rows of a tile at most (default: one tile for all)")
      ->check(CLI::Range(std::int64_t{2}, std::int64_t{1} << 30));
  command.add_option("--geoid", options->geoid,
                     "A raster of the geoid's heights above the ellipsoid, to be added");
  command.footer(
      "Example:\n"
      "  qmtool-dem import n45_e009.tif n45_e010.tif -o alps.dem\n"
      "One tile of 16-bit heights is what the step reads fastest.");
  return [options] { return Import(*options); };
}

RunCommand AddDemCheck(CLI::App& command) {
  return AddForDescriptor(command, "Read every height of a DEM and tell what is wrong", Check);
}

RunCommand AddDemInfo(CLI::App& command) {
  return AddForDescriptor(command, "Tell what a DEM covers", Info);
}

}  // namespace quellmark::cli
