// Terrain heights for many threads at once.
#pragma once

#include <optional>
#include <vector>

#include "dem/grid.h"
#include "dem/mapped_tile.h"

class DEM_DOCUMENT;

namespace quellmark::dem {

enum class HeightStatus : unsigned char {
  kFound,
  kMissing,  ///< the DEM marks all values around the point as missing
  kOutside   ///< no tile holds one of the values around the point; also for NaN and infinity
};

struct TerrainHeight {
  double height_m;  ///< NaN unless found
  HeightStatus status;
};

/// All tiles of a DEM, mapped: any number of files of every value type, with or without headers.
/// Any number of threads may look heights up in one reader. A look-up neither logs nor throws nor
/// allocates. Copies share the mappings. As with every mapping, cutting a tile short during use
/// ends the process: replace tiles by renaming.
class HeightReader {
 public:
  /// Takes the layout from `document`, whose headers must have been verified; `document` is not
  /// needed afterwards. Throws what MEM_MGR::MapFile() throws, and ERROR_CANNOT_READ_SUBDOC for a
  /// tile that is too short for its grid.
  explicit HeightReader(const DEM_DOCUMENT& document);

  /// Returns the same height, to the last bit, as DEM_DOCUMENT::GetElevationInterpolated(), in
  /// metres above the zero level of the DEM. Takes geodetic degrees; longitudes may be in [-180,
  /// 180] or in [0, 360].
  [[nodiscard]] TerrainHeight At(double longitude_deg, double latitude_deg) const noexcept;

  /// Returns the value with these global indices as the tile stores it; nothing where no tile has
  /// one. A missing value is the descriptor's special coding.
  [[nodiscard]] std::optional<double> ValueAt(int lon_index, int lat_index) const noexcept;

 private:
  template <class Value, class Wide>
  [[nodiscard]] TerrainHeight Find(double x, double y, Wide missing) const noexcept;
  template <class Value>
  [[nodiscard]] TerrainHeight FindAnywhere(double x, double y) const noexcept;
  template <class Value>
  [[nodiscard]] bool Read(int lon_index, int lat_index, double& value) const noexcept;

  Grid grid_;
  double missing_;
  int missing_int2_;
  short value_type_;
  std::vector<MappedTile> tiles_;
};

}  // namespace quellmark::dem
