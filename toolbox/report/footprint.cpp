#include "toolbox/report/footprint.h"

#include <algorithm>
#include <cmath>
#include <string>

#include <quellmark/error.h>

namespace quellmark::report {

namespace {

// Returns twice the area of a ring, positive if it is counterclockwise.
double SignedArea(const std::vector<LonLat>& ring) {
  double area = 0.0;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const LonLat& a = ring[i];
    const LonLat& b = ring[(i + 1) % ring.size()];
    area += a.longitude_deg * b.latitude_deg - b.longitude_deg * a.latitude_deg;
  }
  return area;
}

// Returns the outline with continuous longitudes, which may exceed 180 degrees. An outline around a
// pole ends a whole turn away from its beginning and is extended over that pole.
std::vector<LonLat> Unwrapped(const std::vector<LonLat>& outline) {
  std::vector<LonLat> ring;
  double latitude_sum = 0.0;
  for (const LonLat& point : outline) {
    const double before = ring.empty() ? point.longitude_deg : ring.back().longitude_deg;
    ring.push_back(
        {before + std::remainder(point.longitude_deg - before, 360.0), point.latitude_deg});
    latitude_sum += point.latitude_deg;
  }
  if (ring.empty()) return ring;
  const double end = ring.back().longitude_deg +
                     std::remainder(ring.front().longitude_deg - ring.back().longitude_deg, 360.0);
  const double turn = end - ring.front().longitude_deg;
  if (std::abs(turn) > 180.0) {
    const double pole = std::copysign(90.0, latitude_sum);
    const LonLat front = ring.front();
    ring.push_back({end, front.latitude_deg});
    ring.push_back({end, pole});
    ring.push_back({front.longitude_deg, pole});
  }
  return ring;
}

// Returns the part of a polygon on one side of a meridian (Sutherland and Hodgman's algorithm).
std::vector<LonLat> CutAt(const std::vector<LonLat>& ring, double meridian_deg, bool keeps_east) {
  std::vector<LonLat> kept;
  const auto is_inside = [&](const LonLat& point) {
    return keeps_east ? point.longitude_deg >= meridian_deg : point.longitude_deg <= meridian_deg;
  };
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const LonLat& a = ring[i];
    const LonLat& b = ring[(i + 1) % ring.size()];
    if (is_inside(a)) kept.push_back(a);
    if (is_inside(a) != is_inside(b)) {
      const double part = (meridian_deg - a.longitude_deg) / (b.longitude_deg - a.longitude_deg);
      kept.push_back({meridian_deg, a.latitude_deg + part * (b.latitude_deg - a.latitude_deg)});
    }
  }
  return kept;
}

}  // namespace

std::vector<LonLat> OutlineOf(const Scene& scene, const GroundOptions& options,
                              std::size_t points_per_edge) {
  const double last_sample = scene.Parameters().samples - 1.0;
  const double last_line = scene.Parameters().lines - 1.0;
  const double corners[5][2] = {
      {0.0, 0.0}, {last_sample, 0.0}, {last_sample, last_line}, {0.0, last_line}, {0.0, 0.0}};
  std::vector<double> samples;
  std::vector<double> lines;
  for (std::size_t edge = 0; edge < 4; ++edge) {
    for (std::size_t i = 0; i < points_per_edge; ++i) {
      const double part = static_cast<double>(i) / static_cast<double>(points_per_edge);
      samples.push_back(std::lerp(corners[edge][0], corners[edge + 1][0], part));
      lines.push_back(std::lerp(corners[edge][1], corners[edge + 1][1], part));
    }
  }
  std::vector<double> longitudes(samples.size());
  std::vector<double> latitudes(samples.size());
  std::vector<PointStatus> status(samples.size());
  GroundPoints points;
  points.longitude_deg = longitudes;
  points.latitude_deg = latitudes;
  points.status = status;
  static_cast<void>(scene.ImageToGround(samples, lines, points, options));
  std::vector<LonLat> outline;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (std::isnan(longitudes[i])) {
      throw SceneError("the outline can not be located at sample " + std::to_string(samples[i]) +
                           ", line " + std::to_string(lines[i]) + ": " +
                           std::string(TextOf(status[i])),
                       {});
    }
    outline.push_back({longitudes[i], latitudes[i]});
  }
  return outline;
}

std::vector<Ring> PolygonsOf(const std::vector<LonLat>& outline) {
  std::vector<LonLat> ring = Unwrapped(outline);
  std::vector<Ring> polygons;
  if (ring.size() < 3) return polygons;
  if (SignedArea(ring) < 0.0) std::reverse(ring.begin(), ring.end());
  const auto [west, east] = std::minmax_element(
      ring.begin(), ring.end(),
      [](const LonLat& a, const LonLat& b) { return a.longitude_deg < b.longitude_deg; });
  const double first_turn = std::floor((west->longitude_deg + 180.0) / 360.0);
  const double last_turn = std::floor((east->longitude_deg + 180.0) / 360.0);
  for (double turn = first_turn; turn <= last_turn; turn += 1.0) {
    const double shift = 360.0 * turn;
    Ring part = CutAt(CutAt(ring, shift - 180.0, true), shift + 180.0, false);
    if (part.size() < 3 || SignedArea(part) == 0.0) continue;
    for (LonLat& point : part) point.longitude_deg -= shift;
    part.push_back(part.front());
    polygons.push_back(std::move(part));
  }
  return polygons;
}

}  // namespace quellmark::report
