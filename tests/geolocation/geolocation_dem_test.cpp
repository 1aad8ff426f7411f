#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "basic/errors.h"
#include "dem/srf_document.h"
#include "geolocation/geolocation.h"
#include "geolocation/geolocation_fast.h"
#include "tests/dem/test_dem.h"
#include "tests/geolocation/geometry.h"
#include "tests/support/allocation_counter.h"
#include "tests/support/expect_fails.h"
#include "tests/support/rows.h"

namespace quellmark::test {
namespace {

using testing::HasSubstr;
using Vector = VECTOR_3D<double>;
namespace geo = quellmark::geolocation;
using Level = runtime::LogLevel;

constexpr std::uint8_t kDegreeOfCurve = 3;
const std::string kNoBracket =
    ": Initializing error. DEM possibly too small or contains values outside [-500,9000].";

// A terrain defined by a function of longitude and latitude in degrees.
class FunctionDem : public DEM_DOCUMENT {
 public:
  using Terrain = std::function<double(double, double)>;
  explicit FunctionDem(Terrain terrain) : DEM_DOCUMENT(Grid()), terrain_(std::move(terrain)) {}
  double GetElevationInterpolated(double longitude_deg, double latitude_deg) override {
    return terrain_(longitude_deg, latitude_deg);
  }
  unsigned short DocumentType() const override { return 0; }
  void VerifyTileHeaders() override {}

