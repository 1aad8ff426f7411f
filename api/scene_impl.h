// The data of a Scene.
#pragma once

#include <functional>

#include "app/sar_scene.h"
#include "imaging/locate.h"
#include <quellmark/scene.h>

namespace quellmark {

struct Scene::Impl {
  /// Takes over the values of a scene and its orbit.
  Impl(app::SceneParameters values, Orbit core_orbit);

  using LocateMany = std::function<imaging::Summary(const imaging::ImageGeometry& image)>;
  /// Encloses every call for many points: passes the image's geometry to `locate`.
  [[nodiscard]] PointSummary WithImage(const LocateMany& locate) const;

  SAR_SCENE scene;
  SceneParameters parameters;
  Orbit orbit;
};

}  // namespace quellmark
