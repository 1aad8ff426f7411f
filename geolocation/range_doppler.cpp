// Symbols of this file; vectors are earth-fixed unless a frame is named (derivation:
// docs/geometry.md).
//
//   S, V       sensor position [m], velocity [m/s]
//   G          ground point [m];  X = G - S
//   R          slant range [m];  d  Doppler term [m/s]: X . V = R d
//   u, t, n    local frame at the sensor: down, along track, across to the right (unit vectors)
//   vu, vt     components of V along u and t [m/s]; V has none along n
//   p, q, w    components of X along u, t and n [m]
//   psi        heading: angle of t from local north towards east
//   a', b'     equatorial and polar radius of the ellipsoid raised by the target's height [m]
//   e2         1 - b'^2 / a'^2, the square of the first eccentricity
//   r          earth radius at the target [m]
//   rise       r - b', at most 22 km; the iteration keeps it instead of r, because the rounding
//              of r (1e-9 m) would be magnified in the ground point
//   phi        geocentric latitude;  phi_s of the sensor

#include "geolocation/range_doppler.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <optional>

#include "basic/constants.h"
#include "basic/errors.h"
#include "runtime/log.h"

namespace quellmark::geolocation {

namespace {

using basic::kDegreesPerRadian;
using basic::kSpeedOfLight_ms;
using runtime::Fail;
using runtime::LogLevel;
using runtime::LogLine;

using Vector = VECTOR_3D<double>;

// Fixed: every residual, in metres or metres per second, must be below this value. It is above the
// rounding of all three for slant ranges up to 4000 km.
constexpr double kResidualTolerance = 1e-9;
// Fixed: the iteration with this number fails, whatever its residuals are.
constexpr int kIterationLimit = 21;

// The rounded cosines of pi/2 and 3 pi/2, for a sensor over the pole: kept exactly.
constexpr double kCosHalfPi = 6.123233995736766e-17;
constexpr double kCosThreeHalfPi = -1.8369701987210297e-16;

struct Direction {
  double cos = 0.0;
  double sin = 0.0;
};

// The distance from the earth's axis, also where its square underflows.
double AxisDistance(const Vector& v) {
  constexpr double kSquareUnderflows = 1e-150;
  const double distance = std::sqrt(v.x * v.x + v.y * v.y);
  return distance > kSquareUnderflows ? distance : std::hypot(v.x, v.y);
}

// Whether the quadrant of the vector is undefined. For a negative x, y is not examined. This is
// deliberate: a sensor whose y is NaN then fails later, at its ground point.
bool LongitudeIsUndefined(const Vector& v) {
  return std::isnan(v.x) || (std::isnan(v.y) && !(v.x < 0.0));
}

// Longitude of a vector whose longitude is defined. On the axis it is 90 degrees by convention.
Direction LongitudeDirection(const Vector& v) {
  if (v.x == 0.0) {
    return v.y >= 0.0 ? Direction{kCosHalfPi, 1.0} : Direction{kCosThreeHalfPi, -1.0};
  }
  const double axis_distance = AxisDistance(v);
  return {v.x / axis_distance, v.y / axis_distance};
}

// The angle of a direction in [0, 360). A tiny negative angle would round to 360, so it becomes 0.
double FullCircleDegrees(double sine, double cosine) {
  const double degrees = std::atan2(sine, cosine) * kDegreesPerRadian;
  if (degrees >= 0.0) return degrees;
  const double turned = degrees + 360.0;
  return turned < 360.0 ? turned : 0.0;
}

double LongitudeDegrees(const Vector& v) {
  if (v.x == 0.0) return v.y >= 0.0 ? 90.0 : 270.0;
  return FullCircleDegrees(v.y, v.x);
}

// r - b' = b' / sqrt(1 - e2 cos^2 phi) - b', computed without cancellation.
double RiseAt(const RaisedEllipsoid& ellipsoid, double cos2_phi) {
  const double flattening = ellipsoid.e2 * cos2_phi;
  const double rest = 1.0 - flattening;
  return ellipsoid.raised_polar_m * flattening / (rest + std::sqrt(rest));
}

// The input of a failed call, with which the call can be repeated: 17 digits restore the same
// numbers. Readers of the log rely on this form, with "=" after the vectors.
std::array<char, 512> InputDump(const RangeDopplerQuery& query) {
  std::array<char, 512> text;
  const auto& [px, py, pz] = query.sat_pos;
  const auto& [vx, vy, vz] = query.sat_vel;
  std::snprintf(text.data(), text.size(),
                " was called with look_direction %.17g height %.17g rpole %.17g requator %.17g "
                "fast_time %.17g sat_pos (%.17g,%.17g,%.17g)= sat_vel (%.17g,%.17g,%.17g)=",
                query.look_direction, query.height_m, query.rpole_m, query.requator_m,
                query.fast_time_s, px, py, pz, vx, vy, vz);
  return text;
}

[[noreturn]] void FailInsideEarth(const RangeDopplerQuery& query, double radius) {
  LogLine(LogLevel::kAlarm, query.routine, ": satellite position lies within the earth!\n");
  Fail<ERROR_ARGUMENT>(query.routine, ": length of satellite position is: ", radius, "\n");
}

[[noreturn]] void FailWithoutIntersection(const RangeDopplerQuery& query, int iteration) {
  LogLine(LogLevel::kAlarm, query.routine,
          ": No intersection of earth ellipsoid and sphere around the satellite\n");
  LogLine(LogLevel::kAlarm, query.routine, ": during iteration in step: ", iteration);
  Fail<ERROR_DATA>(query.routine, InputDump(query).data());
}

[[noreturn]] void FailToConverge(const RangeDopplerQuery& query, double residual) {
  LogLine(LogLevel::kAlarm, query.routine, ": convergence problem\n");
  LogLine(LogLevel::kAlarm, query.routine, InputDump(query).data());
  LogLine(LogLevel::kInfo, "accuracy after ", kIterationLimit, " steps: ", residual, " tolerance ",
          kResidualTolerance, "\n");
  throw ERROR_DATA();
}

[[noreturn]] void FailWithoutLongitude(const RangeDopplerQuery& query, const Vector& ground) {
  LogLine(LogLevel::kAlarm, query.routine, ": unexpected error!");
  LogLine(LogLevel::kAlarm, "earth_vect.x: ", ground.x);
  Fail<ERROR_ALGORITHM>("earth_vect.y: ", ground.y);
}

// The iteration on r. A step finds the candidate X for the previous rise, then the rise at the
// candidate's latitude and the residuals.
class Solver {
 public:
  Solver(const RangeDopplerQuery& query, const LocalFrame& frame, const RaisedEllipsoid& ellipsoid)
      : query_(query),
        frame_(frame),
        ellipsoid_(ellipsoid),
        sensor_above_pole_(frame.radius_m - ellipsoid.raised_polar_m),
        sensor_and_pole_(frame.radius_m + ellipsoid.raised_polar_m),
        range_(query.fast_time_s * kSpeedOfLight_ms * 0.5),
        range2_(range_ * range_),
        half_inverse_radius_(0.5 / frame.radius_m),
        doppler_slope_(-frame.speed_down_ms / frame.speed_along_ms),
        doppler_offset_(range_ * query.doppler_ms / frame.speed_along_ms),
        side_z_(frame.across.z * query.look_direction),
        rise_(RiseAt(ellipsoid, 1.0 - frame.down.z * frame.down.z)) {}