 private:
  static DEM_DESCRIPTOR Grid() {
    DEM_DESCRIPTOR descriptor;
    descriptor.value_type = 2;
    descriptor.lon_res_deg = descriptor.lat_res_deg = 1.0;
    return descriptor;
  }
  Terrain terrain_;
};

FunctionDem Flat(double height_m) {
  return FunctionDem([height_m](double, double) { return height_m; });
}

void LocateInto(Located& l, GEOLOCATION_DEM_WORKSPACE& workspace, DEM_DOCUMENT& dem,
                const Geometry& g, std::uint8_t degree = kDegreeOfCurve) {
  geolocation_fast(workspace, dem, g.sat_pos, g.sat_vel, l.ground, l.heading, l.latitude,
                   l.longitude, l.incidence, l.height, degree, g.look, g.rpole, g.requator,
                   g.fast_time, g.doppler);
}

GEOLOCATION_DEM_WORKSPACE Prepared(std::uint8_t degree, std::uint32_t thread = 0) {
  GEOLOCATION_DEM_WORKSPACE workspace(thread);
  workspace.Prepare(degree);
  return workspace;
}

// Locates in a work area of its own.
Located LocateFast(DEM_DOCUMENT& dem, const Geometry& g, std::uint8_t degree = kDegreeOfCurve) {
  Located l;
  GEOLOCATION_DEM_WORKSPACE workspace = Prepared(degree);
  LocateInto(l, workspace, dem, g, degree);
  return l;
}
Located LocateFast(GEOLOCATION_DEM_WORKSPACE& workspace, DEM_DOCUMENT& dem, const Geometry& g,
                   std::uint8_t degree = kDegreeOfCurve) {
  Located l;
  LocateInto(l, workspace, dem, g, degree);
  return l;
}

VECTOR<double> General(const Vector& v, int start = 1) { return {start, {v.x, v.y, v.z}}; }

Vector Fixed(const VECTOR<double>& v) { return {v[v.First()], v[v.First() + 1], v[v.First() + 2]}; }

Located LocatePlain(DEM_DOCUMENT& dem, const Geometry& g) {
  Located l;
  VECTOR<double> ground;
  ::geolocation(dem, General(g.sat_pos), General(g.sat_vel), ground, l.heading, l.latitude,
                l.longitude, l.incidence, l.height, kDegreeOfCurve, g.look, g.rpole, g.requator,
                g.fast_time, g.doppler);
  l.ground = Fixed(ground);
  return l;
}

// The result of the ellipsoid routine at a height.
Located LocateAtHeight(Geometry g, double height) {
  g.height = height;
  return Locate(g);
}

// Hills of 200 m to 2200 m between 9 and 10 degrees east, 45 and 46 degrees north.
SRF_DOCUMENT OpenHills(const TempDir& directory, bool fast) {
  const TestDem hills{
      .tiles = {{10800, 55200, 12000, 54000}}, .terrain = [](int x, int y) {
        return static_cast<int>(1200.0 + 1000.0 * std::sin(x * 0.013) * std::cos(y * 0.017));
      }};
  return SRF_DOCUMENT(DEM_DESCRIPTOR::ReadFromFile(WriteDem(directory, hills)), fast);
}

// Uses the ellipsoid that all geometries in this file have.
geo::GeodeticPoint ToGeodetic(const Vector& point) {
  const double a = Geometry().requator, b = Geometry().rpole;
  return geo::ToGeodetic({a, b, a * a, b * b}, point);
}

Geometry OverTheHills(double longitude = 9.5, double latitude = 45.3) {
  return MakeGeometry(longitude * kDegree, latitude * kDegree, 1.2, 35.0 * kDegree);
}

void ExpectLogged(const std::string& when, const std::string& log) {
  int rows = 0;
  for (const Row& row : ReadRows(QM_GEOLOCATION_TEST_DATA "/dem_log.txt")) {
    if (row[0] != when) continue;
    EXPECT_THAT(log, HasSubstr(row[1]));
    ++rows;
  }
  EXPECT_GE(rows, 1) << when;
}

TEST(GeolocationDem, PointsLieOnTheHills) {
  const ScopedLog quiet(Level::kSilent);
  const TempDir directory;
  SRF_DOCUMENT dem = OpenHills(directory, true);
  GEOLOCATION_DEM_WORKSPACE workspace = Prepared(kDegreeOfCurve);
  RandomGeometries random(11);
  for (int i = 0; i < 2000; ++i) {
    SCOPED_TRACE(i);
    const double longitude = random.Uniform(9.4, 9.6) * kDegree;
    const double latitude = random.Uniform(45.2, 45.4) * kDegree;
    const double bearing = random.Uniform(-3.1, 3.1);
    const double incidence = random.Uniform(25, 60) * kDegree;
    Geometry g = MakeGeometry(longitude, latitude, bearing, incidence);
    g.doppler = random.Uniform(-20.0, 20.0);
    const std::size_t before = AllocationCount();
    const Located located = LocateFast(workspace, dem, g);
    ASSERT_EQ(AllocationCount(), before);
    const Vector look = located.ground - g.sat_pos;
    const double range = 0.5 * kSpeedOfLight * g.fast_time;
    ASSERT_NEAR(Length(look), range, 1e-6);
    ASSERT_NEAR(Dot(look, g.sat_vel), range * g.doppler, 1e-6 * range);
    // The surface of the raised ellipsoid does not have exactly this height everywhere: it differs
    // by 1e-5 of it.
    const double terrain = dem.GetElevationInterpolated(located.longitude, located.latitude);
    ASSERT_NEAR(located.height, terrain, 1.01);
    ASSERT_EQ(located, LocateAtHeight(g, located.height));
    if (i % 20 == 0) {
      ASSERT_EQ(LocatePlain(dem, g), located);
      ASSERT_EQ(LocateFast(dem, g), located);  // earlier calls have left no trace
    }
  }
}

TEST(GeolocationDem, FlatTerrainAndItsTrace) {
  FunctionDem dem = Flat(0.0);
  const Geometry g = OverTheHills();
  ScopedLog log;
  GEOLOCATION_DEM_WORKSPACE workspace = Prepared(kDegreeOfCurve, 7);
  const Located located = LocateFast(workspace, dem, g);
  EXPECT_NEAR(located.height, 0.0, 1.0);
  ExpectLogged("flat", log.Text());
  const double heights[] = {-500.0, -500.0 + 9500.0 / 3.0, -500.0 + 19000.0 / 3.0, 9000.0};
  for (int i = 1; i <= 4; ++i) {
    const auto& arrays = workspace.Arrays();
    EXPECT_DOUBLE_EQ(arrays.ht[i], heights[i - 1]);
    const Vector sample{arrays.xx[i], arrays.yy[i], arrays.zz[i]};
    EXPECT_EQ(sample, LocateAtHeight(g, arrays.ht[i]).ground);
  }
}

// Terrain that the bracket does not reach, and a missing value, which counts as a height far below.
TEST(GeolocationDem, NoSignChange) {
  const Geometry g{.sat_pos = {5089512, 399243, 4892496},
                   .sat_vel = {-4452, -3500.5, 4917},
                   .fast_time = 183.0 / 32768};
  // An error of 0 at one end is not a change of sign either.
  const double lowest = ToGeodetic(LocateAtHeight(g, -500.0).ground).height_m;
  for (const double height : {9100.0, -600.0, -32767.0, lowest}) {
    SCOPED_TRACE(height);
    FunctionDem dem = Flat(height);
    Located untouched;
    GEOLOCATION_DEM_WORKSPACE workspace = Prepared(kDegreeOfCurve);
    const std::string log = LogOfThrownText("geolocation_fast" + kNoBracket,
                                            [&] { LocateInto(untouched, workspace, dem, g); });
    EXPECT_EQ(untouched, Located());
    // The heights are computed back from the points, so they are not exactly -500 and 9000.
    ExpectLogged("no bracket", log);
    const std::string mark = " with height errors ";
    std::istringstream errors(log.substr(log.find(mark) + mark.size()));
    double low = 0.0, high = 0.0;
    errors >> low;
    errors.ignore() >> high;
    EXPECT_NEAR(low, -500.0 - height, 0.1);  // the log has six digits
    EXPECT_NEAR(high, 9000.0 - height, 0.1);
    const auto warning = testing::ContainsRegex(
        "\nWARN  : Invalid DEM height/value -32767m occurred at latitude 0\\.79[0-9]+ "
        "longitude 0\\.16[0-9]+\n");
    EXPECT_EQ(testing::Matches(warning)(log), height == -32767.0);
    EXPECT_THROWS_TEXT(LocatePlain(dem, g), "geolocation" + kNoBracket);
  }
}

// A straight line through two points misses the heights between them by many metres. The steps show
// that the bracket consists of the points' heights, not of the line's parameter.
TEST(GeolocationDem, BracketTakesTheHeightsOfThePoints) {
  FunctionDem dem = Flat(700.0);
  GEOLOCATION_DEM_WORKSPACE workspace = Prepared(1);
  ScopedLog log;
  static_cast<void>(LocateFast(workspace, dem, OverTheHills(), 1));
  const std::string text = log.Text(), mark = "(iterative height ";
  std::vector<double> heights;
  for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark, at + 1)) {
    heights.push_back(std::stod(text.substr(at + mark.size())));
  }
  ASSERT_GT(heights.size(), 5U);
  const auto& c = workspace.Arrays();
  double low = heights[0], high = heights[1];
  for (std::size_t k = 2; k < heights.size(); ++k) {
    const double m = 0.5 * (low + high);
    const Vector point{c.curve_x[1] + c.curve_x[2] * m, c.curve_y[1] + c.curve_y[2] * m,
                       c.curve_z[1] + c.curve_z[2] * m};
    const double height = ToGeodetic(point).height_m;
    EXPECT_NEAR(heights[k], height, 0.05);  // the log has six digits
    (height <= 700.0 ? low : high) = height;
  }
}

