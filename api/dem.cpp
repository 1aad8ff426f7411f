#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "api/call.h"
#include "api/dem_impl.h"
#include "api/longitude.h"
#include "basic/errors.h"
#include "pool/parameter_pool.h"
#include <quellmark/dem.h>

namespace quellmark {
namespace {

using api::Call;
using api::Concern;

// The area of a tile as longitudes and latitudes.
DemTile TileOf(const SRF_DOCUMENT& document, int file) {
  const dem::Grid& grid = document.GlobalGrid();
  const dem::TileExtent& extent = document.TilePlaces()[static_cast<std::size_t>(file)].extent;
  const auto longitude = [&](std::int64_t index) {
    return api::NormalLongitude(static_cast<double>(index) * grid.lon_res_deg +
                                grid.lon_offset_deg);
  };
  const auto latitude = [&](std::int64_t index) {
    return static_cast<double>(index) * grid.lat_res_deg + grid.lat_offset_deg;
  };
  return {.path = document.PathOf(file),
          .box = {.west_deg = longitude(extent.west),
                  .south_deg = latitude(extent.south),
                  .east_deg = longitude(extent.west + extent.columns - 1),
                  .north_deg = latitude(extent.south + extent.rows - 1)},
          .columns = extent.columns,
          .rows = extent.rows};
}

struct Height {
  double height_m;
  HeightStatus status;
};

Height HeightIn(const dem::HeightReader& heights, double longitude_deg, double latitude_deg) {
  if (!std::isfinite(longitude_deg) || !std::isfinite(latitude_deg)) {
    return {std::numeric_limits<double>::quiet_NaN(), HeightStatus::kBadInput};
  }
  const dem::TerrainHeight found = heights.At(api::NormalLongitude(longitude_deg), latitude_deg);
  return {found.height_m, static_cast<HeightStatus>(found.status)};
}

static_assert(
    static_cast<int>(HeightStatus::kFound) == static_cast<int>(dem::HeightStatus::kFound) &&
    static_cast<int>(HeightStatus::kVoid) == static_cast<int>(dem::HeightStatus::kMissing) &&
    static_cast<int>(HeightStatus::kOutside) == static_cast<int>(dem::HeightStatus::kOutside));

// The distance eastwards from one meridian to another, in [0, 360) degrees.
double EastFrom(double west_deg, double east_deg) {
  const double span = east_deg - west_deg;
  return span < 0.0 ? span + 360.0 : span;
}

bool Holds(const imaging::GeoBox& outer, const imaging::GeoBox& inner) {
  return outer.south_deg <= inner.south_deg && outer.north_deg >= inner.north_deg &&
         EastFrom(outer.west_deg, inner.west_deg) + EastFrom(inner.west_deg, inner.east_deg) <=
             EastFrom(outer.west_deg, outer.east_deg);
}

bool Touches(const DemTile& tile, const imaging::GeoBox& box) {
  const GeoBox& t = tile.box;
  const bool in_longitude =
      EastFrom(box.west_deg, t.west_deg) <= EastFrom(box.west_deg, box.east_deg) ||
      EastFrom(t.west_deg, box.west_deg) <= EastFrom(t.west_deg, t.east_deg);
  return in_longitude && t.south_deg <= box.north_deg && t.north_deg >= box.south_deg;
}

DEM_DESCRIPTOR ReadDescriptor(const std::string& path) {
  PARAMETER_POOL pool;
  pool.OpenForReading(path);
  return DEM_DESCRIPTOR::ReadFromPool(pool);
}

}  // namespace

Dem::Impl::Impl(const std::string& descriptor_path)
    : path(descriptor_path),
      document(ReadDescriptor(descriptor_path)),
      heights(document),
      terrain_(std::make_unique<Terrain>()) {
  for (int file = 0; file < document.Descriptor().FileCount(); ++file) {
    tiles.push_back(TileOf(document, file));
  }
}

std::shared_ptr<const imaging::TerrainGrid> Dem::Impl::TerrainIn(const imaging::GeoBox& box) const {
  Terrain& terrain = *terrain_;
  const std::lock_guard lock(terrain.mutex);
  if (terrain.grid != nullptr && Holds(terrain.box, box)) return terrain.grid;
  if (std::none_of(tiles.begin(), tiles.end(),
                   [&](const DemTile& tile) { return Touches(tile, box); })) {
    const imaging::GridLayout nowhere{box.west_deg, box.south_deg, 1e-6, 1e-6, 2, 2};
    constexpr float kVoid = std::numeric_limits<float>::quiet_NaN();
    return std::make_shared<const imaging::TerrainGrid>(nowhere, std::vector<float>(4, kVoid));
  }
  terrain.grid = std::make_shared<const imaging::TerrainGrid>(
      imaging::TerrainGrid::Read(document, heights, box));
  terrain.box = box;
  return terrain.grid;
}

Dem Dem::Open(const std::string& path) {
  return Call({.concern = Concern::kDem, .file = path},
              [&] { return Dem(std::make_shared<const Impl>(path)); });
}

double Dem::HeightAt(double longitude_deg, double latitude_deg) const {
  const Height found = HeightIn(impl_->heights, longitude_deg, latitude_deg);
  if (found.status == HeightStatus::kFound) return found.height_m;
  return Call({.concern = Concern::kDem, .file = impl_->path}, [&]() -> double {
    const auto fail = [&]<class Error>(std::type_identity<Error>, const char* why) {
      runtime::Fail<Error>(why, " at longitude ", longitude_deg, ", latitude ", latitude_deg, "\n");
    };
    if (found.status == HeightStatus::kBadInput) {
      api::FailArgument("a coordinate of a place must be finite");
    }
    if (found.status == HeightStatus::kVoid) {
      fail(std::type_identity<ERROR_SPECIAL_CODING_INTERPOLATION>(), "the DEM has a void");
    }
    fail(std::type_identity<ERROR_NO_SUBDOC>(), "no tile of the DEM has a height");
    return found.height_m;
  });
}

void Dem::HeightsAt(std::span<const double> longitudes_deg, std::span<const double> latitudes_deg,
                    std::span<double> heights_m, std::span<HeightStatus> status) const {
  api::CheckSizes(longitudes_deg.size(), latitudes_deg.size(), "longitudes and latitudes");
  api::CheckSizes(longitudes_deg.size(), heights_m.size(), "places and heights");
  if (!status.empty()) api::CheckSizes(status.size(), heights_m.size(), "heights and status");
  for (std::size_t i = 0; i < heights_m.size(); ++i) {
    const Height found = HeightIn(impl_->heights, longitudes_deg[i], latitudes_deg[i]);
    heights_m[i] = found.height_m;
    if (!status.empty()) status[i] = found.status;
  }
}

const std::string& Dem::Path() const noexcept { return impl_->path; }
std::span<const DemTile> Dem::Tiles() const noexcept { return impl_->tiles; }
double Dem::LongitudeSpacing() const noexcept { return impl_->document.GlobalGrid().lon_res_deg; }
double Dem::LatitudeSpacing() const noexcept { return impl_->document.GlobalGrid().lat_res_deg; }

std::optional<double> Dem::VoidValue() const noexcept {
  const double value = impl_->document.MissingValue();
  return std::isnan(value) ? std::nullopt : std::optional(value);
}

}  // namespace quellmark
