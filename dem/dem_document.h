// Terrain heights from tiled raster files, see docs/dem-format.md.
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

/// A DEM of which only the kind of its tile files is left open. Longitudes and latitudes are
/// geodetic degrees, heights metres.
///
/// Reads from one tile file at a time, which stays open between look-ups: not for two threads at
/// once. In fast mode the one tile is mapped, every read is unchecked, since all offsets of the
/// grid have been held against the file, and any number of threads may look heights up, with one
/// restriction: a look-up at a pole, outside of the tile or among missing values alone writes to
/// the log, which threads must not do at the same time. quellmark::dem::HeightReader has no such
/// restriction.
class DEM_DOCUMENT {
 public:
  virtual ~DEM_DOCUMENT();

  /// Height between the four grid values around the point, bilinear. Missing values (special
  /// coding) leave the interpolation to the others, in proportion to their weights; when these
  /// weights are all 0, or nothing but rounding noise, the nearest of them is taken. A cell that
  /// reaches beyond a pole is not interpolated: its one row's western value is the height. Throws
  /// ERROR_SPECIAL_CODING_INTERPOLATION if all four are missing, ERROR_NO_SUBDOC if no tile holds
  /// one of them, ERROR_CANNOT_OPEN_SUBDOC and ERROR_CANNOT_READ_SUBDOC.
  [[nodiscard]] virtual double GetElevationInterpolated(double longitude_deg, double latitude_deg);
  /// The nearest grid value, special coding or not. Throws as GetElevationInterpolated().
  [[nodiscard]] virtual double GetElevationNearest(double longitude_deg, double latitude_deg);
  /// The grid value with these global indices, special coding or not. Throws likewise.
  [[nodiscard]] virtual double GetGridValue(int lon_index, int lat_index);
  [[nodiscard]] virtual unsigned short DocumentType() const = 0;
  /// Checks the headers of all tile files and takes the first offset from them.
  virtual void VerifyTileHeaders() = 0;

  /// The grid cell of a point; logs if it reaches beyond a pole.
  [[nodiscard]] quellmark::dem::GridCell CellOf(double longitude_deg, double latitude_deg) const;
  /// Makes the first tile that holds the grid value the current one, opens it and gives its index.
  int SelectSubdocument(int lon_index, int lat_index);
  /// Column and row of a grid value in tile `file`; throws ERROR_ARGUMENTS if it is not in there.
  [[nodiscard]] quellmark::dem::TileIndex LocalIndexOf(int file, int lon_index,
                                                       int lat_index) const;
  /// Where the value stands in the tile file, from its first byte.
  [[nodiscard]] std::int64_t FileOffsetOf(int file, quellmark::dem::TileIndex at) const;
  /// The value at an offset of the current tile. Unchecked in fast mode.
  [[nodiscard]] double ReadValue(std::int64_t offset);

  [[nodiscard]] const DEM_DESCRIPTOR& Descriptor() const { return descriptor_; }
  [[nodiscard]] quellmark::dem::IndexBounds LongitudeBounds() const { return grid_.lon; }
  [[nodiscard]] quellmark::dem::IndexBounds LatitudeBounds() const { return grid_.lat; }
  [[nodiscard]] bool IsFast() const { return mapped_.IsMapped(); }
  [[nodiscard]] const quellmark::dem::Grid& GlobalGrid() const { return grid_; }
  [[nodiscard]] const quellmark::dem::Storage& TileStorage() const { return storage_; }
  /// How the grid lies in each file.
  [[nodiscard]] const std::vector<quellmark::dem::TilePlace>& TilePlaces() const { return tiles_; }
  [[nodiscard]] std::string PathOf(int file) const;
  /// Marks a missing grid value; NaN, which equals no value, without special coding.
  [[nodiscard]] double MissingValue() const { return missing_value_; }

 protected:
  /// Throws ERROR_NOT_SUPPORTED_PIXEL_TYPE for a value type that is none, ERROR_DESCRIPTOR_VALUE
  /// for resolutions and corners that make no grid. With `fast` maps the tile where that is
  /// possible (else a line says why not); it is used from SettleMapping() on.
  explicit DEM_DOCUMENT(const DEM_DESCRIPTOR& descriptor, bool fast = false);
  /// A copy opens its tiles itself; a mapping is shared and goes with the last that uses it.
  DEM_DOCUMENT(const DEM_DOCUMENT&) = default;
  DEM_DOCUMENT& operator=(const DEM_DOCUMENT&) = default;

  /// Whether fast mode is possible if it is wanted; logs what stands against it.
  [[nodiscard]] bool CheckDescriptor(bool fast) const;
  void SetDescriptor(bool fast);
  /// Turns fast mode on if a tile is mapped, after holding every offset of its grid against the
  /// file; throws ERROR_CANNOT_READ_SUBDOC if they do not fit. To be called by the constructor of
  /// each class below, once the first offset is known.
  void SettleMapping();

  DEM_DESCRIPTOR descriptor_;

 private:
  /// The tile file that is open; a copy has none.
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
  int missing_int2_ = std::numeric_limits<int>::min();  ///< no 16-bit value, if there is no coding
  double missing_value_ = std::numeric_limits<double>::quiet_NaN();  ///< NaN equals no value

  quellmark::dem::Storage storage_;
  std::vector<quellmark::dem::TilePlace> tiles_;  ///< one for each file
  CurrentTile current_;
  std::shared_ptr<MEM_MGR> mapping_;  ///< not yet settled
};
