// ICEYE: one XML file beside the image; ground range (GRD) and slant range (SLC).
#include "toolbox/product/ground_range.h"
#include "toolbox/product/missions.h"

namespace quellmark::product {

namespace {

constexpr struct {
  const char* satellite = "satellite_name";
  const char* level = "product_level";
  const char* mode = "acquisition_mode";
  const char* polarisation = "polarization";
  const char* pass = "orbit_direction";
  const char* orbit_quality = "orbit_processing_level";
  const char* first_line = "zerodoppler_start_utc";
  const char* last_line = "zerodoppler_end_utc";
  const char* n_samples = "number_of_range_samples";
  const char* n_lines = "number_of_azimuth_samples";
  const char* look_side = "look_side";
  const char* height_m = "avg_scene_height";
  const char* radar_frequency_hz = "carrier_frequency";
  const char* range_spacing_m = "range_spacing";
  const char* conversion = "GRSR_Coefficients";
  // Only in slant range products.
  const char* first_range_time_s = "first_pixel_time";
  const char* range_sampling_hz = "range_sampling_rate";
} kFields;

constexpr StateVectorFields kOrbit = {
    "Orbit_State_Vectors/orbit_vector", "time", {"posX", "posY", "posZ"}, {"velX", "velY", "velZ"}};

void SetRange(const XmlElement& root, SceneDescription& scene) {
  if (root.Text(kFields.level) == "SLC") {
    scene.first_range_time_s = root.SourcedNumber(kFields.first_range_time_s);
    scene.range_sampling_frequency_hz = root.SourcedNumber(kFields.range_sampling_hz);
    return;
  }
  const double spacing_m = root.Number(kFields.range_spacing_m);
  if (!(spacing_m > 0.0)) root.Fail("is not positive", kFields.range_spacing_m);
  const XmlElement conversion = root.Child(kFields.conversion);
  GroundToSlant polynomial{{}, conversion.Number("ground_range_origin")};
  for (const XmlElement& coefficient : conversion.Children("coefficient")) {
    polynomial.coefficients.push_back(coefficient.Number("value"));
  }
  if (!SetGroundRange(polynomial, spacing_m, kFields.conversion, scene)) {
    root.Fail(kNoGrowth, kFields.conversion);
  }
}

}  // namespace

bool IsIceye(const XmlElement& root) {
  return root.Name() == "Metadata" && root.Has("Orbit_State_Vectors");
}

SceneDescription ReadIceye(const XmlElement& root, const ProductFiles& /*files*/,
                           const std::string& /*name*/) {
  SceneDescription scene;
  scene.mission = root.Text(kFields.satellite);
  if (!scene.mission.starts_with("ICEYE")) root.Fail("is not ICEYE", kFields.satellite);
  scene.product = root.Text(kFields.mode) + ' ' + root.Text(kFields.level) + ' ' +
                  root.Text(kFields.polarisation) + ", " + root.Text(kFields.pass) +
                  " pass, orbit " + root.Text(kFields.orbit_quality);
  scene.n_samples = root.SourcedCount(kFields.n_samples);
  scene.n_lines = root.SourcedCount(kFields.n_lines);
  scene.first_line = root.SourcedTime(kFields.first_line);
  const double duration_s = SecondsBetween(scene.first_line.value, root.Time(kFields.last_line));
  if (!(duration_s > 0.0)) root.Fail("is not after the first line", kFields.last_line);
  scene.prf_hz = {(scene.n_lines.value - 1) / duration_s,
                  std::string("lines between ") + kFields.first_line + " and " + kFields.last_line};
  scene.look_side = root.SourcedLookSide(kFields.look_side);
  scene.local_height_m = {root.Number(kFields.height_m), kFields.height_m};
  scene.radar_frequency_hz = root.SourcedNumber(kFields.radar_frequency_hz);
  SetRange(root, scene);
  scene.orbit = ReadStateVectors(root, kOrbit);
  scene.orbit_interpolation = "localhermite_7_4";
  return scene;
}

}  // namespace quellmark::product
