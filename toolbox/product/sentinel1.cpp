// Sentinel-1: annotation files, SLC and GRD of all modes.
#include <algorithm>
#include <cmath>

#include "toolbox/product/ground_range.h"
#include "toolbox/product/missions.h"
#include "toolbox/product/number_text.h"

namespace quellmark::product {

namespace {

constexpr struct {
  const char* mission = "adsHeader/missionId";
  const char* product_type = "adsHeader/productType";
  const char* polarisation = "adsHeader/polarisation";
  const char* mode = "adsHeader/mode";
  const char* swath = "adsHeader/swath";
  const char* pass = "generalAnnotation/productInformation/pass";
  const char* projection = "generalAnnotation/productInformation/projection";
  const char* range_sampling_hz = "generalAnnotation/productInformation/rangeSamplingRate";
  const char* radar_frequency_hz = "generalAnnotation/productInformation/radarFrequency";
  const char* first_line = "imageAnnotation/imageInformation/productFirstLineUtcTime";
  const char* line_interval_s = "imageAnnotation/imageInformation/azimuthTimeInterval";
  const char* first_range_time_s = "imageAnnotation/imageInformation/slantRangeTime";
  const char* n_samples = "imageAnnotation/imageInformation/numberOfSamples";
  const char* n_lines = "imageAnnotation/imageInformation/numberOfLines";
  const char* lines_per_burst = "swathTiming/linesPerBurst";
  const char* burst = "swathTiming/burstList/burst";
  const char* grid = "geolocationGrid/geolocationGridPointList/geolocationGridPoint";
} kFields;

constexpr StateVectorFields kOrbit = {"generalAnnotation/orbitList/orbit",
                                      "time",
                                      {"position/x", "position/y", "position/z"},
                                      {"velocity/x", "velocity/y", "velocity/z"}};

// A point that the product's own processor located.
struct GridPoint {
  double line = 0.0;
  double pixel = 0.0;
  UtcTime time;
  double range_time_s = 0.0;
  double height_m = 0.0;
};

std::vector<GridPoint> ReadGrid(const XmlElement& root) {
  std::vector<GridPoint> grid;
  for (const XmlElement& element : root.Children(kFields.grid)) {
    grid.push_back({element.Number("line"), element.Number("pixel"), element.Time("azimuthTime"),
                    element.Number("slantRangeTime"), element.Number("height")});
  }
  std::ranges::sort(grid, {}, [](const GridPoint& p) { return std::pair(p.line, p.pixel); });
  return grid;
}

// The first and the last line get the times of the grid's near-range points. The time of the first
// line in the header differs from the one with which the processor located that line by a quarter
// of a millisecond, or two metres.
void SetAzimuth(const std::vector<GridPoint>& grid, const XmlElement& root,
                SceneDescription& scene) {
  const GridPoint& first = grid.front();
  const double last_line = grid.back().line;
  const GridPoint& last = *std::ranges::find(grid, last_line, &GridPoint::line);
  const double lines = last.line - first.line;
  const double seconds = SecondsBetween(first.time, last.time);
  if (!(lines > 0.0) || !(seconds > 0.0)) {
    root.Fail("does not go from an early to a late line", kFields.grid);
  }
  scene.prf_hz = {lines / seconds, "lines per second between the grid's first and last line: " +
                                       std::string(kFields.grid)};
  scene.first_line = {Shifted(first.time, -first.line * seconds / lines),
                      "near-range point of the grid's first line: " + std::string(kFields.grid) +
                          "/azimuthTime (" + kFields.first_line + " is " +
                          UtcText(root.Time(kFields.first_line)) + ")"};

  double along_row_s = 0.0;
  for (const GridPoint& point : grid) {
    if (point.line == first.line) {
      along_row_s = std::max(along_row_s, std::abs(SecondsBetween(first.time, point.time)));
    }
  }
  scene.remarks.push_back(
      "Approximate: along a row of the product's grid the azimuth time changes by up to " +
      Fixed(along_row_s * 1e3, 2) + " ms, which one time per line cannot show.");
}

// Because bursts overlap, the lines between the first and the last one are not equally spaced.
void RemarkBursts(const XmlElement& root, SceneDescription& scene) {
  const std::size_t count = root.CountOf(kFields.burst);
  if (count == 0) return;
  const double lines = root.Count(kFields.lines_per_burst);
  const double interval_s = root.Number(kFields.line_interval_s);
  double largest_s = 0.0;
  double line = 0.0;
  for (const XmlElement& burst : root.Children(kFields.burst)) {
    const double start_s = SecondsBetween(scene.first_line.value, burst.Time("azimuthTime"));
    const double end_s = start_s + (lines - 1.0) * interval_s;
    largest_s = std::max({largest_s, std::abs(start_s - line / scene.prf_hz.value),
                          std::abs(end_s - (line + lines - 1.0) / scene.prf_hz.value)});
    line += lines;
  }
  scene.remarks.push_back("Approximate: the image consists of " + std::to_string(count) +
                          " bursts of " + Fixed(lines, 0) +
                          " lines that overlap on the ground. Its first and its last line have "
                          "their true times; those in between are off by up to " +
                          Fixed(largest_s, 2) + " s.");
}

// Sets the range times of a ground range product from its grid, which has the true times. The range
// time at the beginning of a line is nearly the same in all lines, but the one at the end is not.
// That of the last line is used; it belongs to a corner of the image.
void SetGridRange(const std::vector<GridPoint>& grid, const XmlElement& root,
                  SceneDescription& scene) {
  const GridPoint& last = grid.back();
  const double first_s = scene.first_range_time_s.value;
  const double step_s = (last.range_time_s - first_s) / last.pixel;
  if (!(last.pixel > 0.0) || !(step_s > 0.0)) {
    root.Fail("has range times that do not grow along the line", kFields.grid);
  }
  scene.range_sampling_frequency_hz = {
      1.0 / step_s,
      "from the first sample to the last one of the last line, an equivalent value: " +
          std::string(kFields.grid) + "/slantRangeTime"};
  double largest_s = 0.0;
  for (const GridPoint& point : grid) {
    largest_s =
        std::max(largest_s, std::abs(point.range_time_s - (first_s + step_s * point.pixel)));
  }
  scene.remarks.push_back(GroundRangeRemark(largest_s * kSpeedOfLight_m_s / 2.0));
}

}  // namespace

bool IsSentinel1(const XmlElement& root) {
  return root.Name() == "product" && root.OptionalText(kFields.mission).starts_with("S1");
}

Sentinel1Image Sentinel1ImageOf(const XmlElement& root) {
  return {root.Text(kFields.swath), root.Text(kFields.polarisation)};
}

SceneDescription ReadSentinel1(const XmlElement& root, const ProductFiles& /*files*/,
                               const std::string& /*name*/) {
  SceneDescription scene;
  const std::string mission = root.Text(kFields.mission);
  scene.mission = "Sentinel-" + mission.substr(1);
  scene.product = root.Text(kFields.mode) + ' ' + root.Text(kFields.product_type) + ' ' +
                  root.Text(kFields.swath) + ' ' + root.Text(kFields.polarisation) + ", " +
                  root.Text(kFields.pass) + " pass";
  scene.copyright = "Contains modified Copernicus Sentinel data " +
                    UtcText(root.Time(kFields.first_line)).substr(0, 4) + ".";
  scene.n_samples = root.SourcedCount(kFields.n_samples);
  scene.n_lines = root.SourcedCount(kFields.n_lines);
  scene.radar_frequency_hz = root.SourcedNumber(kFields.radar_frequency_hz);
  scene.first_range_time_s = root.SourcedNumber(kFields.first_range_time_s);
  scene.look_side = {LookSide::kRight, "all Sentinel-1 satellites look to the right"};

  const std::vector<GridPoint> grid = ReadGrid(root);
  double sum_m = 0.0;
  for (const GridPoint& point : grid) sum_m += point.height_m;
  scene.local_height_m = {sum_m / static_cast<double>(grid.size()),
                          "mean of the grid's points: " + std::string(kFields.grid) + "/height"};
  SetAzimuth(grid, root, scene);
  RemarkBursts(root, scene);
  if (root.Text(kFields.projection) == "Slant Range") {
    scene.range_sampling_frequency_hz = root.SourcedNumber(kFields.range_sampling_hz);
  } else {
    SetGridRange(grid, root, scene);
  }

  for (const XmlElement& vector : root.Children(kOrbit.list)) {
    const std::string frame = vector.Text("frame");
    if (frame != "Earth Fixed") vector.Fail("\"" + frame + "\" is not \"Earth Fixed\"", "frame");
  }
  scene.orbit = ReadStateVectors(root, kOrbit);
  scene.orbit_interpolation = "localhermite_7_4";
  return scene;
}

}  // namespace quellmark::product
