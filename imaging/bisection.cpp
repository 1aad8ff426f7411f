#include "imaging/bisection.h"

#include <cmath>

namespace quellmark::imaging {

namespace {

// Enough steps to reduce any interval to neighbouring numbers.
constexpr int kHalvings = 110;
constexpr int kThirdings = 90;
// The limit for the search of the nearest point, as the tangent of half an angle. The nearest point
// of an ellipsoid lies within 4 mrad of the direction to the earth's centre; the limit also allows
// for a velocity that is not level.
constexpr double kNadirLimit = 0.05;
// The raise of the touching ellipsoid converges to 1e-12 m in three rounds; the fourth is a
// reserve.
constexpr int kRaiseRounds = 4;

// Computes p and w from the tangent of half the angle from d, which loses no digits near the nadir.
PlanePoint PointAt(double range, double half_tangent, double raise) {
  const double scale = range / (1.0 + half_tangent * half_tangent);
  return {.found = true,
          .p = scale * (1.0 - half_tangent) * (1.0 + half_tangent),
          .w = scale * 2.0 * half_tangent,
          .raise = raise};
}

// Positive outside the ellipsoid with the semi-axes `major` and `minor`, negative inside.
double Outside(const PlaneFrame& f, const PlanePoint& at, double range, double major,
               double minor) {
  const double sigma = f.sx * f.dx + f.sy * f.dy + f.sz * f.dz;
  const double z = f.sz + at.p * f.dz + at.w * f.nz;
  const double k = (major - minor) * (major + minor) / (minor * minor);
  return (f.radius - major) * (f.radius + major) + range * range + 2.0 * sigma * at.p + k * z * z;
}

PlanePoint FindOnRaised(const PlaneFrame& f, double range, double raise, double a, double b) {
  const auto outside = [&](double half_tangent) {
    return Outside(f, PointAt(range, half_tangent, raise), range, a + raise, b + raise);
  };
  double low = 0.0;
  if (!(outside(0.0) <= 0.0)) {
    // The point in the direction of the earth's centre is outside the ellipsoid. So the smallest
    // value of outside() on the look side is searched; if it is positive too, the range does not
    // reach the ground.
    double left = 0.0;
    double right = kNadirLimit;
    for (int i = 0; i < kThirdings; ++i) {
      const double third = (right - left) / 3.0;
      (outside(left + third) < outside(right - third) ? right : left) =
          outside(left + third) < outside(right - third) ? right - third : left + third;
    }
    low = 0.5 * (left + right);
    if (!(outside(low) <= 0.0)) return {};
  }
  double high = 1.0;  // the level direction; its point must be outside
  if (!(outside(high) > 0.0)) return {};
  for (int i = 0; i < kHalvings; ++i) {
    const double middle = 0.5 * (low + high);
    (outside(middle) <= 0.0 ? low : high) = middle;
  }
  return PointAt(range, high, raise);
}

struct Touching {
  double raise;  // of the raised ellipsoid that touches the surface of geodetic height h
  double slant;  // of the normal of that surface at G
};

// The same computation as in the kernels.
Touching TouchAt(const PlaneFrame& f, const PlanePoint& at, double height, double a, double b) {
  const double x = f.sx + at.p * f.dx + at.w * f.nx;
  const double y = f.sy + at.p * f.dy + at.w * f.ny;
  const double ratio = (a + at.raise) / (b + at.raise);
  const double z = (f.sz + at.p * f.dz + at.w * f.nz) * ratio * ratio;
  const double rho2 = x * x + y * y;
  const double cos2 = rho2 / (rho2 + z * z);
  const double sin2 = z * z / (rho2 + z * z);
  const double support = std::sqrt(a * a * cos2 + b * b * sin2);
  const double mean = a * cos2 + b * sin2;
  const double excess = (a - b) * (a - b) * cos2 * sin2 / (support + mean);
  return {height + height * excess / (mean + height),
          (a - b) * (a + b) / (b * b + height * support)};
}

}  // namespace

PlanePoint FindByBisection(const PlaneFrame& frame, double range, double height, double a, double b,
                           bool geodetic) {
  if (!(range > 0.0) || !(b + height > 0.0) || !(frame.radius > a + height)) return {};
  PlanePoint point = FindOnRaised(frame, range, height, a, b);
  if (!geodetic) return point;
  for (int i = 0; i < kRaiseRounds && point.found; ++i) {
    point = FindOnRaised(frame, range, TouchAt(frame, point, height, a, b).raise, a, b);
  }
  return point;
}

bool SettleLane(const LaneFrames& frames, bool shared, int lane, double a, double b, bool geodetic,
                LanePoints& points) {
  const int i = shared ? 0 : lane;
  const PlaneFrame frame{frames.sx[i], frames.sy[i], frames.sz[i], frames.dx[i], frames.dy[i],
                         frames.dz[i], frames.nx[i], frames.ny[i], frames.nz[i], frames.radius[i]};
  const PlanePoint found =
      FindByBisection(frame, points.range[lane], points.height[lane], a, b, geodetic);
  if (!found.found) return false;
  points.p[lane] = found.p;
  points.w[lane] = found.w;
  points.raise[lane] = found.raise;
  const double ratio = (a + found.raise) / (b + found.raise);
  points.k[lane] = (ratio - 1.0) * (ratio + 1.0);
  points.slant[lane] =
      geodetic ? TouchAt(frame, found, points.height[lane], a, b).slant : points.k[lane];
  return true;
}

}  // namespace quellmark::imaging
