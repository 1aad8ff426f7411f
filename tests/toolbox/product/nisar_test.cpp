// Tests NISAR's layout, made from an example scene, and data sets of the wrong shape or kind.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numeric>
#include <random>

#include "tests/toolbox/product/made_products.h"
#include "tests/toolbox/product/pool_check.h"
#include "toolbox/product/ground_range.h"

#include <hdf5.h>

namespace quellmark::product {
namespace {

// A data set of numbers or, if there are none, of a text.
struct DataSet {
  std::vector<hsize_t> shape;  // empty for a scalar
  std::vector<double> numbers;
  std::string text;
  std::string units;
};
using DataSets = std::map<std::string, DataSet>;

void AddText(hid_t parent, const char* attribute, const char* path, const std::string& text) {
  const hid_t type = H5Tcopy(H5T_C_S1);
  H5Tset_size(type, text.empty() ? 1 : text.size());
  const hid_t space = H5Screate(H5S_SCALAR);
  const hid_t links = H5Pcreate(H5P_LINK_CREATE);
  H5Pset_create_intermediate_group(links, 1);
  if (attribute != nullptr) {
    const hid_t id = H5Acreate2(parent, attribute, type, space, H5P_DEFAULT, H5P_DEFAULT);
    H5Awrite(id, type, text.data());
    H5Aclose(id);
  } else {
    const hid_t id = H5Dcreate2(parent, path, type, space, links, H5P_DEFAULT, H5P_DEFAULT);
    H5Dwrite(id, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, text.data());
    H5Dclose(id);
  }
  H5Pclose(links);
  H5Sclose(space);
  H5Tclose(type);
}

void WriteHdf5(const std::string& path, const DataSets& sets) {
  const hid_t file = H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
  const hid_t links = H5Pcreate(H5P_LINK_CREATE);
  H5Pset_create_intermediate_group(links, 1);
  for (const auto& [name, set] : sets) {
    if (!set.text.empty()) {
      AddText(file, nullptr, name.c_str(), set.text);
      continue;
    }
    const hid_t space = set.shape.empty() ? H5Screate(H5S_SCALAR)
                                          : H5Screate_simple(static_cast<int>(set.shape.size()),
                                                             set.shape.data(), nullptr);
    const hid_t id =
        H5Dcreate2(file, name.c_str(), H5T_NATIVE_DOUBLE, space, links, H5P_DEFAULT, H5P_DEFAULT);
    if (!set.numbers.empty()) {
      H5Dwrite(id, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, set.numbers.data());
    }
    if (!set.units.empty()) AddText(id, "units", nullptr, set.units);
    H5Dclose(id);
    H5Sclose(space);
  }
  H5Pclose(links);
  H5Fclose(file);
}

constexpr const char* kExample = "s1a_s3_slc_comoros";
const std::string kRadar = "/science/LSAR";
const std::string kProduct = kRadar + "/RSLC";
const std::string kSwath = kProduct + "/swaths/frequencyA";

// `count` numbers from `first` on in equal steps.
DataSet Steps(double first, double step, int count) {
  DataSet set{
      {static_cast<hsize_t>(count)}, std::vector<double>(static_cast<std::size_t>(count)), "", ""};
  for (int i = 0; i < count; ++i) set.numbers[static_cast<std::size_t>(i)] = first + step * i;
  return set;
}

DataSet Scalar(double number) { return {{}, {number}, "", ""}; }
DataSet Text(const std::string& text) { return {{}, {}, text, ""}; }

DataSets MakeNisar() {
  const MadeScene scene = MakeScene(kExample, Level::kSlantRange);
  const auto number = [&](const char* key) { return std::stod(scene.values.at(key)); };
  // Times count from a midnight two days before.
  const UtcTime origin = *ParseUtc("2021-03-30T00:00:00");
  const UtcTime reference = *ParseUtc(scene.values.at("orbit_reference_time"));
  const double slant_step_m = 0.5 * kSpeedOfLight_m_s / number("range_sampling_frequency");

  DataSets sets;
  DataSet& lines = sets[kProduct + "/swaths/zeroDopplerTime"];
  lines = Steps(SecondsBetween(origin, reference) + number("first_az_time"), 1.0 / number("prf"),
                std::stoi(scene.values.at("n_lines")));
  sets[kProduct + "/swaths/zeroDopplerTimeSpacing"] = Scalar(1.0 / number("prf"));
  sets[kSwath + "/slantRange"] = Steps(0.5 * kSpeedOfLight_m_s * number("first_rg_time"),
                                       slant_step_m, std::stoi(scene.values.at("n_samples")));
  sets[kSwath + "/slantRangeSpacing"] = Scalar(slant_step_m);
  sets[kSwath + "/processedCenterFrequency"] = Scalar(number("radar_frequency"));
  sets[kProduct + "/metadata/processingInformation/parameters/referenceTerrainHeight"] = {
      {2}, {number("local_height") - 1.0, number("local_height") + 1.0}, "", ""};
  sets[kProduct + "/metadata/orbit/orbitType"] = Text("POE");
  sets[kRadar + "/identification/missionId"] = Text("NISAR");
  sets[kRadar + "/identification/orbitPassDirection"] = Text("Ascending");
  sets[kRadar + "/identification/lookDirection"] = Text("Right");
  DataSet& times = sets[kProduct + "/metadata/orbit/time"];
  DataSet& positions = sets[kProduct + "/metadata/orbit/position"];
  DataSet& velocities = sets[kProduct + "/metadata/orbit/velocity"];
  for (const Fields& vector : scene.vectors) {
    times.numbers.push_back(SecondsBetween(origin, *ParseUtc(vector.at("time"))));
    for (const char* axis : {"x", "y", "z"}) {
      positions.numbers.push_back(std::stod(vector.at(std::string("p") + axis)));
      velocities.numbers.push_back(std::stod(vector.at(std::string("v") + axis)));
    }
  }
  times.shape = {times.numbers.size()};
  positions.shape = velocities.shape = {times.numbers.size(), 3};
  times.units = "seconds since 2021-03-30 00:00:00";
  lines.units = "seconds since 2021-03-30T00:00:00.000000000";
  return sets;
}

TEST(Nisar, MadeProductGivesTheExampleBack) {
  const test::TempDir directory;
  WriteHdf5(directory / "made.h5", MakeNisar());
  // Seconds that count from two days before are doubles with steps of 3e-11 s, which is 1e-12 of
  // the first line's time.
  ExpectSameValues(ValuesOf(PoolOf(ImportProduct(directory / "made.h5", {}).scene)),
                   ValuesOf(ExamplePool(kExample)), 1e-12);
}

TEST(Nisar, SpoiledDataSetsAreTold) {
  const struct {
    std::string path;
    std::function<void(DataSet&)> spoil;
    const char* message;
  } rows[] = {
      {kProduct + "/metadata/orbit/position", [](DataSet& s) { std::swap(s.shape[0], s.shape[1]); },
       "/metadata/orbit/position: does not have three numbers"},
      {kProduct + "/metadata/orbit/velocity", [](DataSet& s) { s.shape = {s.shape[0] * 3}; },
       "velocity: does not have three numbers"},
      {kProduct + "/metadata/orbit/time",
       [](DataSet& s) {
         s.shape[0] -= 1;
         s.numbers.pop_back();
       },
       "position: does not have three numbers"},
      {kProduct + "/metadata/orbit/time", [](DataSet& s) { s.units = ""; },
       "time@units: is missing"},
      {kProduct + "/metadata/orbit/time", [](DataSet& s) { s.units = "days since 2021-03-30"; },
       "time@units: \"days since 2021-03-30\" names no time"},
      {kProduct + "/metadata/orbit/time", [](DataSet& s) { s.numbers[0] = 1e300; },
       "time: has times centuries away"},
      {kProduct + "/metadata/orbit/time", [](DataSet& s) { s.numbers[3] = std::nan(""); },
       "time: has a number that is not finite"},
      {kProduct + "/metadata/orbit/time", [](DataSet& s) { s.numbers[3] = s.numbers[2]; },
       "metadata/orbit[4]: is not later"},
      {kSwath + "/slantRange",
       [](DataSet& s) {
         s.shape = {0};
         s.numbers.clear();
       },
       "slantRange: is empty"},
      {kSwath + "/slantRange",
       [](DataSet& s) {
         s.shape = {1U << 23U};
         s.numbers.clear();
       },
       "slantRange: has too many numbers"},
      {kSwath + "/slantRange", [](DataSet& s) { s.text = "text"; }, "slantRange: holds no numbers"},
      {kSwath + "/slantRange",
       [](DataSet& s) {
         s.shape = {s.shape[0] / 2, 2};
       },
       "slantRange: is no list"},
      {kSwath + "/slantRangeSpacing", [](DataSet& s) { s.numbers[0] = 0.0; }, "is not positive"},
      {kSwath + "/slantRangeSpacing",
       [](DataSet& s) {
         s.shape = {2};
         s.numbers = {1.0, 1.0};
       },
       "slantRangeSpacing: has 2 numbers, not 1"},
      {kRadar + "/identification/lookDirection", [](DataSet& s) { s.text = "up"; },
       "lookDirection: \"up\" is no look direction"},
      {kRadar + "/identification/lookDirection",
       [](DataSet& s) {
         s.text = "";
         s.numbers = {1.0};
       },
       "lookDirection: is no text"},
  };
  const DataSets sound = MakeNisar();
  const test::TempDir directory;
  const auto expect = [&](const DataSets& sets, const std::string& wanted) {
    WriteHdf5(directory / "made.h5", sets);
    const std::string message = Failure(directory / "made.h5");
    EXPECT_NE(message.find(wanted), std::string::npos) << message;
    EXPECT_NE(message.find("made.h5: "), std::string::npos) << message;
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    DataSets sets = sound;
    row.spoil(sets[row.path]);
    expect(sets, row.message);
  }
  for (const auto& [path, set] : sound) {
    SCOPED_TRACE("without " + path);
    DataSets sets = sound;
    sets.erase(path);
    if (path.ends_with("referenceTerrainHeight")) {
      WriteHdf5(directory / "made.h5", sets);
      EXPECT_EQ(PoolOf(ImportProduct(directory / "made.h5", {}).scene).find("\nlocal_height"),
                std::string::npos);
    } else {
      expect(sets, path + ": is missing");
    }
  }
  WriteHdf5(directory / "made.h5", sound);
  const std::string bytes = test::ReadFile(directory / "made.h5");
  for (std::size_t size = 8; size < bytes.size(); size += bytes.size() / 40) {
    test::WriteFile(directory / "made.h5", bytes.substr(0, size));
    EXPECT_NE(Failure(directory / "made.h5"), "") << size;
  }
}

// Flips bits, overwrites words, cuts and repeats pieces.
std::string Mutated(std::string bytes, std::mt19937& random) {
  const auto below = [&random](std::size_t n) { return random() % n; };
  for (std::size_t changes = 1 + below(4); changes > 0; --changes) {
    const std::size_t at = below(bytes.size());
    switch (below(5)) {
      case 0:
        bytes.replace(at, 4, below(2) == 0 ? "\xFF\xFF\xFF\xFF" : std::string(4, '\0'));
        break;
      case 1:
        bytes.replace(below(bytes.size()), 16, bytes.substr(at, 16));
        break;
      case 2:
        if (below(8) == 0) bytes.resize(at + 1);
        break;
      default:
        bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8)));
        break;
    }
  }
  return bytes;
}