  // The spheres around the sensor and around the earth's centre meet in a circle perpendicular to u
  // at the distance p; the Doppler plane and the look side select one of its points. Returns false
  // if there is no such point.
  bool Step() {
    // Takes differences before squares, because |S|^2 + R^2 - r^2 would lose 1e-9 m of p.
    p_ = ((sensor_above_pole_ - rise_) * (sensor_and_pole_ + rise_) + range2_) *
         half_inverse_radius_;
    q_ = doppler_slope_ * p_ + doppler_offset_;
    const double w2 = (range_ - p_) * (range_ + p_) - q_ * q_;
    if (w2 < 0.0) return false;
    const double w = std::sqrt(w2);
    w_ = w * query_.look_direction;

    // sin^2 phi = Z^2 / r^2 with the radius of this step, not that of the candidate.
    const double radius = ellipsoid_.raised_polar_m + rise_;
    const double z = query_.sat_pos.z + p_ * frame_.down.z + q_ * frame_.along.z + w * side_z_;
    const double rise = RiseAt(ellipsoid_, 1.0 - z * z * (1.0 / (radius * radius)));

    const double length = std::sqrt(p_ * p_ + q_ * q_ + w_ * w_);
    const double x_dot_v = p_ * frame_.speed_down_ms + q_ * frame_.speed_along_ms;
    residuals_ = {std::abs(rise - rise_), std::abs(length - range_),
                  std::abs(x_dot_v / length - query_.doppler_ms)};
    rise_ = rise;
    return true;
  }

