// The missions: a file each, all with the same two functions. A further mission is one more file
// and one more row in import.cpp.
#pragma once

#include "toolbox/product/import.h"
#include "toolbox/product/product_files.h"
#include "toolbox/product/scene_description.h"
#include "toolbox/product/xml_element.h"

namespace quellmark::product {

/// A mission whose metadata are XML.
struct XmlMission {
  /// Whether the document element is one of the mission's main metadata, judged by what it says;
  /// of the document maybe only its beginning is there.
  bool (*recognises)(const XmlElement& root);
  /// The scene; `files` and `name` lead to what lies beside the document. Throws ImportError.
  /// Orbit, numbers and their plausibility are looked at by the caller.
  SceneDescription (*read)(const XmlElement& root, const ProductFiles& files,
                           const std::string& name);
};

[[nodiscard]] bool IsSentinel1(const XmlElement& root);
[[nodiscard]] SceneDescription ReadSentinel1(const XmlElement& root, const ProductFiles& files,
                                             const std::string& name);

/// What tells the images of a Sentinel-1 product apart.
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

/// NISAR's products are HDF5 files. Throws ImportError also where HDF5 was not there at build time.
[[nodiscard]] SceneDescription ReadNisar(const std::filesystem::path& path);

/// The state vectors of a Sentinel-1 orbit file (precise or restituted) around the scene: one
/// minute more on both sides. Throws ImportError if the file is of another satellite or does not
/// cover it.
[[nodiscard]] Sourced<std::vector<StateVector>> ReadOrbitFile(const std::filesystem::path& path,
                                                              const SceneDescription& scene);

}  // namespace quellmark::product
