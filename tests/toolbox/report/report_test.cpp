#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "toolbox/report/footprint.h"
#include "toolbox/report/point_table.h"
#include "toolbox/report/pool_json.h"

#include <nlohmann/json.hpp>

namespace quellmark::report {
namespace {

using Json = nlohmann::ordered_json;

template <class T>
Matrix<T> TwoByTwo(const std::vector<T>& values) {
  return {-1, 2, 5, 2, values};
}

// One value of each type, with contents that are easily lost.
std::vector<Value> OneOfEach() {
  using Limits = std::numeric_limits<std::int64_t>;
  const std::string text = "a \"b\" \\ \t, \xC3\xA9";
  const std::string latin1 = "90 \xB0";
  const std::complex<float> cf(0.1F, -3.4e38F);
  const std::complex<double> cd(0.1, -1e-300);
  return {true,
          std::uint8_t{255},
          std::int8_t{-128},
          std::int16_t{-32768},
          std::int32_t{-2147483647 - 1},
          Limits::min(),
          0.1F,
          0.1,
          text,
          cf,
          cd,
          Pair<std::int32_t>{1, -2},
          Pair<std::int64_t>{Limits::max(), -1},
          Pair<float>{16777217.0F, 1e-38F},
          Pair<double>{1.0 / 3.0, 2.0},
          Indexed<std::int32_t>{-1, 7},
          Indexed<float>{2, 0.3F},
          Indexed<double>{3, 0.3},
          Pair<std::string>{text, latin1},
          Vector<bool>{0, {true, false}},
          Vector<std::uint8_t>{-3, {0, 255}},
          Vector<std::int8_t>{1, {}},
          Vector<std::int16_t>{1, {1}},
          Vector<std::int32_t>{1, {1, 2}},
          Vector<std::int64_t>{1, {Limits::max()}},
          Vector<float>{1, {0.1F}},
          Vector<double>{1, {0.1, 1e308}},
          Vector<std::complex<float>>{1, {cf}},
          Vector<std::complex<double>>{1, {cd, cd}},
          Vector<std::string>{1, {text, latin1, ""}},
          Vector<Pair<std::int32_t>>{1, {{1, 2}}},
          Vector<Pair<std::int64_t>>{1, {{1, 2}}},
          Vector<Pair<float>>{1, {{0.1F, 0.2F}}},
          Vector<Pair<double>>{1, {{0.1, 0.2}}},
          Vector<Indexed<std::int32_t>>{1, {{1, 2}}},
          Vector<Indexed<float>>{1, {{1, 0.1F}}},
          Vector<Indexed<double>>{1, {{1, 0.1}}},
          Vector<Pair<std::string>>{1, {{text, ""}}},
          TwoByTwo<std::uint8_t>({1, 2, 3, 4}),
          TwoByTwo<std::int8_t>({1, 2, 3, 4}),
          TwoByTwo<std::int16_t>({1, 2, 3, 4}),
          TwoByTwo<std::int32_t>({1, 2, 3, 4}),
          TwoByTwo<float>({0.1F, 2, 3, 4}),
          TwoByTwo<double>({0.1, 2, 3, 4}),
          TwoByTwo<std::complex<float>>({cf, cf, cf, cf}),
          TwoByTwo<std::complex<double>>({cd, cd, cd, cd}),
          TwoByTwo<std::string>({text, "", latin1, "x"})};
}

TEST(PoolJson, EveryTypeComesBackThroughJsonAndThroughAPool) {
  const std::vector<Value> values = OneOfEach();
  ASSERT_EQ(values.size() + 1, std::variant_size_v<Value>);
  PoolEditor editor;
  for (std::size_t i = 0; i < values.size(); ++i) {
    ASSERT_EQ(values[i].index(), i + 1);
    const Json json = Json::parse(JsonOf(values[i]).dump());
    EXPECT_EQ(ValueFromJson(json, TypeOf(values[i])), values[i]) << json;
    editor.Set("key_" + std::to_string(i), values[i], {"comment \xB0"});
  }
  const Pool pool = Pool::FromText(editor.Text());
  const Json json = Json::parse(JsonOf(pool).dump());
  EXPECT_EQ(EditorFromJson(json).Text(), pool.Text());
}

TEST(PoolJson, NumbersThatAreNotFinite) {
  const auto back = [](double value) {
    return std::get<double>(ValueFromJson(JsonOf(Value(value)), ValueType::kDouble));
  };
  EXPECT_TRUE(std::isnan(back(std::nan(""))));
  EXPECT_EQ(back(-HUGE_VAL), -HUGE_VAL);
}

TEST(PoolJson, OtherJsonIsRefused) {
  struct Case {
    const char* json;
    ValueType type;
  };
  for (const Case& row : std::initializer_list<Case>{
           {"1.5", ValueType::kInt32},
           {"2147483648", ValueType::kInt32},
           {"18446744073709551615", ValueType::kInt64},
           {"-1", ValueType::kUint8},
           {"1e39", ValueType::kFloat},
           {"\"1\"", ValueType::kDouble},
           {"1", ValueType::kBool},
           {"[1]", ValueType::kInt32Pair},
           {"[1, 2, 3]", ValueType::kComplexDouble},
           {"{\"index\": 1}", ValueType::kIndexedFloat},
           {"[1, 2]", ValueType::kInt32Vector},
           {"{\"first_index\": 1, \"values\": 3}", ValueType::kInt32Vector},
           {"{\"latin1\": \"\\u0411\"}", ValueType::kString},
           {"null", ValueType::kString},
       }) {
    EXPECT_THROW(static_cast<void>(ValueFromJson(Json::parse(row.json), row.type)),
                 std::runtime_error)
        << row.json;
  }
  for (const char* text : {"[]", "{}", "{\"entries\": 1}", "{\"entries\": [1]}",
                           "{\"entries\": [{\"key\": \"a\", \"type\": \"NO\", \"value\": 1}]}",
                           "{\"entries\": [{\"key\": \"a\", \"type\": \"INT_32\"}]}"}) {
    EXPECT_THROW(static_cast<void>(EditorFromJson(Json::parse(text))), std::runtime_error) << text;
  }
}

double AreaOf(const Ring& ring) {
  double area = 0.0;
  for (std::size_t i = 0; i + 1 < ring.size(); ++i) {
    area += ring[i].longitude_deg * ring[i + 1].latitude_deg -
            ring[i + 1].longitude_deg * ring[i].latitude_deg;
  }
  return area / 2.0;
}

TEST(Footprint, PolygonsAreCutAtTheAntimeridianAndClosedOverPoles) {
  struct Case {
    const char* what;
    std::vector<LonLat> outline;
    std::size_t polygons;
    double area;  // in square degrees
  };
  std::vector<LonLat> around_pole;
  for (int i = 0; i < 36; ++i) around_pole.push_back({std::remainder(-10.0 * i, 360.0), -80.0});
  const std::vector<Case> cases = {
      {"counterclockwise", {{10, 0}, {12, 0}, {12, 1}, {10, 1}}, 1, 2.0},
      {"clockwise", {{10, 1}, {12, 1}, {12, 0}, {10, 0}}, 1, 2.0},
      {"eastwards over the antimeridian", {{179, 0}, {-178, 0}, {-178, 1}, {179, 1}}, 2, 3.0},
      {"westwards over it", {{-178, 50}, {179, 50}, {179, 52}, {-178, 52}}, 2, 6.0},
      {"up to it", {{178, 0}, {180, 0}, {180, 1}, {178, 1}}, 1, 2.0},
      {"around the south pole", around_pole, 1, 3600.0},
      {"two points", {{0, 0}, {1, 1}}, 0, 0.0},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.what);
    const std::vector<Ring> polygons = PolygonsOf(row.outline);
    EXPECT_GE(polygons.size(), row.polygons);
    double area = 0.0;
    for (const Ring& ring : polygons) {
      EXPECT_GT(AreaOf(ring), 0.0) << "counterclockwise";
      EXPECT_EQ(ring.front().longitude_deg, ring.back().longitude_deg);
      for (const LonLat& point : ring) EXPECT_LE(std::abs(point.longitude_deg), 180.0);
      area += AreaOf(ring);
    }
    EXPECT_NEAR(area, row.area, 1e-9);
  }
}

TEST(PointTable, NumbersWithoutAnAnswerAreLeftOut) {
  PointTable table;
  table.columns = {{"longitude_deg", 9, {-1e-12, std::nan("")}},
                   {"latitude_deg", 9, {45.0, std::nan("")}}};
  table.status = {PointStatus::kFound, PointStatus::kBeyondOrbit};
  EXPECT_EQ(
      TextOf(table, PointFormat::kCsv),
      "longitude_deg,latitude_deg,status\n0.000000000,45.000000000,found\n,,beyond the orbit\n");
  const Json points = Json::parse(TextOf(table, PointFormat::kGeoJson));
  EXPECT_EQ(points["features"][0]["geometry"]["coordinates"], Json::parse("[0.0, 45.0]"));
  EXPECT_TRUE(points["features"][1]["geometry"].is_null());
  EXPECT_TRUE(Json::parse(TextOf(table, PointFormat::kJson))[1]["latitude_deg"].is_null());
  EXPECT_NE(FootprintText("a<&\"b", {{0, 0}, {1, 0}, {1, 1}}, PointFormat::kKml)
                .find("<name>a&lt;&amp;&quot;b</name>"),
            std::string::npos);
}

}  // namespace
}  // namespace quellmark::report
