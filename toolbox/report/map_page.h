// Draws scenes on a map.
#pragma once

#include <string>
#include <vector>

#include "toolbox/report/footprint.h"
#include <quellmark/scene.h>

namespace quellmark::report {

/// The data of a scene for the map.
struct MapScene {
  std::string name;
  std::vector<LonLat> outline;  ///< from OutlineOf(), with the same number of points on each edge
  LookSide look_side = LookSide::kRight;
  double incidence_near_deg = 0.0;  ///< at the middle line
  double incidence_far_deg = 0.0;
};

/// Locates the outline of a scene. Throws SceneError, OrbitError.
[[nodiscard]] MapScene MapSceneOf(const std::string& name, const Scene& scene);

/// Returns an SVG picture with land, graticule, and footprints with first line, flight and look
/// arrows, corner coordinates and incidence from near to far. Needs at least one scene.
[[nodiscard]] std::string MapSvg(const std::vector<MapScene>& scenes);

/// Returns the same as a page with a legend, zoom and pan. The page needs no network.
[[nodiscard]] std::string MapHtml(const std::vector<MapScene>& scenes);

}  // namespace quellmark::report
