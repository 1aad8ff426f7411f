// Finds ground points for which Newton's method does not converge: near the nadir, where both look
// sides meet, and at ranges that do not reach the ground.
#pragma once

#include "imaging/kernel.h"

namespace quellmark::imaging {

/// A sensor's zero-Doppler plane, with the members of LaneFrames.
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

/// Finds the point at `range` on the look side of the sensor and at `height` above the ellipsoid
/// with the semi-axes a and b. Of two such points, returns the one farther from the nadir. If there
/// is none, `found` is false.
[[nodiscard]] PlanePoint FindByBisection(const PlaneFrame& frame, double range, double height,
                                         double a, double b, bool geodetic);

/// The same for one lane of a batch whose iteration did not converge: sets p, w and raise from
/// range and height. Returns false if there is no such point.
[[nodiscard]] bool SettleLane(const LaneFrames& frames, bool shared, int lane, double a, double b,
                              bool geodetic, LanePoints& points);

}  // namespace quellmark::imaging
