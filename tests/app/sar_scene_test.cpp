// Tests the scene as a library object: positions on the terrain of a DEM, and refused input.
#include "app/sar_scene.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "basic/errors.h"
#include "tests/app/example_scene.h"
#include "tests/dem/test_dem.h"
#include "tests/support/expect_fails.h"

namespace quellmark::test {
namespace {

using app::PointLocation;
using app::SceneParameters;
using ::testing::HasSubstr;

constexpr const char* kReleased = "MEM_MGR: delete image memory ..\n";

class ExampleScene : public ::testing::Test {
 protected:
  SceneParameters Parameters() {
    WriteFile(directory_ / "scene.pool", ScenePool("s1a_iw1_slc_quebec"));
    PARAMETER_POOL pool;
    static_cast<void>(pool.Open(directory_ / "scene.pool"));
    SAR_SCENE scene;
    scene.ReadFromParameterPool(pool);
    return scene.Parameters();
  }

  // A slope of 150 m for each degree, from about 100 m to 2000 m, around the scene.
  STRING SlopingDem() {
    return WriteDem(directory_, {.tiles = {{-64, 53, -58, 48}},
                                 .resolution_arcsec = 3600.0,
                                 .terrain = [](int x, int y) { return 150 * (64 + x + y - 48); }});
  }

  TempDir directory_;
  ScopedLog quiet_;
};

TEST_F(ExampleScene, LocatesOnTheTerrainOnlyWithTheFlagSet) {
  SceneParameters parameters = Parameters();
  SAR_SCENE scene;
  scene.SetParameters(parameters);
  scene.AttachDem(SlopingDem());
  const PointLocation on_ellipsoid = scene.Locate(10000.0, 6000.0);
  EXPECT_EQ(on_ellipsoid.height_m, parameters.local_height_m);

  SRF_DOCUMENT dem = *scene.Dem();
  for (const double sample : {0.0, 10000.0, 21168.5}) {
    scene.SetUseDem(true);
    const PointLocation on_terrain = scene.Locate(sample, 6000.0);
    const double terrain_m =
        dem.GetElevationInterpolated(on_terrain.longitude_deg - 360.0, on_terrain.latitude_deg);
    EXPECT_GT(terrain_m, 500.0);
    EXPECT_NEAR(on_terrain.height_m, terrain_m, 1.0) << "the search's tolerance";
    // The same point must lie on the ellipsoid that is raised to this height.
    parameters.local_height_m = on_terrain.height_m;
    scene.SetParameters(parameters);
    scene.SetUseDem(false);
    const PointLocation at_height = scene.Locate(sample, 6000.0);
    EXPECT_EQ(at_height.longitude_deg, on_terrain.longitude_deg);
    EXPECT_EQ(at_height.latitude_deg, on_terrain.latitude_deg);
    EXPECT_EQ(at_height.incidence_deg, on_terrain.incidence_deg);
    EXPECT_EQ(at_height.b_param, on_terrain.b_param);
    EXPECT_EQ(at_height.fm_rate, on_terrain.fm_rate);
  }
}

TEST_F(ExampleScene, ReleasesItsDemOnlyWithTheFlagSet) {
  for (const bool use_dem : {false, true}) {
    const ScopedLog log;
    {
      SAR_SCENE scene;
      scene.AttachDem(SlopingDem());
      scene.SetUseDem(use_dem);
    }
    EXPECT_EQ(log.Text().find(kReleased) != std::string::npos, use_dem);
  }
}

TEST_F(ExampleScene, ReadsInTheDocumentedOrder) {
  const char* const keys[] = {"radar_frequency",
                              "antenna_look_direction",
                              "orbit_representation",
                              "n_lines",
                              "n_samples",
                              "range_sampling_frequency",
                              "prf",
                              "first_rg_time",
                              "first_az_time"};
  std::string text = ScenePool("s1a_iw1_slc_quebec");
  for (const std::string key : keys) {  // the last key is removed first
    text = Without(text, key);
    WriteFile(directory_ / "scene.pool", text);
    PARAMETER_POOL pool;
    static_cast<void>(pool.Open(directory_ / "scene.pool"));
    SAR_SCENE scene;
    const ScopedLog log;
    EXPECT_THROW(scene.ReadFromParameterPool(pool), ERROR_PARAMETER_POOL);
    EXPECT_THAT(log.Text(), HasSubstr("parameter key >> " + key + " << not found\n"));
  }
}

TEST_F(ExampleScene, RefusesWithoutChange) {
  SAR_SCENE scene;
  EXPECT_FAILS(scene.Locate(0.0, 0.0), ERROR_ALGORITHM, "GENERAL_ORBIT: no orbit was read\n");
  scene.SetParameters(Parameters());
  SceneParameters bad = Parameters();
  bad.n_lines = 0;
  EXPECT_FAILS(scene.SetParameters(bad), ERROR_PARAMETER,
               "SAR_SCENE: n_lines must be at least 1, not 0\n");
  bad = Parameters();
  bad.look_direction = "LEFT";
  EXPECT_FAILS(scene.SetParameters(bad), ERROR_PARAMETER,
               "Error: Unkown antenna look direction LEFT\n");
  bad.look_direction = STRING();
  EXPECT_THROW(scene.SetParameters(bad), std::out_of_range);
  EXPECT_EQ(scene.GetNumberOfLines(), 13500);
  EXPECT_EQ(scene.LookSign(), 1.0);

  EXPECT_THROW(scene.AttachDem(STRING()), std::out_of_range);
  scene.SetUseDem(true);
  EXPECT_FAILS(scene.Locate(0.0, 0.0), ERROR_PARAMETER,
               "SAR_SCENE: no DEM is attached to locate points on\n");
}

}  // namespace
}  // namespace quellmark::test
