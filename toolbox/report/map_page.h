// A picture of where scenes lie.
#pragma once

#include <string>
#include <vector>

#include "toolbox/report/footprint.h"
#include <quellmark/scene.h>

namespace quellmark::report {

/// What the map shows of a scene.
struct MapScene {
  std::string name;
  std::vector<LonLat> outline;  ///< as OutlineOf() gives it, the same number of points on each edge
  LookSide look_side = LookSide::kRight;
  double incidence_near_deg = 0.0;  ///< at the middle line
  double incidence_far_deg = 0.0;
};

/// Locates the outline of a scene. Throws SceneError, OrbitError.
[[nodiscard]] MapScene MapSceneOf(const std::string& name, const Scene& scene);

/// An SVG picture: land, graticule, footprints with first line, flight and look arrows, corner
/// coordinates and incidence from near to far. At least one scene.
[[nodiscard]] std::string MapSvg(const std::vector<MapScene>& scenes);

/// The same as a page with a legend, zoom and pan that needs no network.
[[nodiscard]] std::string MapHtml(const std::vector<MapScene>& scenes);

}  // namespace quellmark::report
