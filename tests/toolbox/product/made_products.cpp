#include "tests/toolbox/product/made_products.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <sstream>

#include "tests/support/rows.h"
#include "tests/toolbox/product/pool_check.h"
#include "toolbox/product/ground_range.h"

namespace quellmark::product {

namespace {

std::string Exact(double value) {
  std::array<char, 64> text{};
  static_cast<void>(std::snprintf(text.data(), text.size(), "%.17e", value));
  return text.data();
}

std::string Replaced(std::string line, const Fields& fields) {
  for (std::size_t begin = 0; (begin = line.find('{', begin)) != std::string::npos;) {
    const std::size_t end = line.find('}', begin);
    const auto field = fields.find(line.substr(begin + 1, end - begin - 1));
    if (field == fields.end()) {
      ADD_FAILURE() << "no value for " << line;
      return line;
    }
    line.replace(begin, end - begin + 1, field->second);
  }
  return line;
}

struct Kind {
  const char* name;
  const char* main;  // name of the template and of the file
  const char* path;
  const char* example;
  Level level;
  bool is_reversed;
  Fields extra;
};

const std::vector<Kind>& Kinds() {
  using enum Level;
  const char* const annotation = "made.SAFE/annotation/s1a-made-001.xml";
  static const std::vector<Kind> kinds = {
      {"sentinel1 slc", "sentinel1", annotation, "s1a_s3_slc_comoros", kSlantRange, false, {}},
      {"sentinel1 bursts", "sentinel1", annotation, "s1a_iw1_slc_quebec", kSlantRange, false, {}},
      {"sentinel1 grd", "sentinel1", annotation, "s1b_iw_grd_alps", kGroundRange, false, {}},
      {"terrasar",
       "terrasar",
       "made.xml",
       "s1a_s3_slc_comoros",
       kSlantRange,
       false,
       {{"variant", "SSC"}, {"projection", "SLANTRANGE"}}},
      {"terrasar eec",
       "terrasar",
       "made.xml",
       "s1a_s3_slc_comoros",
       kSlantRange,
       false,
       {{"variant", "EEC"}, {"projection", "MAP"}, {"rows", "9"}, {"columns", "9"}}},
      {"terrasar mgd",
       "terrasar",
       "made.xml",
       "s1b_iw_grd_alps",
       kGroundRange,
       false,
       {{"variant", "MGD"}, {"projection", "GROUNDRANGE"}}},
      {"rcm slc", "rcm", "metadata/product.xml", "s1a_s3_slc_comoros", kSlantRange, false, {}},
      {"rcm grd", "rcm", "metadata/product.xml", "s1b_iw_grd_alps", kGroundRange, false, {}},
      {"rcm grd reversed",
       "rcm",
       "metadata/product.xml",
       "s1a_s3_slc_comoros",
       kGroundRange,
       true,
       {}},
      {"radarsat2 slc", "radarsat2", "product.xml", "s1a_s3_slc_comoros", kSlantRange, false, {}},
      {"radarsat2 grd", "radarsat2", "product.xml", "s1a_s3_slc_comoros", kGroundRange, true, {}},
      {"iceye slc", "iceye", "ICEYE_made.xml", "s1a_s3_slc_comoros", kSlantRange, false, {}},
      {"iceye grd", "iceye", "ICEYE_made.xml", "s1b_iw_grd_alps", kGroundRange, false, {}},
  };
  return kinds;
}

const Kind& KindOf(const std::string& name) {
  for (const Kind& kind : Kinds()) {
    if (kind.name == name) return kind;
  }
  throw std::invalid_argument("no kind " + name);
}

}  // namespace

std::string LongText(const UtcTime& time) {
  std::array<char, 32> fraction{};
  static_cast<void>(std::snprintf(fraction.data(), fraction.size(), "%.12f", time.fraction));
  return UtcText({time.seconds, 0.0}).substr(0, 19) + (fraction.data() + 1) + "Z";
}

std::string ExamplePool(const std::string& example) {
  return test::ReadFile(std::string(QM_SCENES) + "/" + example + ".pool");
}

MadeScene MakeScene(const std::string& example, Level level, bool is_reversed) {
  const PoolValues pool = ValuesOf(ExamplePool(example));
  MadeScene scene;
  Fields& values = scene.values;
  for (const auto& [key, list] : pool) {
    if (list.size() == 1) values[key] = list[0];
  }
  const auto number = [&](const char* key) { return std::stod(values.at(key)); };
  const UtcTime reference = *ParseUtc(values.at("orbit_reference_time"));
  const UtcTime first = Shifted(reference, number("first_az_time"));
  const UtcTime last = Shifted(first, (number("n_lines") - 1.0) / number("prf"));
  values["first_line"] = LongText(first);
  values["last_line"] = LongText(last);
  values["line_time_a"] = LongText(is_reversed ? last : first);
  values["line_time_b"] = LongText(is_reversed ? first : last);
  values["line_order"] = is_reversed ? "Decreasing" : "Increasing";
  values["pixel_order"] = is_reversed ? "Decreasing" : "Increasing";
  values["rows"] = values["n_lines"];
  values["columns"] = values["n_samples"];
  values["last_rg_time"] = Exact(number("first_rg_time") +
                                 (number("n_samples") - 1.0) / number("range_sampling_frequency"));

  // Ground range is a bent curve that keeps the first and the last sample.
  const bool is_ground = level == Level::kGroundRange;
  const double near_m = 0.5 * kSpeedOfLight_m_s * number("first_rg_time");
  const double slant_step_m = 0.5 * kSpeedOfLight_m_s / number("range_sampling_frequency");
  const double spacing_m = is_ground ? 5.0 : slant_step_m;
  const double slope = slant_step_m / spacing_m;
  constexpr double kBend = 0.1;
  const double length_m = (number("n_samples") - 1.0) * spacing_m;
  values["near_m"] = Exact(near_m);
  values["spacing"] = Exact(spacing_m);
  values["polynomial_0"] = Exact(near_m);
  values["polynomial_1"] = Exact(slope * (1.0 - kBend));
  values["polynomial_2"] = Exact(slope * kBend / length_m);
  values["polynomial"] =
      values["polynomial_0"] + ' ' + values["polynomial_1"] + '\n' + values["polynomial_2"];
  values["level"] = is_ground ? "GRD" : "SLC";
  values["projection"] = is_ground ? "Ground Range" : "Slant Range";
  values["mode"] = values["swath"] = "S3";
  values["polarisation"] = "VV";

  for (std::size_t i = 0; i < pool.at("orbit_time").size(); ++i) {
    Fields& vector = scene.vectors.emplace_back();
    vector["time"] = pool.at("orbit_time")[i];
    for (const char* axis : {"x", "y", "z"}) {
      vector[std::string("p") + axis] = pool.at(std::string("orbit_pos_") + axis)[i];
      vector[std::string("v") + axis] = pool.at(std::string("orbit_vel_") + axis)[i];
    }
  }
  const std::vector<test::Row> truth =
      test::ReadRows(std::string(QM_SCENES) + "/" + example + ".truth.csv", ",");
  for (std::size_t i = 1; i < truth.size(); ++i) {
    Fields& point = scene.points.emplace_back();
    for (std::size_t c = 0; c < truth[0].size(); ++c) point[truth[0][c]] = truth[i][c];
  }
  values["vectors"] = std::to_string(scene.vectors.size());
  values["points"] = std::to_string(scene.points.size());
  return scene;
}

std::string Filled(const std::string& name, const MadeScene& scene) {
  std::string filled;
  std::istringstream lines(test::ReadFile(std::string(QM_PRODUCT_TEST_DATA) + "/" + name + ".xml"));
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("{each ")) {
      filled += Replaced(line, scene.values) + '\n';
      continue;
    }
    const auto& list = line == "{each vector}" ? scene.vectors : scene.points;
    std::string block;
    while (std::getline(lines, line) && line != "{end}") block += line + '\n';
    for (const Fields& fields : list) filled += Replaced(block, fields);
  }
  return filled;
}

