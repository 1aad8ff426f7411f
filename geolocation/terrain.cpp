// Symbols of this file:
//
//   a, b       semi-axes of the ellipsoid, not raised [m]
//   p          distance of a point from the axis [m];  h  its height above the ellipsoid [m]
//   theta      parametric latitude of Bowring's method;  phi  geodetic latitude, lambda longitude
//   e2         (a^2 - b^2) / a^2, the square of the first eccentricity e
//   ep2        (a^2 - b^2) / b^2, the square of the second eccentricity e'
//   error      height above the ellipsoid less the terrain's height below the point [m]

#include "geolocation/terrain.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <span>
#include <utility>

#include "basic/constants.h"
#include "basic/errors.h"
#include "dem/dem_document.h"
#include "runtime/log.h"

namespace quellmark::geolocation {

namespace {

using basic::kDegreesPerRadian;
using runtime::Log;
using runtime::LogLevel;
using runtime::LogLine;

using Vector = VECTOR_3D<double>;

constexpr double kLowestHeight_m = -500.0;
constexpr double kHeightSpan_m = 9500.0;
constexpr double kHeightTolerance_m = 1.0;
constexpr int kIterationLimit = 21;
constexpr double kMissingHeight_m = -32767.0;

// The height of a point above the ellipsoid, and its error.
struct HeightSample {
  double height_m = 0.0;
  double error_m = 0.0;
};

// Computes angles of directions (y, x) near a first one. The difference is so small that four terms
// of the arc tangent are enough, at a fraction of the cost of std::atan2().
class AngleNear {
 public:
  AngleNear(double y, double x) : y_(y), x_(x), angle_(std::atan2(y, x)) {}

  // Equals std::atan2(y, x) to 1e-15.
  [[nodiscard]] double Of(double y, double x) const {
    const double t = (y * x_ - x * y_) / (x * x_ + y * y_);
    const double t2 = t * t;
    const double angle = angle_ + t * (1.0 - t2 * (1.0 / 3.0 - t2 * (1.0 / 5.0 - t2 / 7.0)));
    // The first omitted term is t^9 / 9. An angle beyond pi would have to be reduced.
    const bool holds = t2 < 1e-4 && std::abs(angle) < basic::kPi;
    return holds ? angle : std::atan2(y, x);
  }

