// Tests the pools of products that are made from the example scenes, and the messages about faulty
// products.
#include "toolbox/product/import.h"

#include <gtest/gtest.h>
#include <zip.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <random>
#include <sstream>

#include "tests/support/rows.h"
#include "tests/toolbox/product/made_products.h"
#include "tests/toolbox/product/pool_check.h"

namespace quellmark::product {
namespace {

std::string ReplacedAll(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// A zip archive of the files.
std::string Zipped(const Fields& files, const test::TempDir& directory) {
  const std::string path = directory / "made.zip";
  zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
  for (const auto& [name, content] : files) {
    zip_file_add(archive, name.c_str(),
                 zip_source_buffer(archive, content.data(), content.size(), 0), 0);
  }
  EXPECT_EQ(zip_close(archive), 0);
  return path;
}

// The rounding: times of 18 s and more have 12 digits after the point, and three or four operations
// lie between the numbers of the pool and those of the product.
constexpr double kRelative = 1e-12;

TEST(Import, MadeProductsGiveTheExamplesBack) {
  for (const std::string& kind : ProductKinds()) {
    SCOPED_TRACE(kind);
    const ProductFolder folder(MakeProduct(kind));
    const SceneDescription scene = ImportProduct(folder.Path(), {}).scene;
    PoolValues expected = ValuesOf(ExamplePool(ExampleOf(kind)));
    if (kind.starts_with("terrasar") && scene.orbit.value.size() >= 8) {
      expected["orbit_interpolation"] = {"localpolynom_7_8"};
    }
    ExpectSameValues(ValuesOf(PoolOf(scene)), expected, kRelative);
  }
}

TEST(Import, PoolsTellWhatIsApproximate) {
  const struct {
    const char* kind;
    const char* remark;
  } rows[] = {
      {"sentinel1 grd", "is in ground range"}, {"rcm grd", "is in ground range"},
      {"iceye grd", "is in ground range"},     {"terrasar mgd", "is in ground range"},
      {"terrasar eec", "lies on a map grid"},  {"rcm grd reversed", "n_samples - 1 - i"},
      {"radarsat2 grd", "n_lines - 1 - i"},    {"rcm slc", "Copyright"},
  };
  for (const auto& row : rows) {
    const ProductFolder folder(MakeProduct(row.kind));
    const ImportedScene imported = ImportProduct(folder.Path(), {});
    const std::string pool = PoolOf(imported.scene);
    const std::string wanted =
        std::string(row.remark) == "Copyright" ? "Made for a test" : row.remark;
    EXPECT_NE(pool.find(wanted), std::string::npos) << row.kind;
  }
  // The made product bends ground range by a tenth, so the middle of the swath is off by 0.1 / 4 of
  // the swath's depth.
  const ProductFolder folder(MakeProduct("rcm grd"));
  const SceneDescription scene = ImportProduct(folder.Path(), {}).scene;
  const double depth_m =
      0.5 * 299'792'458.0 * (scene.n_samples.value - 1) / scene.range_sampling_frequency_hz.value;
  EXPECT_NE(PoolOf(scene).find("up to " + std::to_string(std::lround(depth_m * 0.025)) + " m"),
            std::string::npos);
  // The bursts overlap. If all lines had the same interval, the second burst would begin too early
  // or too late.
  Fields bursts = MakeProduct("sentinel1 bursts");
  std::string& text = bursts.begin()->second;
  text = ReplacedAll(text, "<linesPerBurst>0<", "<linesPerBurst>1500<");
  text = ReplacedAll(text, "<burstList count=\"0\"/>",
                     "<burstList><burst><azimuthTime>2022-04-14T10:22:11.755370</azimuthTime>"
                     "</burst><burst><azimuthTime>2022-04-14T10:22:14.515</azimuthTime></burst>"
                     "</burstList>");
  const ProductFolder with_bursts(bursts);
  // The last line of the burst comes 1499 x 2 ms later, not 1499 / 537.096 Hz.
  EXPECT_NE(PoolOf(ImportProduct(with_bursts.Path(), {}).scene).find("off by up to 0.21 s"),
            std::string::npos);
}

TEST(Import, SafeFoldersAndArchivesHoldSeveralImages) {
  MadeScene scene = MakeScene("s1a_s3_slc_comoros", Level::kSlantRange);
  Fields files = {{"made.SAFE/manifest.safe", "<xfdu/>"},
                  {"made.SAFE/annotation/calibration/calibration-x.xml", "<calibration/>"}};
  for (const char* swath : {"IW1", "IW2"}) {
    for (const char* polarisation : {"VH", "VV"}) {
      scene.values["swath"] = swath;
      scene.values["polarisation"] = polarisation;
      files[std::string("made.SAFE/annotation/") + polarisation + swath + ".xml"] =
          Filled("sentinel1", scene);
    }
  }
  const ProductFolder folder(files);
  const test::TempDir directory;
  for (const std::string& path : {folder.Path("made.SAFE"), folder.Path("made.SAFE/manifest.safe"),
                                  Zipped(files, directory)}) {
    SCOPED_TRACE(path);
    EXPECT_NE(Failure(path).find("choose one of IW1, IW2"), std::string::npos) << Failure(path);
    const auto product = [&](const char* swath, const char* polarisation) {
      ImportOptions options;
      options.swath = swath;
      options.polarisation = polarisation;
      return ImportProduct(path, options).scene.product;
    };
    EXPECT_EQ(product("iw2", ""), "S3 SLC IW2 VV, Ascending pass");
    EXPECT_EQ(product("IW1", "VH"), "S3 SLC IW1 VH, Ascending pass");
    EXPECT_THROW(product("IW3", ""), ImportError);
    EXPECT_THROW(product("IW1", "HH"), ImportError);
  }
  EXPECT_EQ(ImportProduct(folder.Path("made.SAFE/annotation/VHIW2.xml"), {}).scene.product,
            "S3 SLC IW2 VH, Ascending pass");
  const std::string archive = test::ReadFile(directory / "made.zip");
  for (std::size_t size = 0; size < archive.size(); size += 1 + archive.size() / 50) {
    test::WriteFile(directory / "cut.zip", archive.substr(0, size));
    EXPECT_NE(Failure(directory / "cut.zip"), "") << size;
  }
}

TEST(Import, OrbitFilesReplaceTheOrbitAroundTheScene) {
  MadeScene precise = MakeScene("s1a_iw1_slc_quebec", Level::kSlantRange);
  const std::string file = Filled("orbit_file", precise);
  const ProductFolder orbit(
      {{"precise.EOF", file}, {"other.EOF", ReplacedAll(file, "Sentinel-1A", "Sentinel-1B")}});
  const ProductFolder product(MakeProduct("sentinel1 bursts"));
  ImportOptions options;
  options.orbit_file = orbit.Path("precise.EOF");
  const SceneDescription scene = ImportProduct(product.Path(), options).scene;
  const SceneDescription plain = ImportProduct(product.Path(), {}).scene;
  ASSERT_GE(scene.orbit.value.size(), 10U);
  // 25 s with one minute on either side.
  EXPECT_LE(SecondsBetween(scene.orbit.value.front().time, scene.orbit.value.back().time), 145.2);
  for (const StateVector& vector : scene.orbit.value) {
    const auto same = std::ranges::find(plain.orbit.value, vector.time, &StateVector::time);
    ASSERT_NE(same, plain.orbit.value.end());
    EXPECT_EQ(same->position_m, vector.position_m);
  }
  EXPECT_NE(PoolOf(scene).find("AUX_POEORB file precise.EOF"), std::string::npos);

  const ProductFolder of_another_day(MakeProduct("sentinel1 slc"));
  const auto failure = [&](const std::string& path, const char* name) {
    options.orbit_file = orbit.Path(name);
    return Failure(path, options);
  };
  EXPECT_NE(failure(of_another_day.Path(), "precise.EOF").find("does not cover the scene"),
            std::string::npos);
  EXPECT_NE(
      failure(product.Path(), "other.EOF").find("Mission: the orbit is that of \"Sentinel-1B"),
      std::string::npos);
  EXPECT_NE(failure(product.Path(), "none.EOF").find("none.EOF: cannot be read"),
            std::string::npos);
  const ProductFolder rcm(MakeProduct("rcm slc"));
  EXPECT_NE(failure(rcm.Path(), "precise.EOF").find("Sentinel-1 alone"), std::string::npos);
}

// The noise of a downlinked orbit is added to the precise orbit, whose vectors lie on one curve to
// 1 cm.
TEST(Import, NoisyOrbitsAreToldAndSmoothed) {
  MadeScene scene = MakeScene("s1a_iw1_slc_quebec", Level::kSlantRange);
  std::mt19937 random(20'200'215);
  std::normal_distribution<double> normal;
  for (Fields& vector : scene.vectors) {
    for (const char* axis : {"x", "y", "z"}) {
      for (const auto& [kind, size] : {std::pair("p", 0.1), std::pair("v", 0.2)}) {
        std::string& text = vector[std::string(kind) + axis];
        text = std::to_string(std::stod(text) + size * normal(random));
      }
    }
  }
  const ProductFolder noisy({{"product.xml", Filled("rcm", scene)}});
  const ProductFolder clean(MakeProduct("sentinel1 bursts"));
  const auto import = [](const ProductFolder& folder, bool is_smoothed) {
    ImportOptions options;
    options.smooth_orbit = is_smoothed;
    return ImportProduct(folder.Path(), options).scene;
  };
  EXPECT_EQ(PoolOf(import(clean, false)).find("NOISY"), std::string::npos);
  EXPECT_NE(PoolOf(import(noisy, false)).find("NOISY ORBIT: positions scatter by 0.1"),
            std::string::npos);

  const std::vector<StateVector> truth = import(clean, false).orbit.value;
  struct Row {
    const ProductFolder& folder;
    double position_m;
    double velocity_m_s;
  };
  // With noise, six parameters are fitted to 2 x 48 numbers. The error at an end of the arc is 0.1
  // m x sqrt(4 / 16), that of the slope 0.1 m / (46 s x sqrt(16)); the bounds are three times
  // these. Without noise the bounds come from the gravity that the arc leaves out, because
  // positions that agree to a centimetre are not corrected further.
  for (const Row& row : {Row{noisy, 0.15, 3e-3}, Row{clean, 0.02, 1.5e-3}}) {
    const std::vector<StateVector> smoothed = import(row.folder, true).orbit.value;
    ASSERT_EQ(smoothed.size(), truth.size());
    for (std::size_t j = 0; j < truth.size(); ++j) {
      for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(smoothed[j].position_m[i], truth[j].position_m[i], row.position_m) << j;
        EXPECT_NEAR(smoothed[j].velocity_m_s[i], truth[j].velocity_m_s[i], row.velocity_m_s) << j;
      }
    }
  }
}

// product | text that is replaced everywhere in its main file | by this | text in the message
TEST(Import, SpoiledProductsAreToldWithFileAndField) {
  const std::vector<test::Row> rows =
      test::ReadRows(std::string(QM_PRODUCT_TEST_DATA) + "/bad_products.txt");
  EXPECT_GE(rows.size(), 30U);
  for (const test::Row& row : rows) {
    SCOPED_TRACE(row[0] + ": " + row[1] + " -> " + row[2]);
    Fields files = MakeProduct(row[0]);
    for (auto& [name, content] : files) content = ReplacedAll(content, row[1], row[2]);
    const ProductFolder folder(files);
    const std::string message = Failure(folder.Path());
    EXPECT_NE(message.find(row[3]), std::string::npos) << message;
    EXPECT_NE(message.find(".xml: "), std::string::npos) << message;
  }
}

TEST(Import, WhatIsNoProductIsTold) {
  const test::TempDir directory;
  EXPECT_NE(Failure(directory / "none").find("none: does not exist"), std::string::npos);
  EXPECT_NE(Failure(directory.Path()).find("holds no metadata of Sentinel-1"), std::string::npos);
  EXPECT_NE(Failure("/dev/null").find("is neither a file nor a folder"), std::string::npos);
  std::string nested;
  for (int i = 0; i < 300'000; ++i) nested += "<a>";
  const struct {
    std::string content;
    const char* message;
  } rows[] = {
      {"", "is no XML document"},
      {"no markup", "is no XML document"},
      {"<html><body/></html>", "html: is not the metadata of Sentinel-1"},
      {"<product><adsHeader/></product>", "product: is not the metadata"},
      {"<product>", "is no XML document: Start-end tags mismatch"},
      {nested, "is no XML document"},
      {"<!DOCTYPE a [<!ENTITY b \"b\"><!ENTITY c \"&b;&b;\">]><level1Product>&c;</level1Product>",
       "productInfo/productVariantInfo/projection: is missing"},
      {"PK\x03\x04 no archive", "cannot be opened as a zip archive"},
      {"\x89HDF\r\n\x1a\n no data", "HDF5"},
      {std::string(std::size_t{257} << 20U, '\n'), "is too large for metadata"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.content.substr(0, 70));
    test::WriteFile(directory / "file.xml", row.content);
    const std::string message = Failure(directory / "file.xml");
    EXPECT_NE(message.find(row.message), std::string::npos) << message;
    EXPECT_NE(message.find("file.xml: "), std::string::npos) << message;
  }
}

// Cut and changed files must lead to an ImportError or a scene, nothing else.
TEST(Import, CutAndMutatedProductsEndOrderly) {
  std::mt19937 random(17);
  for (const char* kind : {"sentinel1 slc", "terrasar", "rcm grd", "iceye grd"}) {
    SCOPED_TRACE(kind);
    const Fields files = MakeProduct(kind);
    const auto main =
        std::ranges::max_element(files, {}, [](const auto& file) { return file.second.size(); });
    const ProductFolder folder(files);
    const std::string& text = main->second;
    constexpr std::size_t kCuts = 60;
    for (std::size_t i = 0; i < kCuts; ++i) {
      test::WriteFile(folder.Path(main->first), text.substr(0, text.size() * i / kCuts));
      EXPECT_NE(Failure(folder.Path()), "") << i;
    }
    int count_of_failures = 0;
    for (int i = 0; i < 150; ++i) {
      std::string mutant = text;
      for (int k = 0; k < 3; ++k) {
        const std::size_t at = random() % mutant.size();
        const std::size_t size = random() % 40;
        switch (random() % 3) {
          case 0:
            mutant[at] = static_cast<char>(random());
            break;
          case 1:
            mutant.erase(at, size);
            break;
          default:
            mutant.insert(at, mutant.substr(random() % mutant.size(), size));
        }
      }
      test::WriteFile(folder.Path(main->first), mutant);
      if (!Failure(folder.Path()).empty()) ++count_of_failures;
    }
    EXPECT_GE(count_of_failures, 50);
  }
}

TEST(WritePool, TextsOfTheProductStayOnTheirLine) {
  const ProductFolder folder(MakeProduct("rcm slc"));
  SceneDescription scene = ImportProduct(folder.Path(), {}).scene;
  const PoolValues values = ValuesOf(PoolOf(scene));
  scene.copyright = "line\nprf FLT_15 1.0\n\x01\xe9" + std::string(3000, 'w');
  const std::string pool = PoolOf(scene);
  ExpectSameValues(ValuesOf(pool), values, 0.0);
  std::istringstream lines(pool);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 110U);
  scene.prf_hz.value = std::nan("");
  EXPECT_THROW(static_cast<void>(PoolOf(scene)), ImportError);
}

// The step reads epochs to the microsecond. If an epoch is rounded, its position moves with it.
TEST(WritePool, EpochsBetweenMicrosecondsMoveTheirPositions) {
  const ProductFolder folder(MakeProduct("rcm slc"));
  SceneDescription scene = ImportProduct(folder.Path(), {}).scene;
  const PoolValues values = ValuesOf(PoolOf(scene));
  for (StateVector& vector : scene.orbit.value) {
    vector.time = Shifted(vector.time, 0.3e-6);
    for (std::size_t i = 0; i < 3; ++i) vector.position_m[i] += 0.3e-6 * vector.velocity_m_s[i];
  }
  ExpectSameValues(ValuesOf(PoolOf(scene)), values, kRelative);
}

}  // namespace
}  // namespace quellmark::product