// The number of steps must be that of bisections of [-500, 9000] until the middle is within 1 m of
// the terrain.
TEST(GeolocationDem, StopsAtTheToleranceOfOneMetre) {
  for (double terrain = 100.0; terrain < 1100.0; terrain += 37.3) {
    SCOPED_TRACE(terrain);
    double low = -500.0, high = 9000.0, middle = 4250.0;
    int steps = 1;
    for (; std::abs(middle - terrain) > 1.0; ++steps) {
      (middle < terrain ? low : high) = middle;
      middle = 0.5 * (low + high);
    }
    FunctionDem dem = Flat(terrain);
    ScopedLog log;
    static_cast<void>(LocateFast(dem, OverTheHills()));
    EXPECT_THAT(log.Text(), HasSubstr(" (DEM): " + std::to_string(steps) + " Iterations."));
  }
}

// The promise of docs/geometry.md: the largest distance of the solved point's height from flat
// terrain.
TEST(GeolocationDem, HeightsAreAsGoodAsTheDegree) {
  const ScopedLog quiet(Level::kSilent);
  const struct {
    std::uint8_t degree;
    double least_incidence, most_incidence, bound_m;
  } rows[] = {{1, 20, 60, 22},   {1, 5, 85, 210}, {2, 20, 60, 1.02}, {2, 10, 70, 5.5},
              {3, 10, 70, 1.02}, {3, 5, 85, 7.0}, {4, 5, 85, 2.7},   {6, 5, 85, 1.02}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << int{row.degree} << " " << row.most_incidence);
    RandomGeometries random(3);
    double worst = 0.0;
    for (int i = 0; i < 5000; ++i) {
      const double longitude = random.Uniform(-180, 180) * kDegree;
      const double latitude = std::asin(random.Uniform(-1, 1));
      const double bearing = random.Uniform(-3.1, 3.1);
      const double incidence = random.Uniform(row.least_incidence, row.most_incidence) * kDegree;
      const double altitude_m = random.Uniform(300e3, 900e3);
      const Geometry g = MakeGeometry(longitude, latitude, bearing, incidence, altitude_m);
      const double terrain = random.Uniform(-400.0, 8900.0);
      FunctionDem dem = Flat(terrain);
      const Located located = LocateFast(dem, g, row.degree);
      worst = std::max(worst, std::abs(ToGeodetic(located.ground).height_m - terrain));
    }
    EXPECT_LT(worst, row.bound_m);
    EXPECT_GT(worst, 0.4 * row.bound_m);
  }
}

