// TerraSAR-X, TanDEM-X and PAZ: the main annotation and ANNOTATION/GEOREF.xml.
#include <cmath>
#include <filesystem>
#include <limits>

#include "toolbox/product/ground_range.h"
#include "toolbox/product/missions.h"
#include "toolbox/product/number_text.h"

namespace quellmark::product {

namespace {

constexpr struct {
  const char* mission = "productInfo/missionInfo/mission";
  const char* pass = "productInfo/missionInfo/orbitDirection";
  const char* mode = "productInfo/acquisitionInfo/imagingMode";
  const char* look_side = "productInfo/acquisitionInfo/lookDirection";
  const char* variant = "productInfo/productVariantInfo/productVariant";
  const char* projection = "productInfo/productVariantInfo/projection";
  const char* rows = "productInfo/imageDataInfo/imageRaster/numberOfRows";
  const char* columns = "productInfo/imageDataInfo/imageRaster/numberOfColumns";
  const char* first_line = "productInfo/sceneInfo/start/timeUTC";
  const char* last_line = "productInfo/sceneInfo/stop/timeUTC";
  const char* first_range_time_s = "productInfo/sceneInfo/rangeTime/firstPixel";
  const char* last_range_time_s = "productInfo/sceneInfo/rangeTime/lastPixel";
  const char* height_m = "productInfo/sceneInfo/sceneAverageHeight";
  const char* prf_hz = "productSpecific/complexImageInfo/commonPRF";
  const char* range_sampling_hz = "productSpecific/complexImageInfo/commonRSF";
  const char* radar_frequency_hz = "instrument/radarParameters/centerFrequency";
  const char* orbit_accuracy = "platform/orbit/orbitHeader/accuracy";
} kFields;

constexpr struct {
  const char* file = "ANNOTATION/GEOREF.xml";
  const char* range_delay = "signalPropagationEffects/rangeDelay";
  const char* azimuth_shift = "signalPropagationEffects/azimuthShift";
} kGeoreference;

constexpr StateVectorFields kOrbit = {
    "platform/orbit/stateVec", "timeUTC", {"posX", "posY", "posZ"}, {"velX", "velY", "velZ"}};

// The interpolation needs eight vectors.
constexpr std::size_t kVectorsForPolynomial = 8;

// Returns the sum of the constant terms of the delays on `path`, or 0 if there are none.
double Delay(const XmlElement& georeference, const char* path) {
  double sum_s = 0.0;
  if (!georeference.Has(path)) return sum_s;
  for (const XmlElement& effect : georeference.Children(path)) {
    for (const XmlElement& coefficient : effect.Children("coefficient")) {
      if (coefficient.Attribute("exponent") == "0") sum_s += coefficient.Number();
    }
  }
  return sum_s;
}

// Subtracts the delays, because the times in the annotation include the delays of the echoes in the
// atmosphere.
void TakeDelaysOff(const ProductFiles& files, const std::string& name, SceneDescription& scene) {
  const std::string beside =
      (std::filesystem::path(name).parent_path() / kGeoreference.file).generic_string();
  if (!files.Has(beside)) {
    scene.remarks.push_back("Approximate: " + std::string(kGeoreference.file) +
                            " is missing, which holds the delays of the signal in the atmosphere: "
                            "the ranges are too long by 2 to 4 m.");
    return;
  }
  const XmlElement georeference = XmlElement::Parse(files.Label(beside), files.Read(beside));
  const double delay_s = Delay(georeference, kGeoreference.range_delay);
  const double shift_s = Delay(georeference, kGeoreference.azimuth_shift);
  if (std::abs(delay_s) > 1e-6) {
    georeference.Fail("adds up to " + Significant(delay_s, 6) + " s", kGeoreference.range_delay);
  }
  if (std::abs(shift_s) > 1.0) {
    georeference.Fail("adds up to " + Significant(shift_s, 6) + " s", kGeoreference.azimuth_shift);
  }
  scene.first_range_time_s.value -= delay_s;
  scene.first_range_time_s.source += " minus " + Significant(delay_s, 6) + " s of " +
                                     kGeoreference.range_delay + " in " + kGeoreference.file;
  scene.first_line.value = Shifted(scene.first_line.value, -shift_s);
  scene.first_line.source += " minus " + Significant(shift_s, 6) + " s of " +
                             kGeoreference.azimuth_shift + " in " + kGeoreference.file;
}

std::int32_t CountOf(double intervals, const XmlElement& root, const char* field) {
  const double count = std::round(intervals) + 1.0;
  if (!(count >= 1.0 && count <= std::numeric_limits<std::int32_t>::max())) {
    root.Fail("gives no number of lines or samples", field);
  }
  return static_cast<std::int32_t>(count);
}

}  // namespace

bool IsTerraSar(const XmlElement& root) { return root.Name() == "level1Product"; }

SceneDescription ReadTerraSar(const XmlElement& root, const ProductFiles& files,
                              const std::string& name) {
  SceneDescription scene;
  const std::string projection = root.Text(kFields.projection);
  scene.mission = root.Text(kFields.mission);
  scene.product = root.Text(kFields.mode) + ' ' + root.Text(kFields.variant) + ", " +
                  root.Text(kFields.pass) + " pass, orbit " + root.Text(kFields.orbit_accuracy);
  scene.first_line = root.SourcedTime(kFields.first_line);
  scene.first_range_time_s = root.SourcedNumber(kFields.first_range_time_s);
  scene.prf_hz = root.SourcedNumber(kFields.prf_hz);
  scene.range_sampling_frequency_hz = root.SourcedNumber(kFields.range_sampling_hz);
  scene.look_side = root.SourcedLookSide(kFields.look_side);
  scene.local_height_m = {root.Number(kFields.height_m), kFields.height_m};
  scene.radar_frequency_hz = root.SourcedNumber(kFields.radar_frequency_hz);
  scene.orbit = ReadStateVectors(root, kOrbit);
  // The velocities are rounded to mm/s, so the positions alone lead to a better curve.
  scene.orbit_interpolation =
      scene.orbit.value.size() >= kVectorsForPolynomial ? "localpolynom_7_8" : "localhermite_7_4";

  const double duration_s = SecondsBetween(scene.first_line.value, root.Time(kFields.last_line));
  const double depth_s = root.Number(kFields.last_range_time_s) - scene.first_range_time_s.value;
  if (!(duration_s > 0.0)) root.Fail("is not after the first line", kFields.last_line);
  if (!(depth_s > 0.0)) root.Fail("is not beyond the first pixel", kFields.last_range_time_s);
  if (projection == "MAP") {
    scene.n_samples = {
        CountOf(depth_s * scene.range_sampling_frequency_hz.value, root, kFields.last_range_time_s),
        kFields.last_range_time_s};
    scene.n_lines = {CountOf(duration_s * scene.prf_hz.value, root, kFields.last_line),
                     kFields.last_line};
    scene.remarks.emplace_back(
        "Approximate: the image lies on a map grid. Lines and samples here are those of the radar "
        "before it was put there.");
  } else {
    scene.n_samples = root.SourcedCount(kFields.columns);
    scene.n_lines = root.SourcedCount(kFields.rows);
  }
  if (projection == "GROUNDRANGE") {
    if (scene.n_samples.value > 1) {
      scene.range_sampling_frequency_hz = {(scene.n_samples.value - 1) / depth_s,
                                           std::string("an equivalent value, samples between ") +
                                               kFields.first_range_time_s + " and lastPixel"};
    }
    scene.prf_hz = {
        (scene.n_lines.value - 1) / duration_s,
        std::string("lines between ") + kFields.first_line + " and " + kFields.last_line};
    scene.remarks.emplace_back(
        "Approximate: the image is in ground range. Its first and its last sample have their true "
        "range times, those in between do not.");
  }
  TakeDelaysOff(files, name, scene);
  return scene;
}

}  // namespace quellmark::product
