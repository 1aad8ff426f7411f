// RCM and RADARSAT-2: metadata/product.xml. Some fields have different places in the two.
#include <algorithm>
#include <cmath>

#include "toolbox/product/ground_range.h"
#include "toolbox/product/missions.h"

namespace quellmark::product {

namespace {

// The fields with the same place in both.
constexpr struct {
  const char* satellite = "sourceAttributes/satellite";
  const char* beam = "sourceAttributes/beamModeMnemonic";
  const char* look_side = "sourceAttributes/radarParameters/antennaPointing";
  const char* radar_frequency_hz = "sourceAttributes/radarParameters/radarCenterFrequency";
  const char* pass = "sourceAttributes/orbitAndAttitude/orbitInformation/passDirection";
  const char* product_type = "imageGenerationParameters/generalProcessingInformation/productType";
  const char* first_line =
      "imageGenerationParameters/sarProcessingInformation/zeroDopplerTimeFirstLine";
  const char* last_line =
      "imageGenerationParameters/sarProcessingInformation/zeroDopplerTimeLastLine";
  const char* conversion = "imageGenerationParameters/slantRangeToGroundRange";
} kFields;

// The fields with different places.
struct Layout {
  const char* raster;
  const char* n_samples;
  const char* n_lines;
  const char* images;  // one per beam in a wide image of RCM in slant range
  const char* slant_range_near_m;
  const char* height_m;
  const char* orbit_source;
};

constexpr Layout kRcm = {
    "imageReferenceAttributes/rasterAttributes",
    "sceneAttributes/imageAttributes/samplesPerLine",
    "sceneAttributes/imageAttributes/numLines",
    "sceneAttributes/imageAttributes",
    "sceneAttributes/imageAttributes/slantRangeNearEdge",
    "imageReferenceAttributes/geographicInformation/ellipsoidParameters/geodeticTerrainHeight",
    "sourceAttributes/orbitAndAttitude/orbitInformation/orbitDataSource"};

constexpr Layout kRadarsat2 = {
    "imageAttributes/rasterAttributes",
    "imageAttributes/rasterAttributes/numberOfSamplesPerLine",
    "imageAttributes/rasterAttributes/numberOfLines",
    "imageAttributes",
    "imageGenerationParameters/sarProcessingInformation/slantRangeNearEdge",
    "imageAttributes/geographicInformation/referenceEllipsoidParameters/geodeticTerrainHeight",
    "sourceAttributes/orbitAndAttitude/orbitInformation/orbitDataFile"};

constexpr StateVectorFields kOrbit = {
    "sourceAttributes/orbitAndAttitude/orbitInformation/stateVector",
    "timeStamp",
    {"xPosition", "yPosition", "zPosition"},
    {"xVelocity", "yVelocity", "zVelocity"}};

// Line 0 is always the earliest, even if the image begins with the latest.
void SetAzimuth(const XmlElement& root, SceneDescription& scene) {
  Sourced<UtcTime> first = root.SourcedTime(kFields.first_line);
  Sourced<UtcTime> last = root.SourcedTime(kFields.last_line);
  if (last.value < first.value) {
    std::swap(first, last);
    scene.remarks.emplace_back(
        "The image begins with its latest line: its line i is line n_lines - 1 - i here.");
  }
  const double duration_s = SecondsBetween(first.value, last.value);
  if (!(duration_s > 0.0)) root.Fail("is the time of the first line, too", kFields.last_line);
  scene.first_line = first;
  scene.prf_hz = {(scene.n_lines.value - 1) / duration_s,
                  "lines between " + first.source + " and " + last.source};
}

// Sample 0 is always the nearest, even if the lines begin with the farthest.
void RemarkSampleOrder(const XmlElement& root, const Layout& layout, SceneDescription& scene) {
  const std::string field = std::string(layout.raster) + "/pixelTimeOrdering";
  const std::string order = root.Text(field);
  if (order == "Decreasing") {
    scene.remarks.emplace_back(
        "Lines of the image begin at far range: its sample i is sample n_samples - 1 - i here.");
  } else if (order != "Increasing") {
    root.Fail("\"" + order + "\" is neither \"Increasing\" nor \"Decreasing\"", field);
  }
}

void SetRange(const XmlElement& root, const Layout& layout, SceneDescription& scene) {
  const std::string spacing_field = std::string(layout.raster) + "/sampledPixelSpacing";
  const double spacing_m = root.Number(spacing_field);
  if (!(spacing_m > 0.0)) root.Fail("is not positive", spacing_field);
  if (root.Text(kFields.product_type).starts_with("SLC")) {
    scene.first_range_time_s = {2.0 * root.Number(layout.slant_range_near_m) / kSpeedOfLight_m_s,
                                layout.slant_range_near_m};
    scene.range_sampling_frequency_hz = {kSpeedOfLight_m_s / (2.0 * spacing_m), spacing_field};
    return;
  }
  // Selects the conversion whose time is nearest to the middle of the image.
  const UtcTime middle =
      Shifted(scene.first_line.value, 0.5 * (scene.n_lines.value - 1) / scene.prf_hz.value);
  const std::vector<XmlElement> conversions = root.Children(kFields.conversion);
  const XmlElement nearest =
      *std::ranges::min_element(conversions, {}, [&](const XmlElement& conversion) {
        return std::abs(SecondsBetween(middle, conversion.Time("zeroDopplerAzimuthTime")));
      });
  const char* const coefficients = "groundToSlantRangeCoefficients";
  const GroundToSlant polynomial{nearest.Numbers(coefficients),
                                 nearest.Number("groundRangeOrigin")};
  if (!SetGroundRange(polynomial, spacing_m, std::string(kFields.conversion) + '/' + coefficients,
                      scene)) {
    nearest.Fail(kNoGrowth, coefficients);
  }
}

}  // namespace

bool IsRadarsat(const XmlElement& root) {
  const std::string satellite = root.OptionalText(kFields.satellite);
  return root.Name() == "product" &&
         (satellite.starts_with("RCM") || satellite.starts_with("RADARSAT"));
}

SceneDescription ReadRadarsat(const XmlElement& root, const ProductFiles& /*files*/,
                              const std::string& /*name*/) {
  SceneDescription scene;
  scene.mission = root.Text(kFields.satellite);
  const Layout& layout = scene.mission.starts_with("RCM") ? kRcm : kRadarsat2;
  if (root.CountOf(layout.images) > 1) {
    root.Fail("the product has several images, one per beam; such a product is not imported",
              layout.images);
  }
  const std::string type = root.Text(kFields.product_type);
  if (type.starts_with("GC")) {
    root.Fail("\"" + type + "\" lies on a map grid; such a product is not imported",
              kFields.product_type);
  }
  const std::string orbit_source = root.OptionalText(layout.orbit_source);
  scene.product = root.Text(kFields.beam) + ' ' + type + ", " + root.Text(kFields.pass) + " pass" +
                  (orbit_source.empty() ? "" : ", orbit " + orbit_source);
  scene.copyright = root.Attribute("copyright");
  scene.n_samples = root.SourcedCount(layout.n_samples);
  scene.n_lines = root.SourcedCount(layout.n_lines);
  scene.look_side = root.SourcedLookSide(kFields.look_side);
  scene.local_height_m = {root.Number(layout.height_m), layout.height_m};
  scene.radar_frequency_hz = root.SourcedNumber(kFields.radar_frequency_hz);
  SetAzimuth(root, scene);
  SetRange(root, layout, scene);
  RemarkSampleOrder(root, layout, scene);
  scene.orbit = ReadStateVectors(root, kOrbit);
  scene.orbit_interpolation = "localhermite_7_4";
  return scene;
}

}  // namespace quellmark::product