// No trial height is within the tolerance at this cliff, so all 21 steps are made and the last one
// is the result.
TEST(GeolocationDem, CliffTakesAllIterations) {
  const Geometry g = OverTheHills();
  const double edge = LocateAtHeight(g, 1000.0).longitude;
  // Nearer ground is higher. The far side of the edge lies below the line of sight, the near side
  // above.
  const double east = LocateAtHeight(g, 2000.0).longitude > edge ? 1.0 : -1.0;
  FunctionDem dem(
      [=](double longitude, double) { return (longitude - edge) * east < 0.0 ? 1500.0 : 500.0; });
  ScopedLog log;
  const Located located = LocateFast(dem, g);
  EXPECT_THAT(log.Text(), HasSubstr("geolocation_fast (DEM): 21 Iterations. Error: "));
  EXPECT_NEAR(located.height, 1000.0, 0.02);
}

TEST(GeolocationDem, FailuresPassThrough) {
  const ScopedLog quiet(Level::kSilent);
  const TempDir directory;
  SRF_DOCUMENT dem = OpenHills(directory, false);
  EXPECT_THROW(LocateFast(dem, OverTheHills(20.0)), ERROR_NO_SUBDOC);
  EXPECT_THROW(LocateFast(dem, OverTheHills(), 0), ERROR_ALGORITHM);
  Geometry g = OverTheHills();
  g.fast_time *= 0.5;
  EXPECT_THROW(LocateFast(dem, g), ERROR_DATA);
  // Powers that overflow leave no pivot.
  EXPECT_THROWS_TEXT(LocateFast(dem, OverTheHills(), 255), "gaussj_fast: Singular Matrix-1");
}

