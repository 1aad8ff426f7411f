// Makes a DEM of rasters.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "toolbox/raster/dem_grid.h"
#include "toolbox/raster/raster_source.h"

namespace quellmark::raster {

struct DemImportOptions {
  std::vector<std::string> rasters;  ///< one, or several that make a mosaic
  std::string output = "terrain.dem";
  std::int64_t tile_size = 0;  ///< columns and rows of a tile at most; 0: one tile
  std::string geoid;           ///< a raster of the geoid's heights, if the rasters are over one
};

struct DemImportResult {
  GridPlacement grid;
  HeightType type = HeightType::kInt16;
  std::size_t tiles = 0;
  std::int64_t missing = 0;  ///< grid values without a height
  double least_m = 0.0;      ///< 0 if all are missing
  double most_m = 0.0;
  std::vector<std::string> notes;  ///< what was done to the rasters, a sentence each
};

/// Is told of the rows that are done.
using ReportRows = std::function<void(std::int64_t done, std::int64_t total)>;

/// Writes the tiles beside `options.output`, named after it, and then that descriptor. What stands
/// there already is replaced when the new file is complete; a failure leaves no half-written file.
/// Throws std::runtime_error.
DemImportResult ImportDem(const DemImportOptions& options, const ReportRows& report);

}  // namespace quellmark::raster
