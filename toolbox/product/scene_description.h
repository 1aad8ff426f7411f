// The description of a scene, which the missions' readers make and which is written as a pool.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "toolbox/product/utc_time.h"

namespace quellmark::product {

/// A value with a text about the field that it comes from and its conversion. The text becomes a
/// comment.
template <typename T>
struct Sourced {
  T value{};
  std::string source;
};

/// The state of the satellite at one time, earth-fixed.
struct StateVector {
  UtcTime time;
  std::array<double, 3> position_m{};
  std::array<double, 3> velocity_m_s{};
};

enum class LookSide : std::uint8_t { kRight, kLeft };

/// An image whose line 0 is the earliest and whose sample 0 is the nearest, for any order in the
/// product.
struct SceneDescription {
  std::string mission;    // "Sentinel-1A"
  std::string product;    // in a few words: mode, level, swath, polarisation, pass
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
  std::string orbit_interpolation;  // as in "orbit_interpolation"

  std::vector<std::string> remarks;  // sentences: what is approximate, and why

  /// Zero-Doppler time of the last line.
  [[nodiscard]] UtcTime LastLine() const {
    return Shifted(first_line.value, (n_lines.value - 1) / prf_hz.value);
  }
};

}  // namespace quellmark::product
