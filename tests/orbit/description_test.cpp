#include <cxxabi.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <typeinfo>
#include <vector>

#include "basic/errors.h"
#include "orbit/selection.h"
#include "tests/orbit/orbit_pool.h"
#include "tests/support/expect_fails.h"

namespace {

using namespace quellmark::test;
using namespace quellmark::orbit;
using quellmark::pool::ValueType;

// The name of the object's class without blanks, such as "POOL_ORBIT<float,double,...>".
std::string ClassName(const ORBIT_BASE& orbit) {
  int status = 0;
  char* const name = abi::__cxa_demangle(typeid(orbit).name(), nullptr, nullptr, &status);
  std::string text(name);
  std::free(name);
  std::erase(text, ' ');
  return text;
}

std::string Replaced(std::string text, const std::string& what, const std::string& by) {
  for (std::size_t at = 0; (at = text.find(what)) != std::string::npos;) {
    text.replace(at, what.size(), by);
  }
  return text;
}

TEST(Selection, NinetyRowsInOrder) {
  const std::array kinds = {"POLYNOM<#>,POINT<#>",
                            "POLYNOM_FIT<#>,POINT<#>",
                            "SPLINE<#>,POINT<#>",
                            "LOCAL_INTERPOLATION<#,POLYNOM<#>,POINT<#>>,POINT<#>",
                            "LOCAL_INTERPOLATION<#,POLYNOM_FIT<#>,POINT<#>>,POINT<#>",
                            "CHEBY_POLY<#>,POINT<#>",
                            "LOCAL_INTERPOLATION<#,CHEBY_POLY<#>,POINT<#>>,POINT<#>",
                            "HERMITE_POLY<#>,DPOINT<#>",
                            "LOCAL_INTERPOLATION<#,HERMITE_POLY<#>,DPOINT<#>>,DPOINT<#>",
                            "EVERETT<#>,POINT<#>"};
  const std::array times = {"double", "UNIVERSAL_TIME", "MISSION_ELAPSED_TIME"};
  const auto& table = SelectionTable();
  ASSERT_EQ(table.size(), 90u);
  for (std::size_t row = 0; row < table.size(); ++row) {
    EXPECT_EQ(OrbitTypeId(table[row].orbit_type_name), static_cast<int>(row / 10) + 1);
    EXPECT_EQ(ParseInterpolation(table[row].interpolation_name).interpolation_id,
              static_cast<int>(row % 10));
    const std::size_t kind = row % 10;
    const bool is_mdb = row >= 60 && (kind < 5 || kind == 9);
    EXPECT_EQ(ClassName(*table[row].create()),
              Replaced(std::string(is_mdb ? "MDB" : "POOL") + "_ORBIT<#," + times.at(row / 10 % 3) +
                           "," + kinds.at(kind) + ">",
                       "#", row < 30 ? "float" : "double"));
  }
  EXPECT_EQ(OrbitTypeId("orbit_mdb_double_double"), 7);
  EXPECT_EQ(OrbitTypeId("orbit_mdb_double_met"), 9);
  EXPECT_FAILS(CreateCoreObject(10, 0), ERROR_ARGUMENT,
               "ORBIT: can not determine type of core object\n");
  EXPECT_FAILS(OrbitTypeId("orbit_pool_double"), ERROR_ARGUMENT,
               "GENERAL_ORBIT: can not convert orbit_pool_double to orbit_type_id\n");
}

TEST(Selection, InterpolationTexts) {
  for (const Row& row : ReadRows(QM_ORBIT_TEST_DATA "/interpolation_texts.txt")) {
    SCOPED_TRACE(row[0]);
    const ScopedLog log;
    std::ostringstream found;
    try {
      const InterpolationChoice choice = ParseInterpolation(row[0]);
      found << choice.interpolation_id << ' ' << choice.polynomial_fit_order << ' '
            << choice.support_point_count;
    } catch (const ERROR_ARGUMENT& error) {
      found << error.Message();
    }
    EXPECT_EQ(found.str(), row[1]);
    EXPECT_EQ(log.Text(), row.size() > 2 ? row[2] : "");
  }
  EXPECT_EQ(ParseInterpolation("spline", {4, 8, 12}).support_point_count, 12) << "stays as it was";
}

TEST(Description, ReferenceTimesAndTimeArguments) {
  const ScopedLog quiet(LOG::Level::kSilent);
  using Texts = std::vector<std::string>;
  const std::tuple<std::string, Texts, Texts> rows[] = {
      {"double", {"-250.5", " +12 "}, {"+0012/10:00:00", "2022-04-14T10:00:00Z"}},
      {"utc", {"14-APR-2022/10:00:00.000000"}, {"12.5", "-0001/00:00:00"}},
      {"met", {"0012/10:00:00.000000", "-0001/00:00:00"}, {"-250.5", "14-APR-2022/10:00:00"}},
  };
  for (const auto& [type, fitting, others] : rows) {
    OrbitPool pool = CircularOrbitPool("orbit_pool_double_" + type, 8);
    for (const std::string& reference : fitting) {
      pool.reference = reference;
      EXPECT_EQ(pool.Read().CoreObject()->TimeStamp(), reference.c_str());
    }
    for (const std::string& reference : others) {
      pool.reference = reference;
      EXPECT_THROWS_TEXT(pool.Read(), "not allowed time conversion");
    }
  }
  const UNIVERSAL_TIME utc{2022, 4, 14, 10, 0, 35, 500, 0};
  const MISSION_ELAPSED_TIME met(1, 12, 10, 0, 35, 500, 0);
  for (const std::string type : {"double", "utc", "met"}) {
    const Orbit orbit = CircularOrbitPool("orbit_pool_double_" + type, 8).Read();
    Vector expected, position;
    orbit.Position(orbit.TimeOrigin() + 35.5, expected);
    const auto check = [&](const auto& time, bool taken) {
      if (!taken) {
        EXPECT_THROWS_TEXT(orbit.Position(time, position), "not allowed time conversion");
        return;
      }
      orbit.Position(time, position);
      EXPECT_EQ(position, expected);
    };
    check(utc, type == "utc");
    check(met, type == "met");
  }
}

TEST(Description, WhatIsWrongIsSaid) {
  OrbitPool plain = CircularOrbitPool("orbit_pool_double_double", 8);
  plain.values[1].pop_back();
  EXPECT_FAILS(plain.Read(), INVALID_PARAMETER_VALUE,
               "POOL_ORBIT: pos_y has 7 values, but times has 8\n");
  plain.values = plain.velocities;
  plain.velocities[2].push_back(0.0);
  EXPECT_FAILS(plain.Read(), INVALID_PARAMETER_VALUE,
               "POOL_ORBIT: vel_z has 9 values, but times has 8\n");
  plain.times[2] = "2022-04-14T10:00:20";
  EXPECT_THROWS_TEXT(plain.Read(), "not allowed time conversion");
  OrbitPool pool = CircularOrbitPool("orbit_pool_double_utc", 8);
  pool.velocities.pop_back();
  EXPECT_THROWS_TEXT(pool.Read(),
                     "POOL_ORBIT::ReadFromParameterPool::Number of coordinates in position and "
                     "velocity disagree.");
  pool.interpolation = "localpolynom_7_8";
  static_cast<void>(pool.Read());  // a kind without derivatives does not read the velocities
  pool.times[1] = "2022-04-14T10:61:00";
  EXPECT_THAT(LogOfFailure<ERROR_DATA>([&] { static_cast<void>(pool.Read()); }),
              testing::HasSubstr("EXCEP : UTC_SCANNER: invalid minute: 61\n"));
}

TEST(Description, TooFewVectorsAndCoordinates) {
  for (const Row& kind : ReadKinds()) {
    SCOPED_TRACE(kind[0]);
    OrbitPool pool = CircularOrbitPool("orbit_pool_double_utc", 1);
    pool.interpolation = kind[0];
    EXPECT_FAILS(pool.Read(), INVALID_PARAMETER_VALUE,
                 (kind[0] == "everett_6" ? "EVERETT::Create"
                  : kind[0] == "spline"  ? "SPLINE::Create"
                                         : "ORBIT") +
                     std::string(kind[0] == "everett_6" || kind[0] == "spline"
                                     ? ": more than 1 value needed.\n"
                                     : ": more than 1 state vector needed.\n"));
    pool.values.clear();
    pool.velocities.clear();
    const Orbit orbit = pool.Read();
    Vector position;
    EXPECT_FAILS(orbit.Position(0.0, position), ERROR_ARGUMENT,
                 "ORBIT: not a position of 3 coordinates but of 0\n");
    EXPECT_FAILS(orbit.Coverage(), ERROR_ALGORITHM, "ORBIT: no state vectors were read\n");
  }
  const Orbit orbit = CircularOrbitPool("orbit_pool_double_double", 8).Read();
  EXPECT_EQ(orbit.Coverage().first_s, 1000.5);
  EXPECT_EQ(orbit.Coverage().last_s, 1070.5);
  std::array<double, 4> four{};
  EXPECT_FAILS(orbit.CoreObject()->Position(1000.5, four), ERROR_ARGUMENT,
               "ORBIT: not a position of 4 coordinates but of 3\n");
}

TEST(Description, FromMemory) {
  const ScopedLog log;
  const OrbitPool pool = CircularOrbitPool("orbit_pool_double_utc", 16);
  quellmark::orbit::StateVectors vectors{{}, pool.values, pool.velocities};
  for (int j = 0; j < 16; ++j) vectors.x.push_back(10.0 * j);
  for (const Row& kind : ReadKinds()) {
    SCOPED_TRACE(kind[0]);
    OrbitPool read = pool;
    read.interpolation = kind[0];
    const Orbit expected = read.Read();
    const std::size_t logged = log.Text().size();
    Orbit orbit;
    orbit.ReadFromMemory(kind[0], "2022-04-14T10:00:00", vectors);
    EXPECT_EQ(log.Text().substr(logged), "");
    EXPECT_EQ(orbit.InterpolationId(), expected.InterpolationId());
    for (double t = 40.0; t < 110.0; t += 7.0) {
      std::array<Vector, 3> a, b;
      orbit.GetState(0.0, t, a[0], a[1], a[2]);
      expected.GetState(0.0, t, b[0], b[1], b[2]);
      EXPECT_EQ(a, b);
    }
    Vector at_time;
    orbit.Position(UNIVERSAL_TIME{2022, 4, 14, 10, 1, 0, 0, 0}, at_time);
    EXPECT_LT(Length(at_time - CircularOrbit::At(60.0, 0)), 6.0);
  }
  Orbit orbit;
  vectors.dy.clear();
  EXPECT_FAILS(orbit.ReadFromMemory("hermite", "2022-04-14T10:00:00", vectors),
               INVALID_PARAMETER_VALUE, "INTERPOLATION::Create: derivatives are missing.\n");
  vectors.y[1].pop_back();
  EXPECT_FAILS(orbit.ReadFromMemory("polynom", "2022-04-14T10:00:00", vectors),
               INVALID_PARAMETER_VALUE,
               "INTERPOLATION::Create: 15 values for 16 support points.\n");
  EXPECT_EQ(orbit.CoreObject(), nullptr);
}

TEST(Description, AFailureLeavesTheOrbitAsItWas) {
  const ScopedLog quiet(LOG::Level::kSilent);
  const TempDir directory;
  OrbitPool pool = CircularOrbitPool("orbit_pool_double_utc", 8);
  pool.Write(directory / "good");
  Orbit orbit = OrbitPool::ReadOrbit(directory / "good");
  pool.interpolation = "everett_5";
  pool.Write(directory / "bad");
  PARAMETER_POOL bad;
  static_cast<void>(bad.Open(directory / "bad"));
  EXPECT_THROW(orbit.ReadFromParameterPool(bad), INVALID_PARAMETER_VALUE);
  EXPECT_EQ(orbit.InterpolationId(), 8);
  Vector position;
  orbit.Position(35.0, position);
  EXPECT_LT(Length(position - CircularOrbit::At(35.0, 0)), 1e-8);
  const Orbit empty;
  EXPECT_FAILS(empty.Position(1.0, position), ERROR_ALGORITHM,
               "GENERAL_ORBIT: no orbit was read\n");
}

TEST(Description, EpochsAndSamplesFromElsewhere) {
  const ScopedLog quiet(LOG::Level::kSilent);
  const TempDir directory;
  OrbitPool pool = CircularOrbitPool("orbit_pool_double_double", 8);
  pool.data_file = directory / "samples.pool";
  pool.Write(directory / "scene.pool");
  {  // epochs that are plain numbers need not be texts
    PARAMETER_POOL_READ_WRITE_CHANGE data(pool.data_file);
    ARRAY<double> times(RANGE<int>(-2, 8));
    for (int j = 0; j < 8; ++j) times[j - 2] = 1000.5 + 10.0 * j;
    data.Set<ValueType::kFlt15V>("times", times);
  }
  const Orbit orbit = OrbitPool::ReadOrbit(directory / "scene.pool");
  {  // an empty path counts as a file
    PARAMETER_POOL_READ_WRITE_CHANGE scene(directory / "scene.pool");
    scene.Set<ValueType::kStr>("orbit_data_file", "");
    scene.Close();
    EXPECT_THROW(OrbitPool::ReadOrbit(directory / "scene.pool"), ERROR_EXCEPTION);
  }
  Vector position;
  orbit.Position(1000.5 + 35.0, position);
  EXPECT_LT(Length(position - CircularOrbit::At(35.0, 0)), 1e-8);

  const auto core = CreateCoreObject(4, 0);
  core->SetKeys({"times", ARRAY<STRING>(-7, {"pos_x", "pos_y"}), {}});
  const ScopedLog log;
  core->ReadFromParameterPool(STRING(pool.data_file));
  EXPECT_THAT(log.Text(),
              testing::HasSubstr("DEBUG : Deprecated function! Please use read() instead!\n"));
  ARRAY<double> two;
  core->Position(1035.0, two);
  EXPECT_EQ(two.Length(), 2);
  EXPECT_NEAR(two[1], CircularOrbit::At(34.5, 0).y, 1e-8);
  EXPECT_FAILS(core->Position(1035.0, position), ERROR_ARGUMENT,
               "ORBIT: not a position of 3 coordinates but of 2\n");
  EXPECT_FAILS(core->GetState(35.0, position, position, position), ERROR_ARGUMENT,
               "ORBIT: not a position of 3 coordinates but of 2\n");
}

TEST(Description, RecordDatabase) {
  const TempDir directory;
  OrbitPool pool = CircularOrbitPool("orbit_mdb_double_utc", 8);
  for (const char* kind : {"hermite", "localhermite_7_4"}) {
    pool.interpolation = kind;
    static_cast<void>(pool.Read());  // makes a pool orbit, so no key of the database is read
  }
  pool.interpolation = "everett_6";
  pool.Write(directory / "scene.pool");
  EXPECT_FAILS(OrbitPool::ReadOrbit(directory / "scene.pool"), PARAMETER_KEY_NOT_FOUND,
               "parameter pool: parameter key >> root_path << not found\n");
  PARAMETER_POOL_READ_WRITE_CHANGE scene(directory / "scene.pool");
  for (const char* key :
       {"root_path", "mission_id", "tape_source_id", "channel_id", "mdb_orbit_data_file"}) {
    scene.Set<ValueType::kStr>(key, "x");
  }
  for (const char* key : {"tape_id_number", "major_data_take_id", "minor_data_take_id"}) {
    scene.Set<ValueType::kInt32>(key, 1);
  }
  scene.Close();
  EXPECT_FAILS(OrbitPool::ReadOrbit(directory / "scene.pool"), ERROR_ARGUMENT,
               "ORBIT: orbit_source_id is not set\n");
}

TEST(Assignment, CopiesTheCoreOrNothing) {
  const std::string general =
      "DEBUG : virtual GENERAL_ORBIT<T>& operator=( const GENERAL_ORBIT<T>& agen_orbit )\n";
  Orbit copy;
  for (const char* interpolation :
       {"localhermite_7_4", "everett_6", "localpolyfit_5_8", "spline"}) {
    OrbitPool pool = CircularOrbitPool("orbit_pool_double_utc", 8);
    pool.interpolation = interpolation;
    auto orbit = std::make_unique<Orbit>(pool.Read());
    const ScopedLog log(LOG::Level::kDebug);
    copy = *orbit;
    EXPECT_THAT(
        log.Text(),
        testing::StartsWith(
            general +
            "DEBUG : virtual POOL_ORBIT<T,S,I,P>& operator=( const ORBIT_BASE& apool_orbit )\n"
            "DEBUG : virtual ORBIT_BASE& ORBIT<T,S,I,P>::operator=( const ORBIT_BASE& aorbit )\n"
            "DEBUG : virtual ORBIT_BASE& operator=( const ORBIT_BASE&  aorbit )\n"));
    EXPECT_EQ(copy.InterpolationId(), orbit->InterpolationId());
    EXPECT_EQ(copy.SupportPointCount(), orbit->SupportPointCount());
    EXPECT_EQ(copy.CoreObject()->TimeStamp(), "2022-04-14T10:00:00");
    // Everything that shows the state of an orbit: its listing, its coefficient file, and its
    // positions after new state vectors, which depend on its order and count.
    const auto told = [](const Orbit& of) {
      const ScopedLog listing;
      of.List();
      const TempDir directory;
      of.SavePolynomial(STRING(directory / "orbit"));
      return listing.Text() + ReadFile(directory / "orbit.pkt");
    };
    const std::string expected = told(*orbit);
    orbit.reset();  // the copy must not depend on the original
    EXPECT_EQ(told(copy), expected) << interpolation;
    EXPECT_THAT(expected, testing::ContainsRegex(" [0-9]\\.[0-9]{16}e\\+0[0-9] "));
  }
  const ScopedLog log;
  copy = Orbit(Orbit());
  const auto spline = CreateCoreObject(4, 2);
  const auto polynom = CreateCoreObject(4, 0);
  EXPECT_FAILS(*spline = *polynom, ERROR_ARGUMENT,
               "ORBIT: can not assign an orbit of another class\n");
  Orbit target = CircularOrbitPool("orbit_pool_double_utc", 8).Read();
  const Orbit empty;
  target = empty;
  EXPECT_EQ(target.CoreObject(), nullptr);
  EXPECT_EQ(target.OrbitTypeId(), 0);
}

TEST(Listing, OneRowPerSample) {
  OrbitPool pool = CircularOrbitPool("orbit_pool_double_utc", 2);
  pool.interpolation = "hermite";
  const Orbit orbit = pool.Read();
  const ScopedLog log;
  orbit.List();
  EXPECT_EQ(log.Text(),
            "DEBUG : |t [s]|x [m]|y [m]|z [m]|ix [m]|iy [m]|iz [m]|dx [m]|dy [m]|dz [m]|\n"
            "DEBUG : | 0.000000 | 5.407434e+06 | -6.376467e+05 | 4.509073e+06 | 5.407434e+06 | "
            "-6.376467e+05 | 4.509073e+06 | 0.000000e+00 | 0.000000e+00 | 0.000000e+00 |\n"
            "DEBUG : | 10.000000 | 5.358576e+06 | -6.456803e+05 | 4.565882e+06 | 5.358576e+06 | "
            "-6.456803e+05 | 4.565882e+06 | 0.000000e+00 | 0.000000e+00 | 0.000000e+00 |\n");
}

// Evaluates the polynomial of one line of the coefficient file, in the form that its header names.
double Evaluate(const std::string& form, double t, const std::vector<double>& c,
                const std::vector<double>& z) {
  double sum = 0.0;
  double factor = 1.0;
  for (std::size_t k = 0; k < c.size(); ++k) {
    if (form.starts_with("E0")) {
      const double p = (t - z[0]) / z[1];
      const double u = k % 2 == 0 ? 1.0 - p : p;
      double e = u;
      for (std::size_t m = 1; m <= k / 2; ++m) {
        const double n = static_cast<double>(m);
        e *= (u * u - n * n) / (2.0 * n * (2.0 * n + 1.0));
      }
      sum += e * c[k];
    } else if (form.find("T1(u)") != std::string::npos) {
      sum += c[k] * std::cos(static_cast<double>(k) * std::acos((t - z[0]) / z[1] - 1.0));
    } else {
      sum += factor * c[k];
      factor *= t - (form.find("z1") != std::string::npos ? (k < z.size() ? z[k] : 0.0) : z[0]);
    }
  }
  return sum;
}

TEST(SavePolynomial, TheFileHoldsTheOrbit) {
  const ScopedLog quiet(LOG::Level::kSilent);
  const TempDir directory;
  for (const Row& kind : ReadKinds()) {
    SCOPED_TRACE(kind[0]);
    OrbitPool pool = CircularOrbitPool("orbit_pool_double_utc", 12);
    pool.interpolation = kind[0];
    const Orbit orbit = pool.Read();
    orbit.SavePolynomial(STRING(directory / "orbit"));
    std::map<std::string, std::string> header;
    std::array<double, 3> covered_to = {0.0, 0.0, 0.0};
    for (const Row& row : ReadRows(directory / "orbit.pkt", "|")) {
      if (row.size() == 1) {
        const std::size_t colon = row[0].find(": ");
        header[row[0].substr(0, colon)] = row[0].substr(colon + 2);
        continue;
      }
      const std::vector<double> left = NumbersOf(row[0]);
      const auto coordinate = static_cast<std::size_t>(left.at(0));
      EXPECT_EQ(left.at(1), covered_to.at(coordinate));
      covered_to[coordinate] = left.at(2);
      const double t = left[1] + 0.4 * (left[2] - left[1]);
      ARRAY<double> position;
      orbit.CoreObject()->Position(t, position);
      EXPECT_NEAR(Evaluate(header["form"], t, {left.begin() + 3, left.end()}, NumbersOf(row[1])),
                  position[static_cast<int>(coordinate)], 5e-8);
    }
    EXPECT_EQ(header["kind"], kind[0].substr(0, kind[0].find('_')));
    EXPECT_EQ(header["reference_time"], "2022-04-14T10:00:00");
    EXPECT_EQ(header["coordinates"], "3");
    EXPECT_EQ(header["order"] + " " + header["support_point_count"], kind.at(4));
    EXPECT_EQ(covered_to, (std::array{110.0, 110.0, 110.0}));
  }
}

TEST(SavePolynomial, WhatCanNotBeWrittenIsSaid) {
  const TempDir directory;
  const Orbit orbit = CircularOrbitPool("orbit_pool_double_utc", 12).Read();
  std::filesystem::create_symlink("/dev/full", directory / "full.pkt");
  EXPECT_FAILS(orbit.SavePolynomial(STRING(directory / "full")), ERROR_CAN_NOT_WRITE_FILE,
               "ORBIT::SavePolynomial() can not write file: " + (directory / "full.pkt") + "\n");
  const ScopedLog log;
  orbit.SavePolynomial(STRING(directory / "none/orbit"));
  EXPECT_EQ(log.Text(), "ALARM : ORBIT::SavePolynomial() can not create file: " +
                            (directory / "none/orbit.pkt") + "\n");
}

}  // namespace