  // Radius [m], range [m] and Doppler [m/s] of the last step.
  [[nodiscard]] const std::array<double, 3>& Residuals() const { return residuals_; }
  // Whether the last step ended the iteration. Residuals that are not numbers end it too.
  [[nodiscard]] bool IsSettled() const {
    const auto& [radius, range, doppler] = residuals_;
    return !(radius >= kResidualTolerance || range >= kResidualTolerance ||
             doppler >= kResidualTolerance);
  }
  // X, earth-fixed.
  [[nodiscard]] Vector Look() const {
    return p_ * frame_.down + q_ * frame_.along + w_ * frame_.across;
  }

 private:
  const RangeDopplerQuery& query_;
  const LocalFrame& frame_;
  const RaisedEllipsoid& ellipsoid_;
  double sensor_above_pole_;    // |S| - b'
  double sensor_and_pole_;      // |S| + b'
  double range_;                // R
  double range2_;               // R^2
  double half_inverse_radius_;  // 1 / (2 |S|)
  double doppler_slope_;        // -vu / vt
  double doppler_offset_;       // R d / vt
  double side_z_;               // z of n times the look direction
  double rise_;
  double p_ = 0.0;
  double q_ = 0.0;
  double w_ = 0.0;
  std::array<double, 3> residuals_{};
};

// Returns the point at which an iteration has ended.
GroundPoint PointOf(const Solver& solver, const RangeDopplerQuery& query, int iterations) {
  GroundPoint ground;
  ground.look = solver.Look();
  ground.position = query.sat_pos + ground.look;
  ground.iterations = iterations;
  // A residual that is not a number ends the iteration too, but it is no solution.
  const auto& [radius, range, doppler] = solver.Residuals();
  if (std::isnan(ground.position.x) || std::isnan(ground.position.y) ||
      std::isnan(radius + range + doppler)) {
    FailWithoutLongitude(query, ground.position);
  }
  LogLine(LogLevel::kTrace, query.routine, ": ", iterations, " iterations.\n");
  return ground;
}

}  // namespace

LocalFrame MakeLocalFrame(const RangeDopplerQuery& query) {
  LocalFrame frame;
  frame.radius_m = Length(query.sat_pos);
  // The polar radius deliberately does not include the height here.
  if (query.rpole_m > frame.radius_m) FailInsideEarth(query, frame.radius_m);
  if (LongitudeIsUndefined(query.sat_pos)) {
    Fail<ERROR_UNHANDLED_CASE>(query.routine, ": determination of angle theta failed!\n");
  }
  frame.down = (-1.0 / frame.radius_m) * query.sat_pos;
  const Vector normal = Cross(frame.down, query.sat_vel);
  frame.speed_along_ms = Length(normal);
  frame.speed_down_ms = Dot(frame.down, query.sat_vel);
  frame.across = (1.0 / frame.speed_along_ms) * normal;
  frame.along = Cross(frame.across, frame.down);
  return frame;
}

RaisedEllipsoid RaiseEllipsoid(const RangeDopplerQuery& query) {
  const double raised_polar_m = query.rpole_m + query.height_m;
  const double raised_equatorial_m = query.requator_m + query.height_m;
  const double ratio = raised_polar_m / raised_equatorial_m;
  return {.raised_polar_m = raised_polar_m,
          .e2 = (raised_equatorial_m - raised_polar_m) / raised_equatorial_m * (1.0 + ratio),
          .one_minus_e2 = ratio * ratio};
}

GroundPoint LocateOnEllipsoid(const RangeDopplerQuery& query, const LocalFrame& frame,
                              const RaisedEllipsoid& ellipsoid) {
  Solver solver(query, frame, ellipsoid);
  int iteration = 0;
  do {
    if (!solver.Step()) FailWithoutIntersection(query, iteration + 1);
    // This check deliberately comes before the test of convergence, so the last step never counts.
    if (++iteration == kIterationLimit) FailToConverge(query, std::ranges::max(solver.Residuals()));
  } while (!solver.IsSettled());
  return PointOf(solver, query, iteration);
}

void LocateAtHeights(const RangeDopplerQuery& query, const LocalFrame& frame,
                     std::span<const double> heights_m, std::span<VECTOR_3D<double>> positions) {
  // A step mostly waits for its roots and quotients, so the heights are solved side by side to fill
  // that time.
  std::array<std::optional<Solver>, kHeightsTogether> solvers;
  std::array<RaisedEllipsoid, kHeightsTogether> ellipsoids;
  std::array<int, kHeightsTogether> iterations{};
  const std::size_t count = heights_m.size();
  RangeDopplerQuery at_height = query;
  for (std::size_t i = 0; i < count; ++i) {
    at_height.height_m = heights_m[i];
    ellipsoids[i] = RaiseEllipsoid(at_height);
    solvers[i].emplace(query, frame, ellipsoids[i]);
  }
  std::size_t settled = 0;
  bool is_good = true;
  for (int iteration = 1; is_good && settled < count; ++iteration) {
    for (std::size_t i = 0; i < count; ++i) {
      if (iterations[i] != 0) continue;
      is_good = is_good && solvers[i]->Step() && iteration < kIterationLimit;
      if (!solvers[i]->IsSettled()) continue;
      iterations[i] = iteration;
      ++settled;
    }
  }
  for (std::size_t i = 0; i < count; ++i) {
    at_height.height_m = heights_m[i];
    // After a failure the heights are solved one by one, for the messages of the first one that
    // fails.
    const GroundPoint ground = is_good ? PointOf(*solvers[i], at_height, iterations[i])
                                       : LocateOnEllipsoid(at_height, frame, ellipsoids[i]);
    positions[i] = ground.position;
  }
}

GroundAngles AnglesAt(const Vector& sat_pos, const LocalFrame& frame,
                      const RaisedEllipsoid& ellipsoid, const GroundPoint& ground) {
  // Latitude and longitude of the sensor are used by their sines and cosines, because an arc sine
  // would lose half of the digits near the poles.
  const Direction theta = LongitudeDirection(sat_pos);
  const double sin_phi = -frame.down.z;
  const double cos_phi = std::sqrt(sat_pos.x * sat_pos.x + sat_pos.y * sat_pos.y) / frame.radius_m;
  const Vector& t = frame.along;
  const double cos_psi = t.z * cos_phi - (t.x * theta.cos + t.y * theta.sin) * sin_phi;
  const double sin_psi = t.y * theta.cos - t.x * theta.sin;

  const Vector& g = ground.position;
  const double axis_distance = std::sqrt(g.x * g.x + g.y * g.y);
  const Vector normal{g.x * ellipsoid.one_minus_e2, g.y * ellipsoid.one_minus_e2, g.z};
  // The tangent is accurate even directly below the sensor, where a cosine may round beyond 1.
  const double incidence =
      std::atan2(Length(Cross(normal, ground.look)), -Dot(normal, ground.look));

  return {
      .heading_deg = FullCircleDegrees(sin_psi, cos_psi),
      .latitude_deg = std::atan2(g.z, axis_distance * ellipsoid.one_minus_e2) * kDegreesPerRadian,
      .longitude_deg = LongitudeDegrees(g),
      .incidence_deg = incidence * kDegreesPerRadian};
}

double& StoreAngles(const GroundAngles& angles, double& heading_deg, double& latitude_deg,
                    double& longitude_deg, double& incidence_deg) {
  heading_deg = angles.heading_deg;
  latitude_deg = angles.latitude_deg;
  longitude_deg = angles.longitude_deg;
  incidence_deg = angles.incidence_deg;
  return incidence_deg;
}

Location Locate(const RangeDopplerQuery& query, LocalFrame& frame, RaisedEllipsoid& ellipsoid) {
  frame = MakeLocalFrame(query);
  ellipsoid = RaiseEllipsoid(query);
  const GroundPoint ground = LocateOnEllipsoid(query, frame, ellipsoid);
  return {.ground = ground.position, .angles = AnglesAt(query.sat_pos, frame, ellipsoid, ground)};
}

}  // namespace quellmark::geolocation
