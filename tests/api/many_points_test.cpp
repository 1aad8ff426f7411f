// Compares whole images with single points, and goes from image to ground and back.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "tests/dem/test_dem.h"
#include <quellmark/error.h>
#include <quellmark/scene.h>

namespace quellmark {
namespace {

constexpr const char* kPools[] = {QM_SCENES "/s1b_iw_grd_alps.pool",
                                  QM_SCENES "/s1a_s3_slc_comoros.pool",
                                  QM_SCENES "/s1a_iw1_slc_quebec.pool"};

// Memory for all outputs of ImageToGround().
struct Ground {
  explicit Ground(std::size_t n)
      : longitude(n),
        latitude(n),
        height(n),
        incidence(n),
        x(n),
        y(n),
        z(n),
        velocity(n),
        b(n),
        rate(n),
        status(n) {}
  [[nodiscard]] GroundPoints Points() {
    return {.longitude_deg = longitude,
            .latitude_deg = latitude,
            .height_m = height,
            .incidence_deg = incidence,
            .x_m = x,
            .y_m = y,
            .z_m = z,
            .zero_doppler_velocity_ms = velocity,
            .b_parameter = b,
            .fm_rate = rate,
            .status = status};
  }
  std::vector<double> longitude, latitude, height, incidence, x, y, z, velocity, b, rate;
  std::vector<PointStatus> status;
};

TEST(ImageToGround, GridsPointsAndSinglePointsAgree) {
  for (const char* pool : kPools) {
    SCOPED_TRACE(pool);
    const Scene scene = Scene::Open(pool);
    const ImageGrid grid{.first_sample = 0.5,
                         .sample_step = scene.Parameters().samples / 7.0,
                         .samples = 7,
                         .first_line = 0.0,
                         .line_step = scene.Parameters().lines / 5.0,
                         .lines = 5};
    std::vector<double> samples;
    std::vector<double> lines;
    for (std::size_t k = 0; k < grid.Size(); ++k) {
      samples.push_back(grid.first_sample + static_cast<double>(k % 7) * grid.sample_step);
      lines.push_back(grid.first_line + static_cast<double>(k / 7) * grid.line_step);
    }
    Ground of_grid(grid.Size());
    Ground of_points(grid.Size());
    const GroundOptions options{.raised_ellipsoid = true};
    EXPECT_EQ(scene.ImageToGround(grid, of_grid.Points(), options).Of(PointStatus::kFound),
              grid.Size());
    scene.ImageToGround(samples, lines, of_points.Points(), options);
    std::vector<double> sample(grid.Size());
    std::vector<double> line(grid.Size());
    for (std::size_t k = 0; k < grid.Size(); ++k) {
      SCOPED_TRACE(k);
      EXPECT_EQ(of_grid.longitude[k], of_points.longitude[k]);
      EXPECT_EQ(of_grid.rate[k], of_points.rate[k]);
      const Location single = scene.Locate(samples[k], lines[k]);
      // The tolerance is some hundred roundings of the earth's radius (1e-9 m or 1e-14 degrees).
      EXPECT_NEAR(of_grid.longitude[k], single.longitude_deg, 1e-12);
      EXPECT_NEAR(of_grid.latitude[k], single.latitude_deg, 1e-12);
      EXPECT_NEAR(of_grid.incidence[k], single.incidence_deg, 1e-11);
      EXPECT_EQ(of_grid.height[k], single.height_m);
      EXPECT_NEAR(of_grid.velocity[k], single.zero_doppler_velocity_ms, 1e-5);
      EXPECT_NEAR(of_grid.b[k] / single.b_parameter, 1.0, 1e-12);
      EXPECT_NEAR(of_grid.rate[k] / single.fm_rate, 1.0, 1e-12);
      EXPECT_LE(of_grid.longitude[k], 180.0);
    }
    // From the ground back to the image.
    scene.ImageToGround(grid, of_grid.Points(), {.height_m = 300.0});
    std::vector<double> azimuth(grid.Size());
    scene.GroundToImage(of_grid.longitude, of_grid.latitude, of_grid.height,
                        {.sample = sample, .line = line, .azimuth_time_s = azimuth});
    for (std::size_t k = 0; k < grid.Size(); ++k) {
      EXPECT_NEAR(sample[k], samples[k], 1e-6);
      EXPECT_NEAR(line[k], lines[k], 1e-6);
      EXPECT_NEAR(azimuth[k], scene.AzimuthTimeOf(line[k]), 1e-9);
    }
  }
}

TEST(ImageToGround, OnADemThePointsLieOnItsTerrain) {
  // Smooth hills around the Quebec scene, one side of which the DEM leaves out.
  const test::TempDir directory;
  test::TestDem terrain;
  terrain.resolution_arcsec = 36.0;
  terrain.lat_resolution_arcsec = 36.0;
  terrain.tiles = {{-6300, 5250, -6101, 4900}, {-6100, 5250, -6060, 4900}};
  terrain.terrain = [](int lon_index, int lat_index) {
    return 400 + static_cast<int>(300.0 * std::sin(0.05 * lon_index) * std::cos(0.07 * lat_index));
  };
  const Dem dem = Dem::Open(test::WriteDem(directory, terrain));
  const Scene scene = Scene::Open(kPools[2]);
  const double last_sample = scene.Parameters().samples - 1;
  const ImageGrid grid{.sample_step = last_sample / 40,
                       .samples = 41,
                       .line_step = (scene.Parameters().lines - 1) / 40.0,
                       .lines = 41};
  Ground ground(grid.Size());
  const PointSummary summary =
      scene.ImageToGround(grid, ground.Points(), {.dem = &dem, .threads = 2});
  EXPECT_GT(summary.Of(PointStatus::kFound), 100U);
  EXPECT_GT(summary.Of(PointStatus::kNoTerrain), 100U);
  EXPECT_EQ(summary.Of(PointStatus::kFound) + summary.Of(PointStatus::kNoTerrain), grid.Size());
  for (std::size_t k = 0; k < grid.Size(); ++k) {
    if (ground.status[k] != PointStatus::kFound) {
      EXPECT_EQ(ground.height[k], scene.Parameters().local_height_m);
      continue;
    }
    EXPECT_NEAR(dem.HeightAt(ground.longitude[k], ground.latitude[k]), ground.height[k], 2e-3);
  }
  // A point has the same result alone as in the grid.
  for (const std::size_t k : {0UL, 700UL, grid.Size() - 1}) {
    const double sample = static_cast<double>(k % 41) * grid.sample_step;
    const double line = static_cast<double>(k / 41) * grid.line_step;
    double longitude = 0.0;
    scene.ImageToGround({&sample, 1}, {&line, 1}, {.longitude_deg = {&longitude, 1}},
                        {.dem = &dem});
    EXPECT_NEAR(longitude, ground.longitude[k], 1e-7);
  }
  // This scene is far away from the DEM.
  EXPECT_EQ(Scene::Open(kPools[1])
                .ImageToGround({.samples = 3, .lines = 3}, {}, {.dem = &dem})
                .Of(PointStatus::kNoTerrain),
            9U);
}

TEST(ImageToGround, WhatCanNotBeAskedIsRefused) {
  const Scene scene = Scene::Open(kPools[0]);
  const std::vector<double> two = {1.0, 2.0};
  const std::vector<double> one = {1.0};
  Ground ground(2);
  const auto ask = [&](const GroundOptions& options) {
    static_cast<void>(scene.ImageToGround(two, two, ground.Points(), options));
  };
  EXPECT_THROW(scene.ImageToGround(two, one, ground.Points()), ArgumentError);
  EXPECT_THROW(scene.ImageToGround(one, one, ground.Points()), ArgumentError);
  EXPECT_THROW(ask({.height_m = 1.0, .heights_m = two}), ArgumentError);
  EXPECT_THROW(ask({.heights_m = one}), ArgumentError);
  EXPECT_THROW(ask({.threads = -1}), ArgumentError);
  EXPECT_THROW(scene.GroundToImage(two, two, one, {}), ArgumentError);
  EXPECT_NO_THROW(ask({.heights_m = two}));
  EXPECT_EQ(ground.height[1], 2.0);
}

TEST(ImageToGround, TheCallersProgressFunctionEndsACall) {
  // Only one thread is used: a second one could finish while the one that reports progress waits.
  const Scene scene = Scene::Open(kPools[0]);
  const ImageGrid grid{.samples = 1000, .lines = 1000};
  std::vector<double> longitude(grid.Size());
  std::vector<PointStatus> status(grid.Size());
  std::size_t calls = 0;
  const auto cancel = [&](std::size_t done, std::size_t total) {
    EXPECT_EQ(total, grid.Size());
    ++calls;
    return done < 100'000;
  };
  EXPECT_THROW(scene.ImageToGround(grid, {.longitude_deg = longitude, .status = status},
                                   {.threads = 1, .progress = cancel}),
               CancelledError);
  EXPECT_GT(calls, 1U);
  EXPECT_EQ(status.front(), PointStatus::kFound);
  EXPECT_EQ(status.back(), PointStatus::kNotComputed);
  EXPECT_TRUE(std::isnan(longitude.back()));
}

}  // namespace
}  // namespace quellmark
