// Takes any bytes as a descriptor and, after the first NUL, as its tile "t". If the tile can be
// mapped, the mapping and the file must have the same heights and refuse the same points.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "basic/errors.h"
#include "dem/srf_document.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/files.h"

namespace {

using quellmark::test::Check;
using quellmark::test::TempDir;
using quellmark::test::TextOf;
using quellmark::test::WriteFile;

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
  static const TempDir directory;
  const std::string_view bytes = TextOf(data, size);
  const std::size_t end = std::min(bytes.find('\0'), bytes.size());
  WriteFile(directory / "d", bytes.substr(0, end));
  WriteFile(directory / "t", bytes.substr(std::min(end + 1, bytes.size())));
  try {
    const DEM_DESCRIPTOR descriptor = DEM_DESCRIPTOR::ReadFromFile(directory / "d");
    auto mapped = Open(descriptor, true);
    auto file = Open(descriptor, false);
    if (mapped) Check(file.has_value());
    if (mapped && file) Compare(*mapped, *file);
  } catch (const ERROR_EXCEPTION&) {
  }
  return 0;
}