// A call whose work area does not fit is refused before anything is written.
TEST(GeolocationDem, WorkAreasThatDoNotFitAreRefused) {
  FunctionDem dem = Flat(700.0);
  const Geometry g = OverTheHills();
  Located untouched;
  GEOLOCATION_DEM_WORKSPACE workspace(7);
  const std::string log = LogOfFailure<ERROR_ARGUMENT>(
      [&] { LocateInto(untouched, workspace, dem, g, kDegreeOfCurve); });
  ExpectLogged("refused", log);
  EXPECT_EQ(workspace.Arrays().ht.Length(), 0);

  const ScopedLog quiet(Level::kSilent);
  workspace.Prepare(1);
  const Located by_line = LocateFast(workspace, dem, g, 1);
  const double trial_x = workspace.Arrays().xx[1];
  for (std::size_t allocations = 0; !workspace.IsPreparedFor(6); ++allocations) {
    SCOPED_TRACE(allocations);
    try {
      const AllocationLimit limit(allocations);
      workspace.Prepare(6);
    } catch (const ERROR_NO_MEMORY&) {
      EXPECT_THROW(LocateInto(untouched, workspace, dem, g, 6), ERROR_ARGUMENT);
      EXPECT_EQ(workspace.Arrays().xx[1], trial_x);
      EXPECT_EQ(LocateFast(workspace, dem, g, 1), by_line);
    }
  }
  EXPECT_EQ(untouched, Located());
  GEOLOCATION_DEM_WORKSPACE moved = std::move(workspace);
  EXPECT_EQ(LocateFast(moved, dem, g, 6), LocateFast(dem, g, 6));
  // NOLINTNEXTLINE(bugprone-use-after-move): left unprepared, by contract
  EXPECT_THROW(LocateInto(untouched, workspace, dem, g, 6), ERROR_ARGUMENT);
  EXPECT_FAILS(
      [&] {
        const AllocationLimit none(0);
        moved.Prepare(2);
      }(),
      ERROR_NO_MEMORY, "geolocation_fast: not enough memory for the work area of thread 7\n");
}

TEST(Geodetic, ComesBackFromTheForwardConversion) {
  const Geometry g;
  const double a = g.requator, b = g.rpole, e2 = (a * a - b * b) / (a * a);
  for (int i = 0; i <= 180; ++i) {
    const double latitude = (i - 90) * kDegree, longitude = (2 * i - 179.5) * kDegree;
    for (const double height : {-500.0, 0.0, 9000.0}) {
      SCOPED_TRACE(testing::Message() << i - 90 << " " << height);
      const LocalAxes axes(longitude, latitude);
      const double normal = a / std::sqrt(1.0 - e2 * axes.up.z * axes.up.z);
      const geo::GeodeticPoint found =
          ToGeodetic((normal + height) * axes.up - Vector{0.0, 0.0, normal * e2 * axes.up.z});
      EXPECT_NEAR(found.height_m, height, 1e-5);
      EXPECT_NEAR(found.latitude_rad, latitude, 1e-12);
      const double apart = std::remainder(found.longitude_rad - longitude, 360.0 * kDegree);
      EXPECT_NEAR(apart * std::cos(latitude), 0.0, 1e-14);
    }
  }
  const geo::GeodeticPoint pole = ToGeodetic({0.0, 0.0, -b - 5.0});
  EXPECT_EQ(pole.latitude_rad, -90.0 * kDegree);
  EXPECT_NEAR(pole.height_m, 5.0, 1e-9);
}

// The plain routine returns the same numbers on general vectors and fails under its own name.
TEST(GeolocationPlain, EqualsTheFastOne) {
  Geometry g = OverTheHills();
  g.look = -1.0;
  g.height = 120.0;
  g.doppler = 15.0;
  Located plain;
  VECTOR<double> ground;
  const auto locate = [&](const VECTOR<double>& position, const VECTOR<double>& velocity) {
    ::geolocation(position, velocity, ground, plain.heading, plain.latitude, plain.longitude,
                  plain.incidence, g.look, g.height, g.rpole, g.requator, g.fast_time, g.doppler);
  };
  const VECTOR<double> two(1, {7e6, 1.0});
  EXPECT_THROWS_TEXT(locate(two, General(g.sat_vel)),
                     "CrossProduct: vector a has not dimension of 3");
  EXPECT_THROWS_TEXT(locate(General(g.sat_pos), two),
                     "CrossProduct: vector b has not dimension of 3");
  EXPECT_FAILS(locate(General({1.0, 0.0, 0.0}), General(g.sat_vel)), ERROR_ARGUMENT,
               "geolocation: satellite position lies within the earth!\n"
               "ALARM : geolocation: length of satellite position is: 1\n");
  EXPECT_EQ(ground.Length(), 0);
  locate(General(g.sat_pos, -1), General(g.sat_vel, 4));
  EXPECT_EQ(ground.First(), -1);
  plain.ground = Fixed(ground);
  plain.height = g.height;
  EXPECT_EQ(plain, Locate(g));
}

}  // namespace
}  // namespace quellmark::test
