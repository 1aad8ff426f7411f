// Terrain heights from tiled raster files; docs/dem-format.md describes the format.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "basic/unique_fd.h"
#include "dem/dem_descriptor.h"
#include "dem/grid.h"
#include "dem/interpolation.h"
#include "dem/mapped_tile.h"
#include "dem/mem_mgr.h"

/// A DEM; derived classes define the kind of its tile files. Longitudes and latitudes are geodetic
/// degrees, heights are metres.
///
/// Reads from one tile file at a time and keeps it open between look-ups, so only one thread at a
/// time may use a document. In fast mode the single tile is mapped, and reads are unchecked because
/// all offsets of the grid have been compared with the file's size. Then any number of threads may
/// look heights up, with one restriction: a look-up at a pole, outside the tile or among missing
/// values only writes to the log, which threads must not do at the same time.
/// quellmark::dem::HeightReader has no such restriction.
class DEM_DOCUMENT {
 public:
  virtual ~DEM_DOCUMENT();

  /// The bilinear height between the four grid values around the point. Missing values (special
  /// coding) are left out, and the weights of the others are scaled up. If these weights are all 0
  /// or only rounding noise, the nearest of the valid values is the height. A cell that reaches
  /// beyond a pole has only one row and is not interpolated; its western value is the height.
  /// Throws ERROR_SPECIAL_CODING_INTERPOLATION if all four values are missing, ERROR_NO_SUBDOC if
  /// no tile holds one of them, ERROR_CANNOT_OPEN_SUBDOC and ERROR_CANNOT_READ_SUBDOC.
  [[nodiscard]] virtual double GetElevationInterpolated(double longitude_deg, double latitude_deg);
  /// The nearest grid value, even if it is the special coding. Throws like
  /// GetElevationInterpolated().
  [[nodiscard]] virtual double GetElevationNearest(double longitude_deg, double latitude_deg);
  /// The grid value with these global indices, even if it is the special coding. Throws likewise.
  [[nodiscard]] virtual double GetGridValue(int lon_index, int lat_index);
  [[nodiscard]] virtual unsigned short DocumentType() const = 0;
  /// Checks the headers of all tile files and takes the first offset from them.
  virtual void VerifyTileHeaders() = 0;

  /// The grid cell around a point. Logs a line if the cell reaches beyond a pole.
  [[nodiscard]] quellmark::dem::GridCell CellOf(double longitude_deg, double latitude_deg) const;
  /// Makes the first tile that holds the grid value the current one, opens it and returns its
  /// index.
  int SelectSubdocument(int lon_index, int lat_index);
  /// Column and row of a grid value in tile `file`. Throws ERROR_ARGUMENTS if the tile does not
  /// hold it.
  [[nodiscard]] quellmark::dem::TileIndex LocalIndexOf(int file, int lon_index,
                                                       int lat_index) const;
  /// The offset of the value from the first byte of the tile file.
  [[nodiscard]] std::int64_t FileOffsetOf(int file, quellmark::dem::TileIndex at) const;
  /// The value at an offset of the current tile. Unchecked in fast mode.
  [[nodiscard]] double ReadValue(std::int64_t offset);

  [[nodiscard]] const DEM_DESCRIPTOR& Descriptor() const { return descriptor_; }
  [[nodiscard]] quellmark::dem::IndexBounds LongitudeBounds() const { return grid_.lon; }
  [[nodiscard]] quellmark::dem::IndexBounds LatitudeBounds() const { return grid_.lat; }
  [[nodiscard]] bool IsFast() const { return mapped_.IsMapped(); }
  [[nodiscard]] const quellmark::dem::Grid& GlobalGrid() const { return grid_; }
  [[nodiscard]] const quellmark::dem::Storage& TileStorage() const { return storage_; }
  /// The place of the grid in each file.
  [[nodiscard]] const std::vector<quellmark::dem::TilePlace>& TilePlaces() const { return tiles_; }
  [[nodiscard]] std::string PathOf(int file) const;
  /// The value that marks a missing height; NaN, which equals no value, if there is no special
  /// coding.
  [[nodiscard]] double MissingValue() const { return missing_value_; }

 protected:
  /// Throws ERROR_NOT_SUPPORTED_PIXEL_TYPE for an unknown value type, and ERROR_DESCRIPTOR_VALUE
  /// for resolutions and corners that do not form a grid. With `fast`, maps the tile if possible
  /// (else a line says why not); the mapping is used from EnableFastMode() on.
  explicit DEM_DOCUMENT(const DEM_DESCRIPTOR& descriptor, bool fast = false);
  /// A copy opens its own tiles. A mapping is shared and is released with its last user.
  DEM_DOCUMENT(const DEM_DOCUMENT&) = default;
  DEM_DOCUMENT& operator=(const DEM_DOCUMENT&) = default;

  /// Whether fast mode is wanted and possible. Logs the reason if it is not possible.
  [[nodiscard]] bool CheckDescriptor(bool fast) const;
  void SetDescriptor(bool fast);
  /// Turns fast mode on if a tile is mapped and every offset of its grid fits the file; throws
  /// ERROR_CANNOT_READ_SUBDOC if one does not. The constructor of each derived class must call it
  /// once the first offset is known.
  void EnableFastMode();

  DEM_DESCRIPTOR descriptor_;

 private:
  /// The tile file that is open. A copy starts without one.
  struct CurrentTile {
    CurrentTile() = default;
    CurrentTile(const CurrentTile&) {}
    CurrentTile& operator=(const CurrentTile&);

    int file = -1;
    quellmark::basic::UniqueFd fd;
    std::int64_t size_bytes = -1;
  };
  void PlaceTiles();
  [[nodiscard]] quellmark::dem::CellPoint PlaceInCell(double x, double y) const;
  [[nodiscard]] double InterpolateAt(double longitude_deg, double latitude_deg);
  [[nodiscard]] int TileHolding(int lon_index, int lat_index) const;
  void OpenTile(int file);
  void DumpMissingCell(const quellmark::dem::GridCell& cell,
                       const quellmark::dem::CornerValues& corners) const;

  quellmark::dem::Grid grid_;
  quellmark::dem::MappedTile mapped_;
  int missing_int2_ = std::numeric_limits<int>::min();  ///< beyond 16 bits, so it equals no value
  double missing_value_ = std::numeric_limits<double>::quiet_NaN();  ///< NaN equals no value

  quellmark::dem::Storage storage_;
  std::vector<quellmark::dem::TilePlace> tiles_;  ///< one for each file
  CurrentTile current_;
  std::shared_ptr<MEM_MGR> mapping_;  ///< mapped, but not yet in use
};