TEST(Nisar, MutatedFilesAreReadOrTold) {
  DataSets sets = MakeNisar();
  // Few lines and samples, so that most bytes are those of the format.
  for (const std::string& path : {kProduct + "/swaths/zeroDopplerTime", kSwath + "/slantRange"}) {
    sets[path].shape = {4};
    sets[path].numbers.resize(4);
  }
  const test::TempDir directory;
  const std::string path = directory / "made.h5";
  WriteHdf5(path, sets);
  const std::string sound = test::ReadFile(path);
  std::mt19937 random(19);
  int told = 0;
  int read = 0;
  for (int i = 0; i < 200; ++i) {
    test::WriteFile(path, Mutated(sound, random));
    try {
      static_cast<void>(PoolOf(ImportProduct(path, {}).scene));
      ++read;
    } catch (const ImportError& error) {
      ++told;
      EXPECT_NE(std::string(error.what()).find("made.h5"), std::string::npos) << error.what();
    }
  }
  EXPECT_GT(told, 20);
  EXPECT_GT(read, 20);
}

}  // namespace
}  // namespace quellmark::product

#ifdef __SANITIZE_ADDRESS__
// The HDF5 library loses a few blocks of its own when it reads damaged files.
extern "C" const char* __lsan_default_suppressions() { return "leak:H5FL_\n"; }
#endif