ProductFolder::ProductFolder(const Fields& files) {
  for (const auto& [name, content] : files) {
    std::filesystem::create_directories(std::filesystem::path(directory_ / name).parent_path());
    test::WriteFile(directory_ / name, content);
  }
}

Fields MakeProduct(const std::string& kind_name) {
  const Kind& kind = KindOf(kind_name);
  MadeScene scene = MakeScene(kind.example, kind.level, kind.is_reversed);
  for (const auto& [key, value] : kind.extra) scene.values[key] = value;
  if (std::string(kind.main) != "terrasar") return {{kind.path, Filled(kind.main, scene)}};

  // The times in the annotation still contain the delays that georeference.xml states.
  const auto later = [&](const char* key, double seconds) {
    scene.values[key] = LongText(Shifted(*ParseUtc(scene.values[key]), seconds));
  };
  later("first_line", -7.0e-6);
  later("last_line", -7.0e-6);
  for (const char* key : {"first_rg_time", "last_rg_time"}) {
    scene.values[key] = Exact(std::stod(scene.values[key]) + 2.0e-8);
  }
  return {{kind.path, Filled(kind.main, scene)},
          {"ANNOTATION/GEOREF.xml", Filled("georeference", scene)}};
}

const std::vector<std::string>& ProductKinds() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> list;
    for (const Kind& kind : Kinds()) list.emplace_back(kind.name);
    return list;
  }();
  return names;
}

std::string ExampleOf(const std::string& kind) { return KindOf(kind).example; }

std::string Failure(const std::string& path, const ImportOptions& options) {
  try {
    static_cast<void>(ImportProduct(path, options));
  } catch (const ImportError& error) {
    return error.what();
  }
  return "";
}

}  // namespace quellmark::product
