// Solves the range-Doppler equations on a raised ellipsoid, for all geolocation routines.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "basic/vector_3d.h"

namespace quellmark::geolocation {

/// The input of one call: the ground point to find.
struct RangeDopplerQuery {
  std::string_view routine;     ///< the caller's name, with which its messages begin
  VECTOR_3D<double> sat_pos;    ///< earth-fixed [m]
  VECTOR_3D<double> sat_vel;    ///< earth-fixed [m/s]
  double look_direction = 1.0;  ///< +1.0 right, -1.0 left
  double height_m = 0.0;        ///< height of the ground above the ellipsoid
  double rpole_m = 0.0;         ///< polar radius of the ellipsoid
  double requator_m = 0.0;      ///< equatorial radius of the ellipsoid
  double fast_time_s = 0.0;     ///< two-way slant range time
  double doppler_ms = 0.0;      ///< (G - S) . V = R * doppler_ms; 0.0 for zero Doppler
};

/// Right-handed frame at the sensor: `down` points to the earth's centre, `along` roughly along the
/// track, `across` to the right of it. The velocity has no component along `across`.
struct LocalFrame {
  VECTOR_3D<double> down;
  VECTOR_3D<double> along;
  VECTOR_3D<double> across;
  double radius_m = 0.0;  ///< distance of the sensor from the earth's centre, |S|
  double speed_down_ms = 0.0;
  double speed_along_ms = 0.0;
};

/// The ellipsoid raised by the target's height.
struct RaisedEllipsoid {
  double raised_polar_m = 0.0;  ///< its polar radius
  double e2 = 0.0;              ///< first eccentricity squared
  double one_minus_e2 = 0.0;    ///< 1 - e2, computed without cancellation
};

/// A solution of the equations.
struct GroundPoint {
  VECTOR_3D<double> position;  ///< earth-fixed [m]
  VECTOR_3D<double> look;      ///< from the sensor to the point [m]
  int iterations = 0;
};

/// The angles of a solution [deg].
struct GroundAngles {
  double heading_deg = 0.0;    ///< of the frame's `along`, from north towards east, [0, 360)
  double latitude_deg = 0.0;   ///< geodetic
  double longitude_deg = 0.0;  ///< [0, 360)
  double incidence_deg = 0.0;  ///< between the ellipsoid's normal and the direction to the sensor
};

struct Location {
  VECTOR_3D<double> ground;  ///< earth-fixed [m]
  GroundAngles angles;
};

/// The frame of a query's sensor. Throws ERROR_ARGUMENT for a sensor nearer to the centre than the
/// pole and ERROR_UNHANDLED_CASE for one whose longitude is undefined. LocateOnEllipsoid() refuses
/// the frame of a velocity without horizontal component.
[[nodiscard]] LocalFrame MakeLocalFrame(const RangeDopplerQuery& query);

[[nodiscard]] RaisedEllipsoid RaiseEllipsoid(const RangeDopplerQuery& query);

/// Solves the equations for `query` with its frame and ellipsoid. Returns the solution on the look
/// side that is not beyond the horizon. The error of the point is about the rounding of the
/// sensor's radius, multiplied by the cotangent of the look angle. Throws ERROR_DATA if range,
/// Doppler plane and ellipsoid do not meet or the iteration does not converge in time, and
/// ERROR_ALGORITHM if the point is undefined (a NaN or an overflow on the way). Allocates nothing
/// unless it fails or the log is at level kTrace.
[[nodiscard]] GroundPoint LocateOnEllipsoid(const RangeDopplerQuery& query, const LocalFrame& frame,
                                            const RaisedEllipsoid& ellipsoid);

/// The greatest number of heights for LocateAtHeights().
inline constexpr std::size_t kHeightsTogether = 4;

/// Computes the positions that LocateOnEllipsoid() finds at these heights, instead of the query's
/// own height. The bits, log lines and exceptions are those of one call after the other, but it
/// takes less time.
void LocateAtHeights(const RangeDopplerQuery& query, const LocalFrame& frame,
                     std::span<const double> heights_m, std::span<VECTOR_3D<double>> positions);

/// The angles of a solution that LocateOnEllipsoid() returned for a sensor at `sat_pos`.
[[nodiscard]] GroundAngles AnglesAt(const VECTOR_3D<double>& sat_pos, const LocalFrame& frame,
                                    const RaisedEllipsoid& ellipsoid, const GroundPoint& ground);

/// Writes the angles to the output arguments of the public routines. Returns a reference to the
/// incidence angle.
double& StoreAngles(const GroundAngles& angles, double& heading_deg, double& latitude_deg,
                    double& longitude_deg, double& incidence_deg);

/// Computes frame, ellipsoid, solution and angles in turn; the caller provides frame and ellipsoid
/// as scratch memory.
[[nodiscard]] Location Locate(const RangeDopplerQuery& query, LocalFrame& frame,
                              RaisedEllipsoid& ellipsoid);

}  // namespace quellmark::geolocation
