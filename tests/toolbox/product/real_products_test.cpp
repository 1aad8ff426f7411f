// Compares the metadata of real products, in the folder that QM_PRODUCTS names, with the points
// that the products' own processors located, and with pools that another converter made from them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/files.h"
#include "tests/toolbox/product/pool_check.h"

namespace quellmark::product {
namespace {

// Returns "" if the tests must be skipped.
std::string ProductsFolder() {
  const char* folder = std::getenv("QM_PRODUCTS");
  return folder == nullptr ? "" : folder;
}

struct Row {
  const char* folder;  // its first entry that begins like this
  const char* pool;    // made by the other converter
  const char* truth;
  bool is_smoothed;
  double distance_m;  // accuracy of the data; see the notes of the tables
};

// The distances are those of a solver with 50 digits and its own pools. The velocities of
// quick-look orbits do not quite match the slope of their positions. With the downlinked orbit of
// the RCM-3 scene no weight of the velocities leads to less than 3.3 m; the other converter's own
// smoothed pool is up to 8.2 m off.
const Row kRows[] = {
    {"sentinel1/S1B_IW_GRDH", QM_SCENES "/s1b_iw_grd_alps.pool",
     QM_SCENES "/s1b_iw_grd_alps.truth.csv", false, 0.4},
    {"sentinel1/S1A_S3_SLC", QM_SCENES "/s1a_s3_slc_comoros.pool",
     QM_SCENES "/s1a_s3_slc_comoros.truth.csv", false, 1.45},
    {"sentinel1/S1A_IW_SLC", QM_SCENES "/s1a_iw1_slc_quebec.pool",
     QM_SCENES "/s1a_iw1_slc_quebec.truth.csv", false, 0.015},
    {"terrasarx/TDX1", "tdx1_sm_20210805.pool", "tdx1_sm_20210805.truth.csv", false, 4e-6},
    {"iceye/ICEYE_X7", "iceye_x7_sm_right.pool", "iceye_x7_sm_right.truth.csv", false, 0.0065},
    {"rcm/RCM2", "rcm2_16m5_grd.pool", "rcm2_16m5_grd.truth.csv", false, 0.705},
    {"rcm/RCM3", "rcm3_fsl27_grd_smooth.pool", "rcm3_fsl27_grd.truth.csv", true, 3.6},
    {"nisar/REE_RSLC", "ree_rslc_right.pool", "ree_rslc_right.truth.csv", false, 0.006},
};

std::string FirstEntry(const std::filesystem::path& beginning) {
  for (const auto& entry : std::filesystem::directory_iterator(beginning.parent_path())) {
    if (entry.path().filename().string().starts_with(beginning.filename().string())) {
      return entry.path();
    }
  }
  ADD_FAILURE() << "no " << beginning;
  return "";
}

TEST(RealProducts, GridsAreReachedAndPoolsAreTheOtherConverters) {
  const std::filesystem::path folder = ProductsFolder();
  if (folder.empty()) GTEST_SKIP() << "QM_PRODUCTS names no folder with products";
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.folder);
    ImportOptions options;
    options.smooth_orbit = row.is_smoothed;
    const std::string pool = PoolOf(ImportProduct(FirstEntry(folder / row.folder), options).scene);

    const double distance_m = LargestDistance(pool, folder / row.truth);
    EXPECT_LE(distance_m, row.distance_m);

    // A smoothed orbit differs from the other converter's polynomial of degree 4, so it is compared
    // with the grid only. NISAR's "local_height" is the product's reference terrain height, not the
    // middle of the heights for which its grid was computed. The rest agrees to the last bits.
    std::vector<std::string> others;
    if (row.is_smoothed) {
      for (const char* axis : {"x", "y", "z"}) {
        others.push_back(std::string("orbit_pos_") + axis);
        others.push_back(std::string("orbit_vel_") + axis);
      }
    }
    if (std::string(row.folder).starts_with("nisar")) others.emplace_back("local_height");
    ExpectSameValues(ValuesOf(pool), ValuesOf(test::ReadFile(folder / row.pool)), 4e-15, others);
  }
}

TEST(RealProducts, NoiseOfDownlinkedOrbitIsTold) {
  const std::filesystem::path folder = ProductsFolder();
  if (folder.empty()) GTEST_SKIP() << "QM_PRODUCTS names no folder with products";
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.folder);
    const std::string pool = PoolOf(ImportProduct(FirstEntry(folder / row.folder), {}).scene);
    EXPECT_EQ(pool.find("NOISY ORBIT") != std::string::npos, row.is_smoothed);
    if (!row.is_smoothed) continue;
    const double distance_m = LargestDistance(pool, folder / row.truth);
    EXPECT_GT(distance_m, 10.0);
  }
}

}  // namespace
}  // namespace quellmark::product
