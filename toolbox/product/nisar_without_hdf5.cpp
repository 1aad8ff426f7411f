// Replaces nisar.cpp if the HDF5 library is missing.
#include "toolbox/product/missions.h"

namespace quellmark::product {

SceneDescription ReadNisar(const std::filesystem::path& path) {
  throw ImportError(path, "", "this program was built without HDF5, which NISAR products need");
}

}  // namespace quellmark::product
