// The data of a Dem.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "dem/height_reader.h"
#include "dem/srf_document.h"
#include "imaging/terrain_grid.h"
#include <quellmark/dem.h>

namespace quellmark {

struct Dem::Impl {
  explicit Impl(const std::string& descriptor_path);

  /// Returns the terrain in a box. It is kept for the next call, because images are often located
  /// in pieces.
  [[nodiscard]] std::shared_ptr<const imaging::TerrainGrid> TerrainIn(
      const imaging::GeoBox& box) const;

  std::string path;
  SRF_DOCUMENT document;
  dem::HeightReader heights;
  std::vector<DemTile> tiles;

 private:
  struct Terrain {
    std::mutex mutex;
    imaging::GeoBox box;
    std::shared_ptr<const imaging::TerrainGrid> grid;
  };

  const std::unique_ptr<Terrain> terrain_;
};

}  // namespace quellmark
