#include "dem/height_reader.h"

#include <cstdint>
#include <limits>
#include <memory>

#include "dem/dem_document.h"
#include "dem/pixel_type.h"

namespace quellmark::dem {

namespace {

constexpr int kNoInt2 = std::numeric_limits<int>::min();
constexpr TerrainHeight kNoHeight = {std::numeric_limits<double>::quiet_NaN(),
                                     HeightStatus::kOutside};

}  // namespace

HeightReader::HeightReader(const DEM_DOCUMENT& document)
    : grid_(document.GlobalGrid()),
      missing_(document.MissingValue()),
      missing_int2_(document.Descriptor().special_coding.value_or(kNoInt2)),
      value_type_(document.Descriptor().value_type) {
  for (int file = 0; file < document.Descriptor().FileCount(); ++file) {
    auto memory = std::make_shared<MEM_MGR>();
    memory->MapFile(document.PathOf(file));
    tiles_.emplace_back(std::move(memory), document.TilePlaces()[static_cast<std::size_t>(file)],
                        document.TileStorage(), document.Descriptor().first_offset, grid_);
  }
}

TerrainHeight HeightReader::At(double longitude_deg, double latitude_deg) const noexcept {
  const double x = grid_.X(longitude_deg >= 180.0 ? longitude_deg - 360.0 : longitude_deg);
  const double y = grid_.Y(latitude_deg);
  if (value_type_ == kPixelInt2) return Find<std::int16_t>(x, y, missing_int2_);
  if (value_type_ == kPixelInt4) return Find<std::int32_t>(x, y, missing_);
  return Find<float>(x, y, missing_);
}

std::optional<double> HeightReader::ValueAt(int lon_index, int lat_index) const noexcept {
  double value = 0.0;
  const bool is_found = value_type_ == kPixelInt2 ? Read<std::int16_t>(lon_index, lat_index, value)
                        : value_type_ == kPixelInt4
                            ? Read<std::int32_t>(lon_index, lat_index, value)
                            : Read<float>(lon_index, lat_index, value);
  return is_found ? std::optional(value) : std::nullopt;
}

template <class Value, class Wide>
TerrainHeight HeightReader::Find(double x, double y, Wide missing) const noexcept {
  for (const MappedTile& tile : tiles_) {
    double height_m = 0.0;
    if (tile.Interpolate<Value>(x, y, missing, height_m) && height_m == height_m) {
      return {height_m, HeightStatus::kFound};
    }
    // The first tile that holds a corner supplies it, so later tiles must not interpolate the cell.
    if (tile.MayTouch(x, y)) break;
  }
  return FindAnywhere<Value>(x, y);
}

template <class Value>
TerrainHeight HeightReader::FindAnywhere(double x, double y) const noexcept {
  const CellPoint point = grid_.Place(x, y);
  const GridCell& cell = point.cell;
  CornerValues corners;
  if (!Read<Value>(cell.west, cell.south, corners[0]) ||
      !Read<Value>(cell.east, cell.south, corners[1]) ||
      !Read<Value>(cell.west, cell.north, corners[2]) ||
      !Read<Value>(cell.east, cell.north, corners[3])) {
    return kNoHeight;
  }
  const auto height_m = InterpolateCell(point, corners, missing_);
  // A tile of floats may hold NaN.
  if (!height_m || !(*height_m == *height_m)) return {kNoHeight.height_m, HeightStatus::kMissing};
  return {*height_m, HeightStatus::kFound};
}

template <class Value>
bool HeightReader::Read(int lon_index, int lat_index, double& value) const noexcept {
  for (const MappedTile& tile : tiles_) {
    if (const unsigned char* const at = tile.Find(lon_index, lat_index)) {
      value = static_cast<double>(LoadAs<Value>(at));
      return true;
    }
  }
  return false;
}

}  // namespace quellmark::dem
