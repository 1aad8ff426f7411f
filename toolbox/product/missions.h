// The missions. Each is one file with the same two functions. A new mission needs one more file and
// one more row in import.cpp.
#pragma once

#include "toolbox/product/import.h"
#include "toolbox/product/product_files.h"
#include "toolbox/product/scene_description.h"
#include "toolbox/product/xml_element.h"

namespace quellmark::product {

/// A mission whose metadata are XML.
struct XmlMission {
  /// Whether the document element, by its content, belongs to the mission's main metadata. The
  /// document may be cut after its beginning.
  bool (*recognises)(const XmlElement& root);
  /// Returns the scene. `files` and `name` lead to the files beside the document. Throws
  /// ImportError. The caller checks the orbit, and whether the numbers are plausible.
  SceneDescription (*read)(const XmlElement& root, const ProductFiles& files,
                           const std::string& name);
};

[[nodiscard]] bool IsSentinel1(const XmlElement& root);
[[nodiscard]] SceneDescription ReadSentinel1(const XmlElement& root, const ProductFiles& files,
                                             const std::string& name);

/// The properties that distinguish the images of a Sentinel-1 product.
struct Sentinel1Image {
  std::string swath;         // "IW1"
  std::string polarisation;  // "VV"
};
[[nodiscard]] Sentinel1Image Sentinel1ImageOf(const XmlElement& root);

[[nodiscard]] bool IsTerraSar(const XmlElement& root);
[[nodiscard]] SceneDescription ReadTerraSar(const XmlElement& root, const ProductFiles& files,
                                            const std::string& name);

[[nodiscard]] bool IsRadarsat(const XmlElement& root);
[[nodiscard]] SceneDescription ReadRadarsat(const XmlElement& root, const ProductFiles& files,
                                            const std::string& name);

[[nodiscard]] bool IsIceye(const XmlElement& root);
[[nodiscard]] SceneDescription ReadIceye(const XmlElement& root, const ProductFiles& files,
                                         const std::string& name);

/// Reads NISAR's products, which are HDF5 files. Throws ImportError, also if the program was built
/// without HDF5.
[[nodiscard]] SceneDescription ReadNisar(const std::filesystem::path& path);

/// Returns the state vectors of a Sentinel-1 orbit file (precise or restituted) from one minute
/// before the scene to one minute after it. Throws ImportError if the file belongs to another
/// satellite or does not cover the scene.
[[nodiscard]] Sourced<std::vector<StateVector>> ReadOrbitFile(const std::filesystem::path& path,
                                                              const SceneDescription& scene);

}  // namespace quellmark::product
