#include "geolocation/geolocation_fast.h"

#include "runtime/log.h"

namespace {

using quellmark::geolocation::AnglesAt;
using quellmark::geolocation::GroundAngles;
using quellmark::geolocation::GroundPoint;
using quellmark::geolocation::LocateOnEllipsoid;
using quellmark::geolocation::MakeLocalFrame;
using quellmark::geolocation::RaiseEllipsoid;
using quellmark::geolocation::RangeDopplerQuery;
using quellmark::runtime::LogLevel;
using quellmark::runtime::LogLine;

}  // namespace

double& geolocation_fast(GEOLOCATION_WORKSPACE& workspace, const VECTOR_3D<double>& sat_pos,
                         const VECTOR_3D<double>& sat_vel, VECTOR_3D<double>& ground,
                         double& heading_deg, double& latitude_deg, double& longitude_deg,
                         double& incidence_deg, double look_direction, double height_m,
                         double rpole_m, double requator_m, double fast_time_s, double doppler_ms) {
  const RangeDopplerQuery query{.routine = "geolocation_fast",
                                .sat_pos = sat_pos,
                                .sat_vel = sat_vel,
                                .look_direction = look_direction,
                                .height_m = height_m,
                                .rpole_m = rpole_m,
                                .requator_m = requator_m,
                                .fast_time_s = fast_time_s,
                                .doppler_ms = doppler_ms};
  workspace.frame = MakeLocalFrame(query);
  workspace.ellipsoid = RaiseEllipsoid(query);
  const GroundPoint solution = LocateOnEllipsoid(query, workspace.frame, workspace.ellipsoid);
  const GroundAngles angles = AnglesAt(sat_pos, workspace.frame, workspace.ellipsoid, solution);
  LogLine(LogLevel::kTrace, query.routine, ": ", solution.iterations, " iterations.\n");

  ground = solution.position;
  heading_deg = angles.heading_deg;
  latitude_deg = angles.latitude_deg;
  longitude_deg = angles.longitude_deg;
  incidence_deg = angles.incidence_deg;
  return incidence_deg;
}
