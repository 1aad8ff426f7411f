// Makes a scene's parameter pool from the metadata of a radar satellite's product.
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
  std::filesystem::path orbit_file;  // for Sentinel-1: replaces the annotation's orbit
  bool smooth_orbit = false;  // replaces the orbit by a curve through positions and velocities
  std::string swath;          // such as "IW2", for a Sentinel-1 product with several
  std::string polarisation;   // such as "VV"; by default a co-polarised one
};

struct ImportedScene {
  SceneDescription scene;
  /// Notes for the user: what was recognised and chosen, and what is approximate.
  std::vector<std::string> notes;
};

/// Returns the scene of the product at `path`: a folder, a zip archive or the main metadata file.
/// Recognises the mission by the content. Changes no file. Throws ImportError.
[[nodiscard]] ImportedScene ImportProduct(const std::filesystem::path& path,
                                          const ImportOptions& options);

/// Writes the pool of `scene`. Its comments say where each value comes from and what is
/// approximate. Throws ImportError for a value that no pool can hold.
void WritePool(const SceneDescription& scene, std::ostream& stream);

}  // namespace quellmark::product
