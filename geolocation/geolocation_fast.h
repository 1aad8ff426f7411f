// Geolocation on the ellipsoid for callers that locate many points.
#pragma once

#include <cstdint>

#include "basic/vector_3d.h"
#include "geolocation/range_doppler.h"
#include "geolocation/terrain.h"

class DEM_DOCUMENT;

/// Scratch of one caller of geolocation_fast(); nothing is kept in it between calls, each
/// concurrent caller owns its own.
struct GEOLOCATION_WORKSPACE {
  quellmark::geolocation::LocalFrame frame;
  quellmark::geolocation::RaisedEllipsoid ellipsoid;
};

/// Finds the point on the ellipsoid, raised by `height_m`, that lies at the slant range of
/// `fast_time_s` (two-way) from the sensor, on the look side (+1.0 right, -1.0 left), with
/// (ground - sat_pos) . sat_vel = range * doppler_ms. All vectors are earth-fixed. Writes the
/// point, the heading of the sensor's along-track axis (from north towards east, [0, 360)),
/// geodetic latitude and longitude (longitude in [0, 360): callers bring it below 180) and the
/// incidence angle against the ellipsoid's normal; gives the place of the incidence angle back.
///
/// A failure is written to the log under the routine's name and thrown, with all places untouched:
/// ERROR_ARGUMENT for a sensor within the earth, ERROR_UNHANDLED_CASE for one without longitude,
/// ERROR_DATA for a range that misses the ellipsoid and for an iteration that does not converge,
/// ERROR_ALGORITHM for a ground point without longitude (input that is not finite).
double& geolocation_fast(GEOLOCATION_WORKSPACE& workspace, const VECTOR_3D<double>& sat_pos,
                         const VECTOR_3D<double>& sat_vel, VECTOR_3D<double>& ground,
                         double& heading_deg, double& latitude_deg, double& longitude_deg,
                         double& incidence_deg, double look_direction, double height_m,
                         double rpole_m, double requator_m, double fast_time_s, double doppler_ms);

/// Work area of one worker for geolocation_fast() with a DEM; each concurrent worker owns its own.
/// A new one, and one that has been moved from, is prepared for no degree.
class GEOLOCATION_DEM_WORKSPACE {
 public:
  /// `thread` tells the workers apart in log lines.
  explicit GEOLOCATION_DEM_WORKSPACE(std::uint32_t thread = 0) : thread_(thread) {}

  /// Sizes the arrays for curves of that degree, start index 1 and length degree + 1, and logs so
  /// at level kTrace. Without memory for all of them it reports an alarm, throws ERROR_NO_MEMORY
  /// and leaves the work area as it was.
  void Prepare(std::uint8_t degree);
  /// Whether Prepare() has been called for that degree, and for no other since.
  [[nodiscard]] bool IsPreparedFor(std::uint8_t degree) const;
  /// Reports at level kTrace each array whose start or length is not what the degree asks for;
  /// changes nothing.
  void Check(std::uint8_t degree) const;
  [[nodiscard]] const quellmark::geolocation::TerrainArrays& Arrays() const { return arrays_; }

  /// LocateOnTerrain() in this work area, as geolocation_fast() calls it: runs Check(), then
  /// refuses a degree that the area is not prepared for with an alarm and ERROR_ARGUMENT.
  [[nodiscard]] quellmark::geolocation::TerrainLocation Locate(
      const quellmark::geolocation::RangeDopplerQuery& query, DEM_DOCUMENT& dem,
      std::uint8_t degree);

 private:
  std::uint32_t thread_;
  quellmark::geolocation::TerrainArrays arrays_;
};

/// As geolocation_fast() above, with the height of the terrain that `dem` has at the ground point;
/// writes that height too. The point is found by way of a curve of `degree` (3 is meant) through
/// ground points between -500 m and 9000 m; `workspace` has been prepared for that degree.
/// With degree 3 and incidences from 20 to 60 degrees the point's height is the terrain's to 1.01
/// m, and 1.8 m more per unit of slope; docs/geometry.md has other degrees. Allocates nothing.
///
/// Throws, besides what the above and the DEM throw, ERROR_ARGUMENT if the work area has not been
/// prepared for the degree, the character string "geolocation_fast: Initializing error. DEM
/// possibly too small or contains values outside [-500,9000]." and those of lfit_fast(). A failed
/// call leaves all places untouched; one that the work area is refused to leaves that untouched as
/// well.
double& geolocation_fast(GEOLOCATION_DEM_WORKSPACE& workspace, DEM_DOCUMENT& dem,
                         const VECTOR_3D<double>& sat_pos, const VECTOR_3D<double>& sat_vel,
                         VECTOR_3D<double>& ground, double& heading_deg, double& latitude_deg,
                         double& longitude_deg, double& incidence_deg, double& terrain_height_m,
                         std::uint8_t degree, double look_direction, double rpole_m,
                         double requator_m, double fast_time_s, double doppler_ms);
