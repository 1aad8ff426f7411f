#include "toolbox/product/import.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <optional>
#include <set>
#include <string_view>

#include "toolbox/product/ground_range.h"
#include "toolbox/product/missions.h"
#include "toolbox/product/number_text.h"
#include "toolbox/product/orbit_fit.h"

namespace quellmark::product {

namespace {

constexpr XmlMission kSentinel1 = {IsSentinel1, ReadSentinel1};
constexpr std::array kXmlMissions = {
    kSentinel1,
    XmlMission{IsTerraSar, ReadTerraSar},
    XmlMission{IsRadarsat, ReadRadarsat},
    XmlMission{IsIceye, ReadIceye},
};
constexpr const char* kKnownMissions =
    "Sentinel-1, TerraSAR-X, TanDEM-X, PAZ, RCM, RADARSAT-2, ICEYE and NISAR";

std::string Upper(std::string text) {
  for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return text;
}

bool IsHdf5(const std::string& head) { return head.starts_with("\x89HDF\r\n\x1a\n"); }

// The main metadata of one image in a product.
struct Metadata {
  std::string name;
  const XmlMission* mission = nullptr;  // null for HDF5
  Sentinel1Image image;                 // for Sentinel-1 only
};

// Recognises the file `name` by its beginning.
std::optional<Metadata> Recognised(const ProductFiles& files, const std::string& name) {
  constexpr std::size_t kHead = std::size_t{1} << 18U;
  const std::string head = files.Head(name, kHead);
  if (IsHdf5(head)) return Metadata{name, nullptr, {}};
  if (head.find('<') == std::string::npos) return {};
  std::optional<XmlElement> root;
  try {
    root = XmlElement::Parse(files.Label(name), head, true);
  } catch (const ImportError&) {
    return {};  // it has no element, so it is not the metadata
  }
  for (const XmlMission& mission : kXmlMissions) {
    if (!mission.recognises(*root)) continue;
    if (mission.read != kSentinel1.read) return Metadata{name, &mission, {}};
    return Metadata{name, &mission, Sentinel1ImageOf(*root)};
  }
  return {};
}

// Returns the images of the product. If the mission has one image per product, returns the first
// one found.
std::vector<Metadata> FindMetadata(const ProductFiles& files, const std::string& path) {
  std::vector<Metadata> found;
  const std::vector<std::string> candidates = files.Candidates();
  for (const std::string& name : candidates) {
    const auto metadata = Recognised(files, name);
    if (!metadata) continue;
    found.push_back(*metadata);
    if (metadata->image.swath.empty()) break;
  }
  if (!found.empty()) return found;
  if (candidates.size() != 1) {
    throw ImportError(path, "", std::string("holds no metadata of ") + kKnownMissions);
  }
  const std::string& only = candidates.front();
  const XmlElement root = XmlElement::Parse(files.Label(only), files.Read(only));
  throw ImportError(files.Label(only), std::string(root.Name().substr(0, 60)),
                    std::string("is not the metadata of ") + kKnownMissions);
}

std::string Listed(const std::set<std::string>& words) {
  std::string list;
  for (const std::string& word : words) list += (list.empty() ? "" : ", ") + word;
  return list;
}

// Keeps only the images whose `member` is `wanted`.
void Keep(std::string Sentinel1Image::*member, const std::string& wanted, const char* what,
          const std::string& path, std::vector<Metadata>& images) {
  std::set<std::string> present;
  for (const Metadata& image : images) present.insert(image.image.*member);
  std::erase_if(images,
                [&](const Metadata& image) { return Upper(image.image.*member) != Upper(wanted); });
  if (images.empty()) {
    throw ImportError(path, "",
                      "has no " + std::string(what) + " " + wanted + ", but " + Listed(present));
  }
}

// Returns one of the images. Images of one swath in several polarisations have the same geometry,
// so any of them will do; images of different swaths do not.
Metadata Chosen(std::vector<Metadata> images, const ImportOptions& options, const std::string& path,
                std::vector<std::string>& notes) {
  const bool is_choice = !images.front().image.swath.empty();
  if (!is_choice && !(options.swath.empty() && options.polarisation.empty())) {
    throw ImportError(path, "",
                      "has one image: swath and polarisation are chosen in Sentinel-1 products");
  }
  if (!is_choice) return images.front();
  if (!options.swath.empty()) {
    Keep(&Sentinel1Image::swath, options.swath, "swath", path, images);
  }
  if (!options.polarisation.empty()) {
    Keep(&Sentinel1Image::polarisation, options.polarisation, "polarisation", path, images);
  }
  std::set<std::string> swaths;
  for (const Metadata& image : images) swaths.insert(image.image.swath);
  if (swaths.size() > 1) {
    throw ImportError(path, "", "has several swaths; choose one of " + Listed(swaths));
  }
  const auto is_co_polarised = [](const Metadata& image) {
    return image.image.polarisation == "VV" || image.image.polarisation == "HH";
  };
  const auto best = std::ranges::find_if(images, is_co_polarised);
  const Metadata& chosen = best == images.end() ? images.front() : *best;
  if (images.size() > 1) {
    notes.push_back("Polarisation " + chosen.image.polarisation + " of " +
                    std::to_string(images.size()) + " is taken; they share their geometry.");
  }
  return chosen;
}

void CheckWithin(const std::string& file, const std::string& source, double value, double least,
                 double most, const char* unit) {
  if (value >= least && value <= most) return;
  throw ImportError(file, source,
                    Significant(value, 9) + ' ' + unit + " is not between " +
                        Significant(least, 6) + " and " + Significant(most, 6));
}

// Refuses numbers that no radar satellite has, because a product with such numbers is faulty.
void CheckNumbers(const SceneDescription& scene, const std::string& file) {
  const auto check = [&](const Sourced<double>& number, double least, double most,
                         const char* unit) {
    CheckWithin(file, number.source, number.value, least, most, unit);
  };
  check(scene.first_range_time_s, 1e-3, 0.1, "s");
  check(scene.prf_hz, 1.0, 1e6, "Hz");
  check(scene.range_sampling_frequency_hz, 1e4, 1e11, "Hz");
  check(scene.radar_frequency_hz, 1e8, 1e11, "Hz");
  if (scene.local_height_m.value) {
    CheckWithin(file, scene.local_height_m.source, *scene.local_height_m.value, -1e3, 1e4, "m");
  }
}

void CheckOrbit(const SceneDescription& scene, const std::string& file) {
  const std::vector<StateVector>& orbit = scene.orbit.value;
  const std::string& source = scene.orbit.source;
  if (orbit.size() < 2) throw ImportError(file, source, "has fewer than two state vectors");
  for (std::size_t i = 0; i < orbit.size(); ++i) {
    const std::string field = source + '[' + std::to_string(i + 1) + ']';
    const auto length = [](const std::array<double, 3>& v) { return std::hypot(v[0], v[1], v[2]); };
    CheckWithin(file, field, length(orbit[i].position_m), 6.4e6, 1e8, "m from the earth's centre");
    CheckWithin(file, field, length(orbit[i].velocity_m_s), 1e2, 2e4, "m/s");
    if (i > 0 && SecondsBetween(orbit[i - 1].time, orbit[i].time) < 1e-3) {
      throw ImportError(file, field, "is not later than the one before");
    }
  }
  if (const auto midnight = InsertedSecondBetween(orbit.front().time, orbit.back().time)) {
    throw ImportError(file, source,
                      "goes across " + UtcText(*midnight) +
                          ", where a second was inserted or is counted: the step's seconds would "
                          "not be those of the satellite");
  }
}

// Returns how far, in metres, the step's points are off because of the orbit's noise. After an
// interpolation, an error of the velocity turns the line of sight. The noise of neighbouring
// positions, divided by the time between them, acts like noise of the velocity.
double LocationError(const SceneDescription& scene, const OrbitFit& fit) {
  const std::vector<StateVector>& orbit = scene.orbit.value;
  const double spacing_s =
      SecondsBetween(orbit.front().time, orbit.back().time) / static_cast<double>(orbit.size() - 1);
  const auto& v = orbit.front().velocity_m_s;
  const double range_m = 0.5 * kSpeedOfLight_m_s *
                         (scene.first_range_time_s.value +
                          scene.n_samples.value / scene.range_sampling_frequency_hz.value);
  return range_m / std::hypot(v[0], v[1], v[2]) *
         std::hypot(fit.velocity_misfit_m_s, 2.0 * fit.position_misfit_m / spacing_s);
}

// Returns the state vectors that matter for the scene. Smoothing needs the vectors of some minutes,
// so that the noise averages out. The judgement needs only those that an interpolation uses.
std::vector<StateVector> Near(const SceneDescription& scene, bool is_to_smooth) {
  constexpr double kMargin_s = 300.0;
  constexpr std::ptrdiff_t kBeyond = 4;
  const std::vector<StateVector>& orbit = scene.orbit.value;
  const double margin_s = is_to_smooth ? kMargin_s : 0.0;
  auto first = std::ranges::upper_bound(orbit, Shifted(scene.first_line.value, -margin_s), {},
                                        &StateVector::time);
  auto end =
      std::ranges::lower_bound(orbit, Shifted(scene.LastLine(), margin_s), {}, &StateVector::time);
  first -= std::min(kBeyond, first - orbit.begin());
  end += std::min(kBeyond, orbit.end() - end);
  return {first, end};
}

// Remarks how well positions and velocities agree, and replaces the orbit if the options request
// it.
void JudgeOrbit(const ImportOptions& options, const std::string& file, SceneDescription& scene) {
  constexpr double kNoisy_m = 5.0;
  const auto fit = FitOrbit(Near(scene, options.smooth_orbit));
  if (!fit && options.smooth_orbit) {
    throw ImportError(file, scene.orbit.source, "no smooth orbit is near these state vectors");
  }
  if (!fit) return;
  const std::string misfit = Significant(fit->position_misfit_m, 3) + " m and velocities by " +
                             Significant(fit->velocity_misfit_m_s, 2) + " m/s";
  const double location_m = LocationError(scene, *fit);
  if (options.smooth_orbit) {
    scene.orbit.value = fit->smoothed;
    scene.orbit.source += ", smoothed";
    scene.remarks.push_back(
        "State vectors are replaced by those of one curve through positions and velocities (an arc "
        "under the earth's gravity, corrections of degree " +
        std::to_string(fit->degree) + "): positions scatter about it by " + misfit +
        ", at most by " + Significant(fit->largest_misfit_m, 3) + " m.");
  } else if (location_m > kNoisy_m) {
    scene.remarks.push_back("NOISY ORBIT: positions scatter by " + misfit +
                            " about one smooth orbit; points may be located " +
                            Fixed(location_m, 0) + " m off along the track. Use --smooth-orbit.");
  } else {
    scene.remarks.push_back("Orbit: positions differ by " + misfit + " from one smooth orbit.");
  }
}

// Remarks by how many seconds the scene exceeds its orbit.
void RemarkCoverage(SceneDescription& scene) {
  const double before_s = SecondsBetween(scene.first_line.value, scene.orbit.value.front().time);
  const double behind_s = SecondsBetween(scene.orbit.value.back().time, scene.LastLine());
  if (before_s > 0.0) {
    scene.remarks.push_back("NOT COVERED: the first line is " + Fixed(before_s, 3) +
                            " s before the orbit.");
  }
  if (behind_s > 0.0) {
    scene.remarks.push_back("NOT COVERED: the last line is " + Fixed(behind_s, 3) +
                            " s behind the orbit.");
  }
}

SceneDescription ReadScene(const ProductFiles& files, const Metadata& metadata) {
  if (metadata.mission == nullptr) {
    const std::filesystem::path on_disk = files.DiskPath(metadata.name);
    if (on_disk.empty()) {
      throw ImportError(files.Label(metadata.name), "", "HDF5 is not read out of an archive");
    }
    return ReadNisar(on_disk);
  }
  const XmlElement root = XmlElement::Parse(files.Label(metadata.name), files.Read(metadata.name));
  return metadata.mission->read(root, files, metadata.name);
}

}  // namespace

ImportedScene ImportProduct(const std::filesystem::path& path, const ImportOptions& options) {
  ImportedScene imported;
  SceneDescription& scene = imported.scene;
  const std::unique_ptr<ProductFiles> files = OpenProductFiles(path);
  const Metadata metadata = Chosen(FindMetadata(*files, path), options, path, imported.notes);
  const std::string label = files->Label(metadata.name);
  scene = ReadScene(*files, metadata);
  scene.metadata = metadata.name;
  CheckNumbers(scene, label);

  std::string orbit_label = label;
  if (!options.orbit_file.empty()) {
    if (metadata.mission == nullptr || metadata.mission->read != kSentinel1.read) {
      throw ImportError(options.orbit_file, "", "orbit files are read for Sentinel-1 alone");
    }
    scene.orbit = ReadOrbitFile(options.orbit_file, scene);
    orbit_label = options.orbit_file;
  }
  CheckOrbit(scene, orbit_label);
  JudgeOrbit(options, orbit_label, scene);
  RemarkCoverage(scene);
  imported.notes.insert(imported.notes.begin(),
                        scene.mission + ", " + scene.product + ": " + label);
  imported.notes.insert(imported.notes.end(), scene.remarks.begin(), scene.remarks.end());
  return imported;
}

}  // namespace quellmark::product
