// Any bytes as a descriptor and, behind the first NUL, as its tile "t". Where the tile can be
// mapped, the mapping and the file must give the same heights, or refuse the same points.
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

#include "basic/errors.h"
#include "dem/srf_document.h"
#include "runtime/log.h"

namespace {

void Check(bool holds) {
  if (!holds) std::abort();
}

// Goes away with the process.
class Directory {
 public:
  Directory() { Check(::mkdtemp(path_.data()) != nullptr); }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;
  ~Directory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  [[nodiscard]] std::string Write(const char* name, std::string_view bytes) const {
    const std::string path = path_ + "/" + name;
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    return path;
  }

 private:
  std::string path_ = std::filesystem::temp_directory_path() / "dem_fuzz.XXXXXX";
};

std::optional<SRF_DOCUMENT> Open(const DEM_DESCRIPTOR& descriptor, bool fast) {
  try {
    return SRF_DOCUMENT(descriptor, fast);
  } catch (const ERROR_EXCEPTION&) {
    return {};
  }
}

std::optional<double> HeightAt(SRF_DOCUMENT& document, double longitude, double latitude) {
  try {
    return document.GetElevationInterpolated(longitude, latitude);
  } catch (const ERROR_EXCEPTION&) {
    return {};
  }
}

void Compare(SRF_DOCUMENT& mapped, SRF_DOCUMENT& file) {
  const DEM_DESCRIPTOR& d = file.Descriptor();
  const auto corner = [](const ARRAY<TUPLE<int>>& corners, int otherwise) {
    const TUPLE<int> none(otherwise, otherwise);
    return corners.Length() > 0 ? corners[corners.First()] : none;
  };
  const TUPLE<int> upper_left = corner(d.upper_left, -1);
  const TUPLE<int> lower_right = corner(d.lower_right, 1);
  for (const int column : {upper_left.First(), lower_right.First(), file.LongitudeBounds().max}) {
    for (const int row : {lower_right.Second(), upper_left.Second(), file.LatitudeBounds().max}) {
      for (const double shift : {-1.75, -0.5, 0.0, 0.5, 1.25}) {
        const double longitude = (column + shift) * d.lon_res_deg;
        const double latitude = (row + shift) * d.lat_res_deg;
        const auto from_mapping = HeightAt(mapped, longitude, latitude);
        const auto from_file = HeightAt(file, longitude, latitude);
        if (!mapped.IsFast()) continue;
        Check(from_mapping.has_value() == from_file.has_value());
        Check(!from_file || std::abs(*from_mapping - *from_file) < 1e-6);
      }
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Directory directory;
  LOG& log = quellmark::runtime::Log();
  log.SetScreenThreshold(LOG::Level::kSilent);
  log.SetFileThreshold(LOG::Level::kSilent);
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::size_t end = std::min(bytes.find('\0'), bytes.size());
  const std::string path = directory.Write("d", bytes.substr(0, end));
  static_cast<void>(directory.Write("t", bytes.substr(std::min(end + 1, bytes.size()))));
  try {
    const DEM_DESCRIPTOR descriptor = DEM_DESCRIPTOR::ReadFromFile(path);
    auto mapped = Open(descriptor, true);
    auto file = Open(descriptor, false);
    if (mapped) Check(file.has_value());
    if (mapped && file) Compare(*mapped, *file);
  } catch (const ERROR_EXCEPTION&) {
  }
  return 0;
}
