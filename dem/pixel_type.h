// The types a raster value can have, with the codes that DEM descriptors give them.
#pragma once

#include <array>
#include <string_view>

namespace quellmark::dem {

struct PixelType {
  short code;
  int size_bytes;
  std::string_view name;
};

inline constexpr short kPixelInt2 = 2;
inline constexpr short kPixelInt4 = 3;
inline constexpr short kPixelFloat4 = 5;

inline constexpr std::array<PixelType, 3> kPixelTypes = {{
    {kPixelInt2, 2, "INT_2"},
    {kPixelInt4, 4, "INT_4"},
    {kPixelFloat4, 4, "FLT_4"},
}};

/// Returns the row of a code; null for an unknown code.
[[nodiscard]] constexpr const PixelType* FindPixelType(int code) {
  for (const PixelType& type : kPixelTypes) {
    if (type.code == code) return &type;
  }
  return nullptr;
}

}  // namespace quellmark::dem
