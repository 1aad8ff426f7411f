// Geolocation on the ellipsoid for callers that locate many points.
#pragma once

#include "basic/vector_3d.h"
#include "geolocation/range_doppler.h"

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
