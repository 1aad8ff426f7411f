// Geolocation on the ellipsoid for callers that locate many points.
#pragma once

#include <cstdint>

#include "basic/vector_3d.h"
#include "geolocation/range_doppler.h"
#include "geolocation/terrain.h"

class DEM_DOCUMENT;

/// Scratch memory of one caller of geolocation_fast(). It keeps nothing between calls; each
/// concurrent caller owns its own.
struct GEOLOCATION_WORKSPACE {
  quellmark::geolocation::LocalFrame frame;
  quellmark::geolocation::RaisedEllipsoid ellipsoid;
};

/// Finds the point on the ellipsoid, raised by `height_m`, at the slant range of `fast_time_s`
/// (two-way) from the sensor, on the look side (+1.0 right, -1.0 left), with (ground - sat_pos) .
/// sat_vel = range * doppler_ms. All vectors are earth-fixed. Writes the point, the heading of the
/// sensor's along-track axis (from north towards east, [0, 360)), geodetic latitude and longitude
/// (longitude in [0, 360): callers bring it below 180) and the incidence angle against the
/// ellipsoid's normal. Returns a reference to the incidence angle.
///
/// A failure is written to the log under the routine's name and thrown; the output arguments are
/// not changed. Throws ERROR_ARGUMENT for a sensor within the earth, ERROR_UNHANDLED_CASE for one
/// without longitude, ERROR_DATA for a range that misses the ellipsoid and for an iteration that
/// does not converge, and ERROR_ALGORITHM for a ground point without longitude (input that is not
/// finite).
double& geolocation_fast(GEOLOCATION_WORKSPACE& workspace, const VECTOR_3D<double>& sat_pos,
                         const VECTOR_3D<double>& sat_vel, VECTOR_3D<double>& ground,
                         double& heading_deg, double& latitude_deg, double& longitude_deg,
                         double& incidence_deg, double look_direction, double height_m,
                         double rpole_m, double requator_m, double fast_time_s, double doppler_ms);

/// Work area of one worker for geolocation_fast() with a DEM; each concurrent worker owns its own.
/// A new work area, and one that has been moved from, is not prepared for any degree.
class GEOLOCATION_DEM_WORKSPACE {
 public:
  /// `thread` identifies the worker in log lines.
  explicit GEOLOCATION_DEM_WORKSPACE(std::uint32_t thread = 0) : thread_(thread) {}

  /// Sizes the arrays for curves of this degree, with start index 1 and length degree + 1, and logs
  /// that length at level kTrace. If there is no memory for all of them, reports an alarm, throws
  /// ERROR_NO_MEMORY and does not change the work area.
  void Prepare(std::uint8_t degree);
  /// Whether the last call of Prepare() was for this degree.
  [[nodiscard]] bool IsPreparedFor(std::uint8_t degree) const;
  /// Reports, at level kTrace, each array whose start or length does not match the degree. Changes
  /// nothing.
  void Check(std::uint8_t degree) const;
  [[nodiscard]] const quellmark::geolocation::TerrainArrays& Arrays() const { return arrays_; }

  /// Runs Check() and then LocateOnTerrain() in this work area, as geolocation_fast() does. If the
  /// area is not prepared for the degree, reports an alarm and throws ERROR_ARGUMENT.
  [[nodiscard]] quellmark::geolocation::TerrainLocation Locate(
      const quellmark::geolocation::RangeDopplerQuery& query, DEM_DOCUMENT& dem,
      std::uint8_t degree);

 private:
  std::uint32_t thread_;
  quellmark::geolocation::TerrainArrays arrays_;
};

/// As geolocation_fast() above, but at the height that the terrain of `dem` has at the ground
/// point; writes that height, too. The search uses a curve of `degree` (normally 3) through ground
/// points between -500 m and 9000 m; `workspace` must be prepared for that degree. With degree 3
/// and incidences from 20 to 60 degrees the point's height differs from the terrain's by at most
/// 1.01 m plus 1.8 m per unit of slope; docs/geometry.md has other degrees. Allocates nothing.
///
/// Throws what the function above and the DEM throw, ERROR_ARGUMENT if the work area is not
/// prepared for the degree, the character string "geolocation_fast: Initializing error. DEM
/// possibly too small or contains values outside [-500,9000]." and those of lfit_fast(). A failed
/// call does not change the output arguments, and a call that the work area refuses does not change
/// the work area either.
double& geolocation_fast(GEOLOCATION_DEM_WORKSPACE& workspace, DEM_DOCUMENT& dem,
                         const VECTOR_3D<double>& sat_pos, const VECTOR_3D<double>& sat_vel,
                         VECTOR_3D<double>& ground, double& heading_deg, double& latitude_deg,
                         double& longitude_deg, double& incidence_deg, double& terrain_height_m,
                         std::uint8_t degree, double look_direction, double rpole_m,
                         double requator_m, double fast_time_s, double doppler_ms);
