// Writes the pool of a scene, in the layout that all programs use for pools.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <string_view>

#include "toolbox/product/import.h"

namespace quellmark::product {

namespace {

constexpr std::size_t kCommentColumns = 98;
constexpr std::string_view kBraceIndent = "                                               ";
constexpr std::array<const char*, 3> kAxes = {"x", "y", "z"};

// Replaces characters that would end a line of the pool, because texts come from products.
std::string Printable(std::string_view text) {
  std::string printable;
  for (const char c : text) printable += c >= ' ' && c <= '~' ? c : ' ';
  return printable;
}

std::string Formatted(double value) {
  std::array<char, 64> text{};
  static_cast<void>(std::snprintf(text.data(), text.size(), "%.17E", value));
  return text.data();
}

class Writer {
 public:
  explicit Writer(std::ostream& stream) : stream_(stream) {}

  // Writes the text as comment lines, broken between words.
  void Comment(std::string_view text) {
    std::string line = "#";
    const std::string words = Printable(text) + ' ';
    for (std::size_t begin = 0, end = 0; (end = words.find(' ', begin)) != std::string::npos;
         begin = end + 1) {
      const std::string word = words.substr(begin, end - begin);
      if (word.empty()) continue;
      if (line.size() + 1 + word.size() > kCommentColumns && line != "#") {
        stream_ << line << '\n';
        line = "#";
      }
      line.append(" ").append(word.substr(0, kCommentColumns));
    }
    if (line != "#") stream_ << line << '\n';
  }

  void Number(const char* key, double value) {
    if (!std::isfinite(value)) throw ImportError("", key, "is no finite number");
    Head(key, "FLT_15") << Formatted(value) << "\n\n";
  }

  void Integer(const char* key, std::int32_t value) { Head(key, "INT_32") << value << "\n\n"; }

  void Text(const char* key, const std::string& value) {
    Head(key, "STR") << '"' << value << "\"\n\n";
  }

  template <typename Values, typename Format>
  void List(const std::string& key, const char* type, const Values& values, const Format& format) {
    Head(key, type) << "1\t" << values.size() << '\n' << kBraceIndent << "{\n";
    for (const auto& value : values) stream_ << kBraceIndent << "  " << format(value) << '\n';
    stream_ << kBraceIndent << "}\n\n";
  }

  void EndOfComments() { stream_ << '\n'; }

 private:
  std::ostream& Head(const std::string& key, std::string_view type) {
    std::string head = key;
    head.resize(std::max<std::size_t>(head.size(), 32), ' ');
    head.append(" ").append(type);
    head.resize(49, ' ');
    return stream_ << head;
  }

  std::ostream& stream_;
};

std::string Quoted(const std::string& text) { return '"' + text + '"'; }

// Rounds an epoch to the microsecond, because the step reads no more digits, and moves the position
// along the velocity by up to 8 mm. Over this distance the path bends by only 1e-12 m.
StateVector OnMicrosecond(StateVector vector) {
  const UtcTime rounded = RoundedToMicrosecond(vector.time);
  const double shift_s = SecondsBetween(vector.time, rounded);
  for (std::size_t i = 0; i < 3; ++i) {
    vector.position_m[i] += shift_s * vector.velocity_m_s[i];
  }
  vector.time = rounded;
  return vector;
}

void WriteTitle(const SceneDescription& scene, Writer& writer) {
  writer.Comment("Scene parameter pool made from the metadata of a product.");
  writer.Comment(scene.copyright);
  writer.Comment(scene.mission + ", " + scene.product + ".");
  writer.Comment("Metadata: " + scene.metadata);
  writer.Comment("First line " + UtcText(scene.first_line.value) +
                 ". first_az_time counts seconds after orbit_reference_time.");
  for (const std::string& remark : scene.remarks) writer.Comment(remark);
  writer.EndOfComments();
}

void WriteTiming(const SceneDescription& scene, const UtcTime& reference, Writer& writer) {
  const auto number = [&](const char* key, const Sourced<double>& value) {
    writer.Comment(value.source);
    writer.Number(key, value.value);
  };
  writer.Comment(scene.first_line.source);
  writer.Number("first_az_time", SecondsBetween(reference, scene.first_line.value));
  number("first_rg_time", scene.first_range_time_s);
  number("prf", scene.prf_hz);
  number("range_sampling_frequency", scene.range_sampling_frequency_hz);
  writer.Comment(scene.n_samples.source);
  writer.Integer("n_samples", scene.n_samples.value);
  writer.Comment(scene.n_lines.source);
  writer.Integer("n_lines", scene.n_lines.value);
  writer.Comment(scene.look_side.source);
  writer.Text("antenna_look_direction",
              scene.look_side.value == LookSide::kRight ? "right" : "left");
  if (scene.local_height_m.value) {
    writer.Comment(scene.local_height_m.source);
    writer.Number("local_height", *scene.local_height_m.value);
  }
  number("radar_frequency", scene.radar_frequency_hz);
}

void WriteSamples(const std::vector<StateVector>& orbit, const char* key, const char* comment,
                  std::array<double, 3> StateVector::*member, Writer& writer) {
  for (std::size_t i = 0; i < 3; ++i) {
    if (i == 0) writer.Comment(comment);
    writer.List(std::string(key) + kAxes[i], "FLT_15_V", orbit, [&](const StateVector& vector) {
      const double value = (vector.*member)[i];
      if (!std::isfinite(value)) throw ImportError("", key, "has a number that is not finite");
      return Formatted(value);
    });
  }
}

void WriteOrbit(const SceneDescription& scene, const std::vector<StateVector>& orbit,
                const UtcTime& reference, Writer& writer) {
  const auto keys = [&](const char* prefix) {
    std::array<std::string, 3> names;
    for (std::size_t i = 0; i < 3; ++i) names[i] = prefix + std::string(kAxes[i]);
    return names;
  };
  writer.Text("orbit_representation", "orbit_pool_double_utc");
  writer.Text("orbit_interpolation", scene.orbit_interpolation);
  writer.Text("orbit_param_key", "orbit_time");
  writer.List("orbit_value_key", "STR_V", keys("orbit_pos_"), Quoted);
  writer.List("orbit_velocity_key", "STR_V", keys("orbit_vel_"), Quoted);
  writer.Text("orbit_reference_time", UtcText(reference));
  writer.Comment(scene.orbit.source);
  writer.List("orbit_time", "STR_V", orbit,
              [](const StateVector& vector) { return Quoted(UtcText(vector.time)); });
  WriteSamples(orbit, "orbit_pos_", "earth-fixed position [m]", &StateVector::position_m, writer);
  WriteSamples(orbit, "orbit_vel_", "earth-fixed velocity [m/s]", &StateVector::velocity_m_s,
               writer);
}

}  // namespace

ImportError::ImportError(std::string file, std::string field, const std::string& problem)
    : std::runtime_error((file.empty() ? "" : file + ": ") + (field.empty() ? "" : field + ": ") +
                         problem),
      file_(std::move(file)),
      field_(std::move(field)) {}

void WritePool(const SceneDescription& scene, std::ostream& stream) {
  std::vector<StateVector> orbit(scene.orbit.value.size());
  if (orbit.empty()) throw ImportError("", "orbit_time", "the scene has no orbit");
  std::ranges::transform(scene.orbit.value, orbit.begin(), OnMicrosecond);
  const UtcTime reference = WholeMinute(orbit.front().time);
  Writer writer(stream);
  WriteTitle(scene, writer);
  WriteTiming(scene, reference, writer);
  WriteOrbit(scene, orbit, reference, writer);
}

}  // namespace quellmark::product
