// Orbit files of Sentinel-1 (EOF). Precise ones appear after three weeks, restituted ones within
// hours.
#include <algorithm>

#include "toolbox/product/missions.h"

namespace quellmark::product {

namespace {

constexpr struct {
  const char* mission = "Earth_Explorer_Header/Fixed_Header/Mission";
  const char* type = "Earth_Explorer_Header/Fixed_Header/File_Type";
  const char* frame = "Earth_Explorer_Header/Variable_Header/Ref_Frame";
} kFields;

constexpr StateVectorFields kOrbit = {
    "Data_Block/List_of_OSVs/OSV", "UTC", {"X", "Y", "Z"}, {"VX", "VY", "VZ"}};

// A usual file has six vectors in this time, more than an interpolation needs.
constexpr double kMargin_s = 60.0;

}  // namespace

Sourced<std::vector<StateVector>> ReadOrbitFile(const std::filesystem::path& path,
                                                const SceneDescription& scene) {
  std::string text = ReadDiskFile(path, kLargestFile);
  const XmlElement root = XmlElement::Parse(path, text);
  if (root.Name() != "Earth_Explorer_File") root.Fail("is no orbit file of Sentinel-1");
  const std::string mission = root.Text(kFields.mission);
  if (mission != scene.mission) {
    root.Fail("the orbit is that of \"" + mission + "\", the product that of " + scene.mission,
              kFields.mission);
  }
  const std::string frame = root.OptionalText(kFields.frame);
  if (!frame.empty() && frame != "EARTH_FIXED") root.Fail("is not EARTH_FIXED", kFields.frame);

  Sourced<std::vector<StateVector>> orbit = ReadStateVectors(root, kOrbit);
  const UtcTime last_line = scene.LastLine();
  const auto covers = [&](const StateVector& a, const StateVector& b) {
    return a.time <= scene.first_line.value && last_line <= b.time;
  };
  if (!covers(orbit.value.front(), orbit.value.back())) {
    root.Fail("the orbit from " + UtcText(orbit.value.front().time) + " to " +
                  UtcText(orbit.value.back().time) + " does not cover the scene from " +
                  UtcText(scene.first_line.value) + " to " + UtcText(last_line),
              kOrbit.list);
  }
  std::erase_if(orbit.value, [&](const StateVector& vector) {
    return SecondsBetween(vector.time, scene.first_line.value) > kMargin_s ||
           SecondsBetween(last_line, vector.time) > kMargin_s;
  });
  if (orbit.value.empty() || !covers(orbit.value.front(), orbit.value.back())) {
    root.Fail("the orbit has a gap of more than a minute beside the scene", kOrbit.list);
  }
  orbit.source = root.Text(kFields.type) + " file " + path.filename().string() + ", " + kOrbit.list;
  return orbit;
}

}  // namespace quellmark::product
