// Makes a DEM from rasters.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "toolbox/raster/dem_grid.h"
#include "toolbox/raster/raster_source.h"

namespace quellmark::raster {

struct DemImportOptions {
  std::vector<std::string> rasters;  ///< one raster, or several as a mosaic
  std::string output = "terrain.dem";
  std::int64_t tile_size = 0;  ///< greatest number of columns and rows of a tile; 0 for one tile
  std::string geoid;           ///< raster of the geoid heights if the rasters refer to a geoid
};

struct DemImportResult {
  GridPlacement grid;
  HeightType type = HeightType::kInt16;
  std::size_t tiles = 0;
  std::int64_t missing = 0;  ///< number of grid values without a height
  double least_m = 0.0;      ///< 0 if all are missing
  double most_m = 0.0;
  std::vector<std::string> notes;  ///< sentences about changes to the rasters
};

/// Receives the number of rows done so far.
using ReportRows = std::function<void(std::int64_t done, std::int64_t total)>;

/// Writes the tiles beside `options.output`, with names derived from it, and then that descriptor.
/// An existing file is replaced when the new one is complete, and a failure leaves no incomplete
/// file. Throws std::runtime_error.
DemImportResult ImportDem(const DemImportOptions& options, const ReportRows& report);

}  // namespace quellmark::raster
