/// @file
/// Digital elevation models.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <quellmark/export.h>

namespace quellmark {

class Scene;

/// A part of the earth's surface between two meridians and two parallels, all in degrees.
struct GeoBox {
  double west_deg = 0.0;   ///< in (-180, 180]
  double south_deg = 0.0;  ///< in [-90, 90]
  double east_deg = 0.0;   ///< in (-180, 180]; smaller than west_deg across the antimeridian
  double north_deg = 0.0;  ///< in [-90, 90]
};

/// One file of a DEM.
struct DemTile {
  std::string path;          ///< path of the file
  GeoBox box;                ///< between its outermost grid points
  std::int64_t columns = 0;  ///< grid points from west to east
  std::int64_t rows = 0;     ///< grid points from south to north
};

/// The result of one look-up of a height. The height is NaN unless it was found.
enum class HeightStatus : std::uint8_t {
  kFound = 0,     ///< there is a height
  kVoid = 1,      ///< all four grid points around the place are void
  kOutside = 2,   ///< no tile has one of the grid points around the place
  kBadInput = 3,  ///< a coordinate is NaN or infinite
};

/// A DEM: heights above the WGS84 ellipsoid [m] on a geographic grid, in one or more tiles. A DEM
/// never changes. Copies share its data and are cheap, and several threads may use one DEM at the
/// same time. The tiles are mapped into memory. If a tile's file is truncated meanwhile, the
/// process ends; replacing it by renaming does no harm.
class QM_API Dem {
 public:
  /// Opens the DEM with the descriptor at `path` for reading and checks the headers of its tiles.
  /// @throws DemError
  [[nodiscard]] static Dem Open(const std::string& path);

  /// Returns the height [m] at a place by bilinear interpolation between the four grid points
  /// around it. If some of them are void, the others count, in proportion to their weights.
  /// Longitudes may differ by multiples of 360 degrees.
  /// @throws DemError if there is no height, ArgumentError for a coordinate that is not finite
  [[nodiscard]] double HeightAt(double longitude_deg, double latitude_deg) const;
  /// Computes the heights [m] at many places, NaN where there is no height. `status` may be empty.
  /// @throws ArgumentError for spans of different lengths
  void HeightsAt(std::span<const double> longitudes_deg, std::span<const double> latitudes_deg,
                 std::span<double> heights_m, std::span<HeightStatus> status = {}) const;

  /// The path of its descriptor.
  [[nodiscard]] const std::string& Path() const noexcept;
  /// Its tiles in the order of the search.
  [[nodiscard]] std::span<const DemTile> Tiles() const noexcept;
  /// The distance between grid points from west to east [deg].
  [[nodiscard]] double LongitudeSpacing() const noexcept;
  /// The distance between grid points from south to north [deg].
  [[nodiscard]] double LatitudeSpacing() const noexcept;
  /// The value that marks a void, if there is one.
  [[nodiscard]] std::optional<double> VoidValue() const noexcept;

 private:
  friend class Scene;
  struct Impl;
  explicit Dem(std::shared_ptr<const Impl> impl) noexcept : impl_(std::move(impl)) {}

  std::shared_ptr<const Impl> impl_;
};

}  // namespace quellmark
