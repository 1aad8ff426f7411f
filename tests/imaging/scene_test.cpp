// Compares real scenes with the batch step and with results of the products' processors.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "app/sar_scene.h"
#include "basic/errors.h"
#include "tests/geolocation/geometry.h"
#include "tests/imaging/many_points.h"
#include "tests/support/allocation_counter.h"
#include "tests/support/files.h"
#include "tests/support/scoped_log.h"

namespace quellmark::test {
namespace {

using imaging::HeightModel;
using imaging::LookSide;
using imaging::PointStatus;

const std::string kScenes = QM_SCENES;

// A scene from its pool, for both the batch step and the whole-image routines.
struct Scene {
  explicit Scene(const std::string& pool_path, const std::string& interpolation = "") {
    const TempDir directory;
    std::string text = ReadFile(pool_path);
    if (!interpolation.empty()) {
      text.insert(0, "orbit_interpolation STR \"" + interpolation + "\"\n");
    }
    WriteFile(directory / "pool", text);
    PARAMETER_POOL pool;
    static_cast<void>(pool.Open(directory / "pool"));
    step.ReadFromParameterPool(pool);
    Take();
  }
  // Changes the units: samples become two-way range times, lines become azimuth times.
  void CountInSeconds() {
    app::SceneParameters p = step.Parameters();
    p.first_azimuth_time_s = p.first_range_time_s = 0.0;
    p.prf_hz = p.range_sampling_frequency_hz = 1.0;
    step.SetParameters(std::move(p));
    Take();
  }
  void Take() {
    const app::SceneParameters& p = step.Parameters();
    states = std::make_unique<imaging::OrbitStates>(p.orbit, step.OrbitTimeOrigin(),
                                                    p.first_azimuth_time_s);
    image = {.first_range_time_s = p.first_range_time_s,
             .range_sampling_frequency_hz = p.range_sampling_frequency_hz,
             .prf_hz = p.prf_hz,
             .n_samples = p.n_samples,
             .n_lines = p.n_lines,
             .look_side = step.LookSign() > 0.0 ? LookSide::kRight : LookSide::kLeft,
             .radar_frequency_hz = p.radar_frequency_hz,
             .local_height_m = p.local_height_m,
             .states = states.get()};
  }
  SAR_SCENE step;
  std::unique_ptr<imaging::OrbitStates> states;
  imaging::ImageGeometry image;
};

double Turned(double a, double b) { return std::remainder(a - b, 360.0); }

TEST(Scene, AgreesWithTheBatchStep) {
  const ScopedLog quiet(LOG::Level::kWarning);
  for (const char* name : {"s1b_iw_grd_alps", "s1a_s3_slc_comoros", "s1a_iw1_slc_quebec"}) {
    SCOPED_TRACE(name);
    Scene scene(kScenes + "/" + name + ".pool");
    std::vector<double> sample, line;
    for (int i = 0; i < 400; ++i) {
      sample.push_back(i % 20 * 0.0513 * static_cast<double>(scene.image.n_samples));
      line.push_back(i / 20 * 0.0513 * static_cast<double>(scene.image.n_lines));
    }
    Ground ground(sample.size());
    LocateOnGround(scene.image, {sample, line},
                   {.constant_m = scene.image.local_height_m,
                    .per_point_m = {},
                    .model = HeightModel::kRaisedEllipsoid},
                   ground.Outputs());
    for (std::size_t i = 0; i < sample.size(); ++i) {
      SCOPED_TRACE(i);
      const app::PointLocation one = scene.step.Locate(sample[i], line[i]);
      ASSERT_LE(Length(ground.Position(i) - one.position), 4e-9);
      ASSERT_NEAR(Turned(ground.longitude[i], one.longitude_deg), 0.0, 1e-12);
      ASSERT_NEAR(ground.latitude[i], one.latitude_deg, 1e-12);
      ASSERT_NEAR(ground.incidence[i], one.incidence_deg, 2e-12);
      // The velocity comes from two points, each accurate to 4e-9 m, that are 0.01 s apart.
      ASSERT_NEAR(ground.velocity[i], one.zero_doppler_velocity_ms, 8e-7);
      ASSERT_NEAR(ground.b[i] / one.b_param, 1.0, 1e-14);
      ASSERT_NEAR(ground.fm[i] / one.fm_rate, 1.0, 1e-14);
    }
  }
}

struct Truth {
  const char* scene;
  const char* interpolation;
  HeightModel model;     // the meaning of heights in the product
  double position_m;     // accuracy of the data: see the notes of scenes and products
  double incidence_deg;  // small, because the tables' angles come from the same orbits
};

constexpr HeightModel kGeodetic = HeightModel::kGeodetic;
constexpr HeightModel kRaised = HeightModel::kRaisedEllipsoid;

constexpr Truth kShipped[] = {{"s1b_iw_grd_alps", "localhermite_7_4", kGeodetic, 0.38, 6e-7},
                              {"s1b_iw_grd_alps", "localpolynom_7_8", kGeodetic, 0.28, 6e-7},
                              {"s1a_s3_slc_comoros", "localhermite_7_4", kGeodetic, 1.45, 3e-6},
                              {"s1a_s3_slc_comoros", "localpolynom_7_8", kGeodetic, 0.91, 3e-6},
                              {"s1a_iw1_slc_quebec", "localhermite_7_4", kGeodetic, 0.015, 8e-8},
                              {"s1a_iw1_slc_quebec", "localpolynom_7_8", kGeodetic, 0.015, 8e-8}};
// Noise in the downlinked state vectors limits the accuracy of rcm3_fsl27_grd, and an unexplained
// shift that of rcm2_16m5_grd.
constexpr Truth kProducts[] = {{"tdx1_sm_20210805", "localpolynom_7_8", kRaised, 1e-5, 1e-7},
                               {"tdx1_sm_20210805", "localhermite_7_4", kRaised, 0.03, 1e-6},
                               {"iceye_x7_sm_right", "localhermite_7_4", kGeodetic, 0.01, 3e-7},
                               {"rcm2_16m5_grd", "localhermite_7_4", kGeodetic, 0.75, 2e-5},
                               {"rcm3_fsl27_grd", "localhermite_7_4", kGeodetic, 8.5, 1e-4},
                               {"ree_rslc_right", "localhermite_7_4", kGeodetic, 0.01, 1e-7}};

struct TruthTable {
  std::vector<double> azimuth, range, latitude, longitude, height, incidence;
};

TruthTable ReadTruth(const std::string& path) {
  TruthTable t;
  std::ifstream file(path);
  std::vector<std::vector<double>*> columns;
  std::string text, cell;
  while (std::getline(file, text)) {
    std::istringstream cells(text);
    const bool is_head = columns.empty();
    for (std::size_t i = 0; std::getline(cells, cell, ','); ++i) {
      if (is_head) {
        columns.push_back(cell == "azimuth_s"              ? &t.azimuth
                          : cell == "slant_range_time_s"   ? &t.range
                          : cell == "latitude_deg"         ? &t.latitude
                          : cell == "longitude_deg"        ? &t.longitude
                          : cell == "height_m"             ? &t.height
                          : cell == "incidence_normal_deg" ? &t.incidence
                                                           : nullptr);
      } else if (columns.at(i) != nullptr) {
        columns[i]->push_back(std::stod(cell));
      }
    }
  }
  return t;
}

double GroundDistance(double latitude, double longitude, double true_latitude,
                      double true_longitude) {
  constexpr double kMeterPerDeg = 111'320.0;
  return std::hypot(
      (latitude - true_latitude) * kMeterPerDeg,
      Turned(longitude, true_longitude) * kMeterPerDeg * std::cos(true_latitude * kDegree));
}

// The worst distance over a table's points [m].
double WorstDistance(const Ground& ground, const TruthTable& t) {
  double worst = 0.0;
  for (std::size_t i = 0; i < t.latitude.size(); ++i) {
    worst = std::max(worst, GroundDistance(ground.latitude[i], ground.longitude[i], t.latitude[i],
                                           t.longitude[i]));
  }
  return worst;
}

// The same for the batch step, which locates one point at the height and times of each row.
double WorstDistanceOfStep(Scene& scene, const TruthTable& t) {
  double worst = 0.0;
  app::SceneParameters parameters = scene.step.Parameters();
  for (std::size_t i = 0; i < t.latitude.size(); ++i) {
    parameters.local_height_m = t.height[i];
    parameters.first_range_time_s = t.range[i];
    parameters.first_azimuth_time_s = t.azimuth[i];
    scene.step.SetParameters(parameters);
    float longitude = 0.0F, latitude = 0.0F, incidence = 0.0F;
    double velocity = 0.0, b = 0.0, fm = 0.0;
    scene.step.LocatePoint(0, 0, longitude, latitude, incidence, velocity, b, fm);
    worst = std::max(worst,
                     GroundDistance(static_cast<double>(latitude), static_cast<double>(longitude),
                                    t.latitude[i], t.longitude[i]));
  }
  return worst;
}

// Prints a row for scripts/accuracy.sh: scene, interpolation, points, worst distances [m] at
// geodetic heights, on the raised ellipsoid and of the batch step's floats, and the bound that the
// data allow.
void CheckTruth(const std::string& pool, const std::string& table, const Truth& truth) {
  SCOPED_TRACE(truth.scene);
  Scene scene(pool, truth.interpolation);
  scene.CountInSeconds();
  const TruthTable t = ReadTruth(table);
  ASSERT_GE(t.azimuth.size(), 4U);
  double worst[2] = {};
  for (const HeightModel model : {kGeodetic, kRaised}) {
    Ground ground(t.azimuth.size());
    const auto summary =
        LocateOnGround(scene.image, {t.range, t.azimuth}, {.per_point_m = t.height, .model = model},
                       ground.Outputs());
    ASSERT_EQ(summary.Of(PointStatus::kFound), t.azimuth.size());
    worst[model == kRaised ? 1 : 0] = WorstDistance(ground, t);
    if (model != truth.model) continue;
    EXPECT_LE(WorstDistance(ground, t), truth.position_m);
    for (std::size_t i = 0; i < t.azimuth.size(); ++i) {
      ASSERT_NEAR(ground.incidence[i], t.incidence[i], truth.incidence_deg);
    }
  }
  std::printf("accuracy,%s,%s,%zu,%.1e,%.1e,%.1e,%.1e\n", truth.scene, truth.interpolation,
              t.azimuth.size(), worst[0], worst[1], WorstDistanceOfStep(scene, t),
              truth.position_m);
}

TEST(Scene, ShippedTruth) {
  const ScopedLog quiet(LOG::Level::kWarning);
  for (const Truth& truth : kShipped) {
    const std::string base = kScenes + "/" + truth.scene;
    CheckTruth(base + ".pool", base + ".truth.csv", truth);
  }
}

TEST(Scene, ProductTruth) {
  const char* const products = std::getenv("QM_PRODUCTS");
  if (products == nullptr) GTEST_SKIP() << "QM_PRODUCTS names no folder of products";
  const ScopedLog quiet(LOG::Level::kWarning);
  for (const Truth& truth : kProducts) {
    const std::string base = std::string(products) + "/" + truth.scene;
    const bool is_smooth = std::string(truth.scene) == "rcm3_fsl27_grd";
    CheckTruth(base + (is_smooth ? "_smooth.pool" : ".pool"), base + ".truth.csv", truth);
  }
}

// A source with the states of another one, but without polynomials.
class PlainStates final : public imaging::StateSource {
 public:
  explicit PlainStates(const imaging::StateSource& source) : source_(source) {}
  void StatesAt(std::span<const double> times_s,
                std::span<imaging::SensorState> states) const override {
    source_.StatesAt(times_s, states);
  }
  [[nodiscard]] imaging::TimeInterval Covered() const override { return source_.Covered(); }

