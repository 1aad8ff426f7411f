// Outlines of scenes on the ground.
#pragma once

#include <cstddef>
#include <vector>

#include <quellmark/scene.h>

namespace quellmark::report {

/// A place in degrees, with longitude in [-180, 180].
struct LonLat {
  double longitude_deg = 0.0;
  double latitude_deg = 0.0;
};

/// A closed line: its last point equals its first one.
using Ring = std::vector<LonLat>;

/// Returns the outline of the image with `points_per_edge` points on each of its four edges, in the
/// order first line, far range, last line backwards, near range backwards. It is not closed. Throws
/// SceneError if a point cannot be located.
[[nodiscard]] std::vector<LonLat> OutlineOf(const Scene& scene, const GroundOptions& options = {},
                                            std::size_t points_per_edge = 25);

/// Returns the outline as polygons of one ring each, counterclockwise and cut at the antimeridian
/// (RFC 7946, section 3.1.9). An outline around a pole is closed along the antimeridian.
[[nodiscard]] std::vector<Ring> PolygonsOf(const std::vector<LonLat>& outline);

}  // namespace quellmark::report
