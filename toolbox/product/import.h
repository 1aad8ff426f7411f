// A scene's parameter pool from the metadata of a radar satellite's product.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <stdexcept>
#include <string>
#include <vector>

#include "toolbox/product/scene_description.h"

namespace quellmark::product {

/// A product that cannot be imported; `what()` is "FILE: FIELD: PROBLEM", without an empty part.
class ImportError : public std::runtime_error {
 public:
  ImportError(std::string file, std::string field, const std::string& problem);

  [[nodiscard]] const std::string& File() const { return file_; }
  /// The path of the element, attribute or data set within the file; may be empty.
  [[nodiscard]] const std::string& Field() const { return field_; }

 private:
  std::string file_;
  std::string field_;
};

struct ImportOptions {
  std::filesystem::path orbit_file;  // of Sentinel-1: in place of the annotation's orbit
  bool smooth_orbit = false;         // positions and velocities replaced by one curve through both
  std::string swath;                 // of a Sentinel-1 product with several: "IW2"
  std::string polarisation;          // "VV"; without it a co-polarised one is taken
};

struct ImportedScene {
  SceneDescription scene;
  /// What to tell the person who asked: what was recognised, chosen, and is approximate.
  std::vector<std::string> notes;
};

/// The scene of the product at `path`: a folder, a zip archive or the main metadata file. The
/// mission is recognised by the content. Reads alone. Throws ImportError.
[[nodiscard]] ImportedScene ImportProduct(const std::filesystem::path& path,
                                          const ImportOptions& options);

/// Writes the pool of `scene`; its comments tell where each value comes from and what is
/// approximate. Throws ImportError for a value that no pool can hold.
void WritePool(const SceneDescription& scene, std::ostream& stream);

}  // namespace quellmark::product