 private:
  const imaging::StateSource& source_;
};

// The states that a batch computes from an orbit's polynomials must have the bits of the orbit's
// own states.
TEST(Scene, PolynomialsGiveTheBitsOfTheOrbit) {
  const ScopedLog quiet(LOG::Level::kSilent);
  for (const char* const interpolation :
       {"localhermite_7_4", "localpolynom_7_8", "localpolynom_4_5"}) {
    SCOPED_TRACE(interpolation);
    Scene scene(kScenes + "/s1a_iw1_slc_quebec.pool", interpolation);
    const double range_time_s = scene.step.Parameters().first_range_time_s;
    scene.CountInSeconds();
    ASSERT_TRUE(scene.states->Polynomials());
    const PlainStates plain_states(*scene.states);
    imaging::ImageGeometry plain = scene.image;
    plain.states = &plain_states;
    const auto [first_s, last_s] = scene.states->Covered();
    std::mt19937_64 random(2);
    // First all spans at random, then in order, so that a batch has only one span.
    std::vector<double> line(4001);
    for (double& l : line) l = std::uniform_real_distribution(first_s, last_s)(random);
    std::sort(line.begin() + 2000, line.end());
    line[0] = first_s;
    const std::vector<double> sample(line.size(), range_time_s), height(line.size(), 150.0);
    Ground expected(line.size());
    LocateOnGround(plain, {sample, line}, {.per_point_m = height}, expected.Outputs());
    InImage back(line.size());
    const imaging::GroundPoints targets{expected.longitude, expected.latitude, height};
    LocateInImage(plain, targets, back.Outputs());
    using Set = imaging::InstructionSet;
    for (const Set set : {Set::kBaseline, Set::kAvx2, Set::kAvx512}) {
      if (!IsAvailable(set)) continue;
      SCOPED_TRACE(static_cast<int>(set));
      const imaging::Execution execution{.instruction_set = set, .progress = {}};
      Ground ground(line.size());
      LocateOnGround(scene.image, {sample, line}, {.per_point_m = height}, ground.Outputs(),
                     execution);
      EXPECT_TRUE(ground == expected);
      InImage again(line.size());
      LocateInImage(scene.image, targets, again.Outputs(), execution);
      EXPECT_TRUE(again == back);
    }
  }
}

// From image to ground and back: everywhere on the globe, in and beside the image, at many heights.
TEST(Scene, ThereAndBack) {
  for (const LookSide side : {LookSide::kRight, LookSide::kLeft}) {
    for (const double place : {0.0, 1.0, 2.0, 3.0, 4.0, 5.0}) {
      SCOPED_TRACE(place);
      const double longitude = place < 3.0 ? 179.99 : -75.0;
      const double latitude = (place - 2.5) * 35.99;  // -89.98 to 89.98
      const View view(longitude, latitude, 77.0 + 30.0 * place, 35.0, side);
      std::vector<double> sample, line, height;
      for (int i = 0; i < 500; ++i) {
        sample.push_back(-500.0 + 3.7 * i);
        line.push_back(-20000.0 + 83.3 * i);
        height.push_back(-400.0 + 19.0 * i);
      }
      Ground ground(sample.size());
      const auto there =
          LocateOnGround(view.image, {sample, line}, {.per_point_m = height}, ground.Outputs());
      ASSERT_EQ(there.Of(PointStatus::kFound), sample.size());
      InImage back(sample.size());
      LocateInImage(view.image, {ground.longitude, ground.latitude, height}, back.Outputs());
      for (std::size_t i = 0; i < sample.size(); ++i) {
        ASSERT_EQ(back.status[i], PointStatus::kFound) << i;
        ASSERT_NEAR(back.sample[i], sample[i], 1e-6);
        ASSERT_NEAR(back.line[i], line[i], 1e-6);
      }
    }
  }
}

TEST(Scene, PointsThatTheSensorDoesNotSee) {
  const View right(20.0, 50.0, 80.0, 35.0), left(20.0, 50.0, 80.0, 35.0, LookSide::kLeft);
  const double nan = std::nan("");
  // A point 40 degrees of arc to the right of the sensor is beyond its horizon.
  const VECTOR_3D<double>& s = right.geometry.sat_pos;
  const VECTOR_3D<double> across = Cross(right.geometry.sat_vel, s);
  const VECTOR_3D<double> far = (std::cos(40.0 * kDegree) / Length(s)) * s +
                                (std::sin(40.0 * kDegree) / Length(across)) * across;
  const struct {
    double longitude, latitude;
  } beyond = {std::atan2(far.y, far.x) / kDegree, std::asin(far.z) / kDegree};
  struct Row {
    const View& view;
    double longitude, latitude, height;
    PointStatus status;
  };
  const Row rows[] = {{right, 20.0, 50.0, 0.0, PointStatus::kFound},
                      {right, 380.0, 50.0, 0.0, PointStatus::kFound},
                      {left, 20.0, 50.0, 0.0, PointStatus::kWrongSide},
                      {right, beyond.longitude, beyond.latitude, 0.0, PointStatus::kOutOfView},
                      {right, 20.0, 88.0, 0.0, PointStatus::kBeyondOrbit},
                      {right, 20.0, 90.5, 0.0, PointStatus::kBadInput},
                      {right, nan, 50.0, 0.0, PointStatus::kBadInput},
                      {right, 1e10, 50.0, 0.0, PointStatus::kBadInput},
                      {right, 20.0, 50.0, nan, PointStatus::kBadInput},
                      {right, 20.0, 50.0, -7e6, PointStatus::kBadInput}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.longitude + row.latitude);
    InImage in(1);
    LocateInImage(row.view.image, {{&row.longitude, 1}, {&row.latitude, 1}, {&row.height, 1}},
                  in.Outputs());
    EXPECT_EQ(in.status[0], row.status);
    EXPECT_EQ(std::isnan(in.line[0]), row.status != PointStatus::kFound);
  }
}

// Memory does not grow with the number of points, and no thread is left after a cancelled or failed
// call.
TEST(Scene, ChunksAndThreads) {
  const ScopedLog quiet(LOG::Level::kSilent);
  const Scene scene(kScenes + "/s1a_iw1_slc_quebec.pool");
  const auto run = [&scene](std::size_t lines, unsigned threads,
                            std::function<bool(std::uint64_t, std::uint64_t)> progress) {
    Ground ground(1000 * lines);
    const imaging::ImageGrid grid{.n_samples = 1000, .n_lines = lines};
    const std::size_t before = AllocationCount();
    const auto summary = LocateOnGround(scene.image, grid, {.per_point_m = {}}, ground.Outputs(),
                                        {.threads = threads, .progress = std::move(progress)});
    const std::size_t allocations = AllocationCount() - before;
    std::uint64_t all = 0;
    for (std::size_t i = 0; i < ground.status.size(); ++i) {
      const bool done = ground.status[i] == PointStatus::kFound;
      EXPECT_EQ(std::isnan(ground.longitude[i]), !done);
      all += done ? 1 : 0;
    }
    EXPECT_EQ(summary.Of(PointStatus::kFound), all);
    EXPECT_EQ(summary.Of(PointStatus::kNotComputed), ground.status.size() - all);
    return std::pair(summary, allocations);
  };
  EXPECT_EQ(run(20, 1, {}).second, run(200, 1, {}).second);
  std::uint64_t last = 0;
  const auto whole = run(100, 3, [&last](std::uint64_t done, std::uint64_t all) {
    EXPECT_GE(done, last);
    EXPECT_EQ(all, 100'000U);
    last = done;
    return true;
  });
  EXPECT_EQ(last, 100'000U);
  EXPECT_FALSE(whole.first.cancelled);
  const auto cancelled = run(100, 2, [](std::uint64_t, std::uint64_t) { return false; });
  EXPECT_TRUE(cancelled.first.cancelled);
  EXPECT_THROW(
      run(100, 3,
          [](std::uint64_t, std::uint64_t) -> bool { throw std::runtime_error("interrupted"); }),
      std::runtime_error);
  // Lines far beyond 32 bits must be refused because of their times, not wrap around.
  Ground far(3);
  const imaging::ImageGrid beyond{.n_samples = 3, .first_line = 5e9, .n_lines = 1};
  EXPECT_EQ(LocateOnGround(scene.image, beyond, {.per_point_m = {}}, far.Outputs())
                .Of(PointStatus::kBeyondOrbit),
            3U);
  // The call has more points than 31 bits can count, but requests no outputs for them.
  const imaging::ImageGrid many{.n_samples = 65'536, .first_line = 5e9, .n_lines = 32'769};
  EXPECT_EQ(
      LocateOnGround(scene.image, many, {.per_point_m = {}}, {}).Of(PointStatus::kBeyondOrbit),
      std::uint64_t{65'536} * 32'769);
}

TEST(Scene, CallsThatAreNone) {
  const ScopedLog quiet(LOG::Level::kSilent);
  const View view(20.0, 50.0, 80.0, 35.0);
  const std::vector<double> two(2), three(3);
  Ground ground(3);
  const imaging::Heights flat{.per_point_m = {}};
  EXPECT_THROW(LocateOnGround(view.image, {two, three}, flat, ground.Outputs()), ERROR_ARGUMENT);
  EXPECT_THROW(LocateOnGround(view.image, {two, two}, flat, ground.Outputs()), ERROR_ARGUMENT);
  EXPECT_THROW(LocateOnGround(view.image, {three, three}, {.per_point_m = two}, ground.Outputs()),
               ERROR_ARGUMENT);
  const std::size_t huge = std::size_t{1} << 40;
  EXPECT_THROW(LocateOnGround(view.image, {.n_samples = huge, .n_lines = huge}, flat, {}),
               ERROR_ARGUMENT);
  for (double imaging::ImageGeometry::*const value :
       {&imaging::ImageGeometry::prf_hz, &imaging::ImageGeometry::range_sampling_frequency_hz}) {
    imaging::ImageGeometry bad = view.image;
    bad.*value = 0.0;
    EXPECT_THROW(LocateOnGround(bad, {three, three}, flat, ground.Outputs()), ERROR_ARGUMENT);
  }
  InImage in(3);
  EXPECT_THROW(LocateInImage(view.image, {three, three, two}, in.Outputs()), ERROR_ARGUMENT);
}

}  // namespace
}  // namespace quellmark::test
