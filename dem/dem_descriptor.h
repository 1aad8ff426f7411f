// The contents of a DEM descriptor: the tile files and how the grid lies in them.
#pragma once

#include <cstdint>
#include <optional>

#include "basic/array.h"
#include "basic/string.h"
#include "basic/tuple.h"

namespace quellmark::dem {

inline constexpr short kDocumentSrf = 2;

/// The place of the grid value of index i: at i x resolution (kPixelCentre), or half a cell further
/// east and north (kPixelEdge).
enum class TileAnnotation { kPixelCentre, kPixelEdge };

}  // namespace quellmark::dem

class PARAMETER_POOL;

/// A plain value; copies are deep. File k (from 0) has file_names[k], upper_left[k] and
/// lower_right[k]. Grid indices are global: (longitude, latitude) steps from the point 0 E, 0 N.
struct DEM_DESCRIPTOR {
  STRING directory;          ///< directory of the descriptor, with its final "/"
  ARRAY<STRING> file_names;  ///< relative to `directory`, first index 0
  short type = quellmark::dem::kDocumentSrf;
  bool has_header = false;  ///< the tiles start with an SRF header that must be verified
  short value_type = 0;     ///< a code of kPixelTypes
  bool line_wise = true;    ///< rows one after the other; if false, columns
  int record_header = 0;    ///< bytes in front of each row or column
  bool y_origin_north = false;
  quellmark::dem::TileAnnotation annotation = quellmark::dem::TileAnnotation::kPixelCentre;
  std::int64_t first_offset = 0;      ///< bytes in front of the first record
  ARRAY<TUPLE<int>> upper_left;       ///< north-west grid value of each file; empty if not given
  ARRAY<TUPLE<int>> lower_right;      ///< south-east grid value of each file; empty if not given
  std::optional<int> special_coding;  ///< the value of a missing height
  double lon_res_deg = 0.0;
  double lat_res_deg = 0.0;

  /// Reads the pool file `path`. Throws ERROR_DESCRIPTOR_VALUE, after a line that says why, if a
  /// required key is missing or any key is malformed or out of range. Also throws what opening a
  /// pool throws, and std::out_of_range for an empty path.
  [[nodiscard]] static DEM_DESCRIPTOR ReadFromFile(const STRING& path);
  /// Reads the same from an open pool, which stays open.
  [[nodiscard]] static DEM_DESCRIPTOR ReadFromPool(PARAMETER_POOL& pool);

  /// Throws ERROR_DESCRIPTOR_VALUE, after a line that says why, if the resolutions do not form a
  /// grid or if several files lack their corners.
  void Check() const;

  [[nodiscard]] int FileCount() const { return file_names.Length(); }
};