 private:
  double y_;
  double x_;
  double angle_;
};

// The height of a point, and the legs of a right-angled triangle in the plane of its meridian. The
// angle between the adjacent leg and the hypotenuse is the latitude of the point.
struct MeridianPoint {
  double opposite = 0.0;
  double adjacent = 0.0;
  double height_m = 0.0;
};

MeridianPoint ToMeridian(const EllipsoidRecord& ellipsoid, const Vector& point) {
  const auto& [a, b, a2, b2] = ellipsoid;
  const double p = std::sqrt(point.x * point.x + point.y * point.y);
  // On the axis the height formula below would be 0 / 0.
  if (p == 0.0) return {point.z, 0.0, std::abs(point.z) - b};
  const double e2 = (a2 - b2) / a2;
  const double ep2 = (a2 - b2) / b2;
  // Sines and cosines are computed from the sides of the triangles with the angles theta and phi.
  const double theta_scale = 1.0 / std::sqrt(point.z * a * point.z * a + p * b * p * b);
  const double sin_theta = point.z * a * theta_scale;
  const double cos_theta = p * b * theta_scale;
  const double opposite = point.z + ep2 * b * sin_theta * sin_theta * sin_theta;
  const double adjacent = p - e2 * a * cos_theta * cos_theta * cos_theta;
  const double side2 = opposite * opposite + adjacent * adjacent;
  // p / cos phi - a / sqrt(1 - e2 sin^2 phi)
  const double height =
      std::sqrt(side2) * (p / adjacent - a / std::sqrt(side2 - e2 * opposite * opposite));
  return {opposite, adjacent, height};
}

// The data that all steps of one search share.
struct Search {
  const RangeDopplerQuery& query;
  const TerrainVariant& variant;
  EllipsoidRecord ellipsoid;
  DEM_DOCUMENT& dem;
  const TerrainArrays& arrays;
};

HeightSample HeightErrorAt(const Search& search, const GeodeticPoint& at) {
  const double latitude_deg = at.latitude_rad * kDegreesPerRadian;
  const double longitude_deg = at.longitude_rad * kDegreesPerRadian;
  LogLine(LogLevel::kTrace,
          "calc in geolocation/geolocation_fast: Looking up DEM height at (lat/lon) ", latitude_deg,
          "/", longitude_deg, " (iterative height ", at.height_m, ")\n");
  const double terrain = search.dem.GetElevationInterpolated(longitude_deg, latitude_deg);
  if (terrain == kMissingHeight_m) {
    // The value is in radians and is used as a height below. This is deliberate: readers of the log
    // know it in this form.
    LogLine(LogLevel::kWarning, "Invalid DEM height/value -32767m occurred at latitude ",
            at.latitude_rad, " longitude ", at.longitude_rad, "\n");
  }
  return {at.height_m, at.height_m - terrain};
}

// The point of the fitted curve at the parameter h.
Vector PointOnCurve(const TerrainArrays& arrays, double h) {
  const int last = arrays.ht.Length();
  Vector point{arrays.curve_x[last], arrays.curve_y[last], arrays.curve_z[last]};
  for (int i = last - 1; i >= 1; --i) {
    point = {point.x * h + arrays.curve_x[i], point.y * h + arrays.curve_y[i],
             point.z * h + arrays.curve_z[i]};
  }
  return point;
}

Vector TrialPoint(const TerrainArrays& arrays, int i) {
  return {arrays.xx[i], arrays.yy[i], arrays.zz[i]};
}

void SolveAtTrialHeights(const Search& search, const LocalFrame& frame, TerrainArrays& arrays) {
  const bool logs = search.variant.logs_samples && Log().Passes(LogLevel::kTrace);
  // The log lines of a point must come before those of the next point.
  const std::size_t together = logs ? 1 : kHeightsTogether;
  const std::span<const double> heights = arrays.ht.Elements();
  std::array<Vector, kHeightsTogether> found;
  for (std::size_t first = 0; first < heights.size(); first += together) {
    const std::size_t count = std::min(together, heights.size() - first);
    LocateAtHeights(search.query, frame, heights.subspan(first, count), found);
    for (std::size_t i = 0; i < count; ++i) {
      arrays.xx.Elements()[first + i] = found[i].x;
      arrays.yy.Elements()[first + i] = found[i].y;
      arrays.zz.Elements()[first + i] = found[i].z;
    }
    if (!logs) continue;
    const Vector& ground = found[0];
    const GeodeticPoint at = ToGeodetic(search.ellipsoid, ground);
    LogLine(LogLevel::kTrace, "location of height ", heights[first], " is (", ground.x, ",",
            ground.y, ",", ground.z, ") at (lat/lon/height) ", at.latitude_rad * kDegreesPerRadian,
            "/", at.longitude_rad * kDegreesPerRadian, "/", at.height_m, "\n");
  }
}

// Reports what the DEM has at a point. Only the failure report uses it.
void ProbeDem(const Search& search, const Vector& point) {
  const GeodeticPoint at = ToGeodetic(search.ellipsoid, point);
  const double latitude_deg = at.latitude_rad * kDegreesPerRadian;
  const double longitude_deg = at.longitude_rad * kDegreesPerRadian;
  const double terrain = search.dem.GetElevationInterpolated(longitude_deg, latitude_deg);
  LogLine(LogLevel::kInfo, "DEM height at lat=", latitude_deg, " lon=", longitude_deg, " is ",
          terrain, "m\n");
}

[[noreturn]] void FailToBracket(const Search& search, const HeightSample& low,
                                const HeightSample& high) {
  const RangeDopplerQuery& query = search.query;
  // 17 digits restore the same numbers.
  std::array<char, 400> inputs;
  const auto& [px, py, pz] = query.sat_pos;
  const auto& [vx, vy, vz] = query.sat_vel;
  std::snprintf(inputs.data(), inputs.size(),
                "%.17g, DEM, fast_time=%.17g sat_pos=(%.17g,%.17g,%.17g) "
                "sat_vel=(%.17g,%.17g,%.17g)",
                query.look_direction, query.fast_time_s, px, py, pz, vx, vy, vz);
  LogLine(LogLevel::kInfo, query.routine, " was called with look_dir=", inputs.data());
  LogLine(LogLevel::kInfo, "height range was ", low.height_m, ",", high.height_m,
          " with height errors ", low.error_m, ",", high.error_m);
  ProbeDem(search, TrialPoint(search.arrays, search.arrays.ht.First()));
  ProbeDem(search, TrialPoint(search.arrays, search.arrays.ht.Last()));
  throw search.variant.initializing_error;
}

// Returns the height above the ellipsoid at which the curve meets the terrain.
double BisectAlongCurve(const Search& search) {
  const TerrainArrays& arrays = search.arrays;
  const Vector lowest = TrialPoint(arrays, arrays.ht.First());
  const MeridianPoint meridian = ToMeridian(search.ellipsoid, lowest);
  const AngleNear latitude(meridian.opposite, meridian.adjacent);
  const AngleNear longitude(lowest.y, lowest.x);
  const auto error_at = [&](const Vector& point) {
    const MeridianPoint at = ToMeridian(search.ellipsoid, point);
    return HeightErrorAt(search, {latitude.Of(at.opposite, at.adjacent),
                                  longitude.Of(point.y, point.x), at.height_m});
  };
  HeightSample low = error_at(lowest);
  HeightSample high = error_at(TrialPoint(arrays, arrays.ht.Last()));
  // A value that is not a number has no bracket either.
  if (!(low.error_m * high.error_m < 0.0)) FailToBracket(search, low, high);

  HeightSample middle;
  int iterations = 0;
  do {
    middle = error_at(PointOnCurve(arrays, (low.height_m + high.height_m) * 0.5));
    ++iterations;
    // The end of the bracket takes the height computed for the point, not the parameter of the
    // curve. This is deliberate; the two differ by the error of the fit.
    (low.error_m * middle.error_m >= 0.0 ? low : high) = middle;
  } while (iterations < kIterationLimit && !(std::abs(middle.error_m) <= kHeightTolerance_m));
  LogLine(LogLevel::kTrace, search.query.routine, " (DEM): ", iterations,
          " Iterations. Error: ", middle.error_m, " meters\n");
  return middle.height_m;
}

}  // namespace

GeodeticPoint ToGeodetic(const EllipsoidRecord& ellipsoid, const Vector& point) {
  const MeridianPoint meridian = ToMeridian(ellipsoid, point);
  return {std::atan2(meridian.opposite, meridian.adjacent), std::atan2(point.y, point.x),
          meridian.height_m};
}

int TerrainArrays::Create(std::uint8_t degree) {
  const int length = degree + 1;
  const RANGE<int> range(1, length);
  TerrainArrays made;
  for (ARRAY<double>* const array : {&made.ht, &made.xx, &made.yy, &made.zz, &made.curve_x,
                                     &made.curve_y, &made.curve_z, &made.sig}) {
    if (const int status = array->Create(range); status != kArrayOk) return status;
  }
  for (const int status :
       {made.ia.Create(range), made.covar.Create(range, range), made.lfit.Create(length)}) {
    if (status != kArrayOk) return status;
  }
  for (int k = 0; k <= degree; ++k) made.ht[k + 1] = k * kHeightSpan_m / degree + kLowestHeight_m;
  std::ranges::fill(made.sig.Elements(), 1.0);
  std::ranges::fill(made.ia.Elements(), 1);
  *this = std::move(made);
  return kArrayOk;
}

void PowerBasis(double h, double powers[], int count) {
  powers[1] = 1.0;
  for (int i = 2; i <= count; ++i) powers[i] = powers[i - 1] * h;
}

TerrainLocation LocateOnTerrain(const RangeDopplerQuery& query, DEM_DOCUMENT& dem,
                                TerrainArrays& arrays, const TerrainVariant& variant) {
  const double a = query.requator_m;
  const double b = query.rpole_m;
  const Search search{query, variant, {a, b, a * a, b * b}, dem, arrays};
  const LocalFrame frame = MakeLocalFrame(query);
  SolveAtTrialHeights(search, frame, arrays);
  variant.fit(arrays, arrays.xx, arrays.curve_x);
  variant.fit(arrays, arrays.yy, arrays.curve_y);
  variant.fit(arrays, arrays.zz, arrays.curve_z);

  RangeDopplerQuery at_terrain = query;
  at_terrain.height_m = BisectAlongCurve(search);
  const RaisedEllipsoid ellipsoid = RaiseEllipsoid(at_terrain);
  const GroundPoint ground = LocateOnEllipsoid(at_terrain, frame, ellipsoid);
  return {.location = {.ground = ground.position,
                       .angles = AnglesAt(query.sat_pos, frame, ellipsoid, ground)},
          .height_m = at_terrain.height_m};
}

}  // namespace quellmark::geolocation
