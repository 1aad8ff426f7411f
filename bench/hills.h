// A DEM of smooth hills: one tile of 1201 x 1201 values of 2 bytes between 9 and 10 degrees east,
// 45 and 46 degrees north, rows from north to south.
#pragma once

#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "dem/dem_descriptor.h"

namespace quellmark::bench {

/// Writes the tile into a new directory, which the destructor removes.
class HillTile {
 public:
  static constexpr int kSize = 1201;      ///< values along each side
  static constexpr int kWest = 9 * 1200;  ///< global indices of the south-west value
  static constexpr int kSouth = 45 * 1200;
  static constexpr double kStep_deg = 1.0 / 1200.0;

  HillTile() {
    std::filesystem::create_directories(directory_);
    std::ofstream file(directory_ / "tile.srf", std::ios::binary);
    for (const std::uint32_t word : {0x59A66A95U, 1201U, 1201U, 16U, 2884802U, 1U, 0U, 0U}) {
      for (int shift = 24; shift >= 0; shift -= 8) file.put(static_cast<char>(word >> shift));
    }
    for (int row = 0; row < kSize; ++row) {
      for (int column = 0; column < kSize; ++column) {
        const auto height = static_cast<std::int16_t>(
            1200.0 + 900.0 * std::sin(column * 0.013) * std::cos(row * 0.017) + 0.2 * column);
        file.write(reinterpret_cast<const char*>(&height), sizeof height);
      }
    }
  }
  HillTile(const HillTile&) = delete;
  HillTile& operator=(const HillTile&) = delete;
  ~HillTile() {
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }

  [[nodiscard]] std::string Path() const { return directory_ / "tile.srf"; }
  [[nodiscard]] DEM_DESCRIPTOR Descriptor() const {
    DEM_DESCRIPTOR d;
    d.directory = STRING(directory_.string() + "/");
    d.file_names = ARRAY<STRING>(0, {"tile.srf"});
    d.has_header = true;
    d.value_type = 2;
    d.y_origin_north = true;
    d.upper_left = ARRAY<TUPLE<int>>(0, {{kWest, kSouth + kSize - 1}});
    d.lower_right = ARRAY<TUPLE<int>>(0, {{kWest + kSize - 1, kSouth}});
    d.special_coding = -32767;
    d.lon_res_deg = d.lat_res_deg = kStep_deg;
    return d;
  }

 private:
  std::filesystem::path directory_ =
      std::filesystem::temp_directory_path() / ("hills." + std::to_string(::getpid()));
};

}  // namespace quellmark::bench
