// DEMs made for a test: a terrain known in closed form, written as tiles and a descriptor.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dem/srf_document.h"
#include "tests/support/files.h"

namespace quellmark::test {

/// One tile, defined by its corners as in the descriptor.
struct TestTile {
  int west;
  int north;
  int east;
  int south;
};

/// The terrain at a grid point: whole metres of either sign, with steps of a few metres between
/// neighbours. No two cells are alike, so that a wrong cell, row or byte shows.
[[nodiscard]] int TerrainAt(int lon_index, int lat_index);

/// The properties of a DEM. The defaults make the simplest one.
struct TestDem {
  std::vector<TestTile> tiles{};
  double resolution_arcsec = 3.0;
  double lat_resolution_arcsec = resolution_arcsec;  ///< square cells
  int value_type = 2;
  bool line_wise = true;
  bool north_first = false;
  int record_header = 0;
  std::uint32_t colormap_length = 0;
  std::string annotation = "PIXEL_CENTRE";
  /// If false, the descriptor does not use the header of the tile but sets the first offset to 100
  /// bytes.
  bool has_header = true;
  std::optional<int> special_coding = -32767;
  int (*terrain)(int lon_index, int lat_index) = TerrainAt;

  static constexpr int kRawOffset = 100;
  [[nodiscard]] int LonCount() const { return static_cast<int>(1296000 / resolution_arcsec + 0.5); }
  [[nodiscard]] int Columns(const TestTile& tile) const;
};

/// The bilinear surface over the terrain, evaluated with extended precision.
[[nodiscard]] double TerrainHeight(const TestDem& dem, double longitude_deg, double latitude_deg);

/// The bytes of a tile file. The `missing` grid points (global indices) have the special coding.
[[nodiscard]] std::string TileBytes(const TestDem& dem, const TestTile& tile,
                                    const std::vector<std::pair<int, int>>& missing = {});
/// The 32 bytes of a header.
[[nodiscard]] std::string SrfHeaderBytes(std::uint32_t width, std::uint32_t height,
                                         std::uint32_t type, std::uint32_t colormap_length = 0,
                                         std::uint32_t magic = 0x59A66A95);
/// The text of the descriptor; tile k is "tile<k>.srf".
[[nodiscard]] std::string DescriptorText(const TestDem& dem);
/// Writes descriptor and tiles into `directory` and returns the descriptor's path.
std::string WriteDem(const TempDir& directory, const TestDem& dem,
                     const std::vector<std::pair<int, int>>& missing = {});

/// Returns the text after the line that begins with `key` was replaced by `line`, or removed if
/// `line` is empty.
[[nodiscard]] std::string WithLine(const std::string& text, const std::string& key,
                                   const std::string& line);

}  // namespace quellmark::test
