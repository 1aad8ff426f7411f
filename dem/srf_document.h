#pragma once

#include "dem/dem_document.h"

/// A DEM whose tile files are Sun raster files. The program and the geolocation on terrain use this
/// class.
class SRF_DOCUMENT final : public DEM_DOCUMENT {
 public:
  /// Checks the headers of all tiles if the descriptor says that they have any. `fast_mode` maps
  /// the tile where that is possible. Throws ERROR_DESCRIPTOR_VALUE if the descriptor has another
  /// document type, whatever VerifyTileHeaders() throws, and in fast mode whatever
  /// MEM_MGR::MapSrf() throws, or ERROR_CANNOT_READ_SUBDOC if the file is too short for the grid.
  explicit SRF_DOCUMENT(const DEM_DESCRIPTOR& descriptor, bool fast_mode = false);

  /// Always 2.
  [[nodiscard]] unsigned short DocumentType() const override;
  /// Throws ERROR_CANNOT_OPEN_SUBDOC. Width, height, depth and length of a header are not examined.
  void VerifyTileHeaders() override;
};
