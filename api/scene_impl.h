// What a Scene holds.
#pragma once

#include <functional>

#include "app/sar_scene.h"
#include "imaging/locate.h"
#include <quellmark/scene.h>

namespace quellmark {

struct Scene::Impl {
  /// Takes the values that `core_scene` was made of; `core_orbit` is its orbit.
  Impl(app::SceneParameters values, Orbit core_orbit);

  using LocateMany = std::function<imaging::Summary(const imaging::ImageGeometry& image)>;
  /// The frame of every call for many points: hands the image's geometry to `locate`.
  [[nodiscard]] PointSummary WithImage(const LocateMany& locate) const;

  SAR_SCENE scene;
  SceneParameters parameters;
  Orbit orbit;
};

}  // namespace quellmark
