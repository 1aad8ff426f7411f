// What a product's metadata tells about a scene: made by one file per mission, written as a pool.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "toolbox/product/utc_time.h"

namespace quellmark::product {

/// A value with the field that it comes from and what was done to it, which becomes a comment.
template <typename T>
struct Sourced {
  T value{};
  std::string source;
};

/// Where the satellite was; earth-fixed.
struct StateVector {
  UtcTime time;
  std::array<double, 3> position_m{};
  std::array<double, 3> velocity_m_s{};
};

enum class LookSide : std::uint8_t { kRight, kLeft };

/// An image whose line 0 is the earliest and whose sample 0 the nearest, however the product orders
/// its own.
struct SceneDescription {
  std::string mission;    // "Sentinel-1A"
  std::string product;    // what it is, in a few words: mode, level, swath, polarisation, pass
  std::string metadata;   // the file, within the product
  std::string copyright;  // empty if the product names none

  Sourced<UtcTime> first_line;                  // zero-Doppler time of line 0
  Sourced<double> first_range_time_s;           // two-way, of sample 0
  Sourced<double> prf_hz;                       // lines per second of the image
  Sourced<double> range_sampling_frequency_hz;  // samples per second of two-way time
  Sourced<std::int32_t> n_samples;
  Sourced<std::int32_t> n_lines;
  Sourced<LookSide> look_side;
  Sourced<std::optional<double>> local_height_m;  // above the WGS84 ellipsoid
  Sourced<double> radar_frequency_hz;

  Sourced<std::vector<StateVector>> orbit;
  std::string orbit_interpolation;  // as the step's pools name it

  std::vector<std::string> remarks;  // what is approximate, and why; sentences

  /// Zero-Doppler time of the last line.
  [[nodiscard]] UtcTime LastLine() const {
    return Shifted(first_line.value, (n_lines.value - 1) / prf_hz.value);
  }
};

}  // namespace quellmark::product
