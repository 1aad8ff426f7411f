// The way to a ground point for which Newton's method does not settle: near the nadir, where both
// look sides meet, and at ranges that do not reach the ground.
#pragma once

#include "imaging/kernel.h"

namespace quellmark::imaging {

/// A sensor's zero-Doppler plane, as LaneFrames describes it.
struct PlaneFrame {
  double sx, sy, sz;
  double dx, dy, dz;
  double nx, ny, nz;
  double radius;
};

struct PlanePoint {
  bool found = false;
  double p = 0.0;
  double w = 0.0;
  double raise = 0.0;
};

/// The point at `range` on the look side of the sensor at `height` above the ellipsoid of semi-axes
/// a and b; of two on that side the one farther from the nadir. Not found: there is none.
[[nodiscard]] PlanePoint FindByBisection(const PlaneFrame& frame, double range, double height,
                                         double a, double b, bool geodetic);

/// The same for one lane of a batch whose iteration did not settle: sets p, w and raise from range
/// and height. False: there is no point.
[[nodiscard]] bool SettleLane(const LaneFrames& frames, bool shared, int lane, double a, double b,
                              bool geodetic, LanePoints& points);

}  // namespace quellmark::imaging
