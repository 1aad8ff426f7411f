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
  std::string path;          ///< of the file
  GeoBox box;                ///< from its outermost grid points to the opposite ones
  std::int64_t columns = 0;  ///< grid points from west to east
  std::int64_t rows = 0;     ///< grid points from south to north
};

/// What became of one look-up of a height; the height is NaN unless it was found.
enum class HeightStatus : std::uint8_t {
  kFound = 0,     ///< there is a height
  kVoid = 1,      ///< all four grid points around the place are void
  kOutside = 2,   ///< no tile holds one of the grid points around the place
  kBadInput = 3,  ///< a coordinate is NaN or infinite
};

/// A DEM: heights above the WGS84 ellipsoid [m] on a geographic grid, in one tile or several. A DEM
/// never changes: copies share it and are cheap, and several threads may ask one DEM at once. The
/// tiles are mapped into memory: a file that is cut short meanwhile ends the process, one that is
/// replaced by renaming does no harm.
class QM_API Dem {
 public:
  /// Opens the descriptor at `path` and its tiles, for reading alone, and checks the tiles'
  /// headers.
  /// @throws DemError
  [[nodiscard]] static Dem Open(const std::string& path);

  /// The height [m] at a place, bilinear between the four grid points around it; void ones among
  /// them leave it to the others, in proportion to their weights. Longitudes may be given in any
  /// turn.
  /// @throws DemError where there is none, ArgumentError for a coordinate that is not finite
  [[nodiscard]] double HeightAt(double longitude_deg, double latitude_deg) const;
  /// The heights [m] at many places, NaN where there is none; `status` may be empty.
  /// @throws ArgumentError for spans of different lengths
  void HeightsAt(std::span<const double> longitudes_deg, std::span<const double> latitudes_deg,
                 std::span<double> heights_m, std::span<HeightStatus> status = {}) const;

  /// The path that it was opened with.
  [[nodiscard]] const std::string& Path() const noexcept;
  /// Its tiles, in the order in which they are searched.
  [[nodiscard]] std::span<const DemTile> Tiles() const noexcept;
  /// The distance of the grid points from west to east [deg].
  [[nodiscard]] double LongitudeSpacing() const noexcept;
  /// The distance of the grid points from south to north [deg].
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
