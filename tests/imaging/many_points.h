// Inputs and outputs of the whole-image routines as plain vectors.
#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "imaging/locate.h"
#include "tests/geolocation/geometry.h"

namespace quellmark::test {

/// A source whose state at time i is states[i].
class ListedStates final : public imaging::StateSource {
 public:
  std::vector<imaging::SensorState> states;

  void StatesAt(std::span<const double> times_s,
                std::span<imaging::SensorState> out) const override {
    for (std::size_t i = 0; i < times_s.size(); ++i) {
      out[i] = states.at(static_cast<std::size_t>(times_s[i]));
    }
  }
  [[nodiscard]] imaging::TimeInterval Covered() const override {
    return {0.0, static_cast<double>(states.size()) - 1.0};
  }
};

/// A circular orbit over a longitude and latitude, with the image's line 0 at time 0.
class CircularStates final : public imaging::StateSource {
 public:
  explicit CircularStates(const Geometry& g)
      : position_(g.sat_pos), velocity_(g.sat_vel), omega_(Length(g.sat_vel) / Length(g.sat_pos)) {}
  void StatesAt(std::span<const double> times_s,
                std::span<imaging::SensorState> out) const override {
    for (std::size_t i = 0; i < times_s.size(); ++i) {
      const double c = std::cos(omega_ * times_s[i]), s = std::sin(omega_ * times_s[i]);
      out[i] = {c * position_ + (s / omega_) * velocity_, c * velocity_ - (s * omega_) * position_,
                (-omega_ * omega_ * c) * position_ - (s * omega_) * velocity_};
    }
  }
  [[nodiscard]] imaging::TimeInterval Covered() const override { return {-300.0, 300.0}; }

 private:
  VECTOR_3D<double> position_, velocity_;
  double omega_;
};

/// An image whose middle is at this longitude and latitude, seen at this bearing and incidence
/// [deg] to the right of the sensor. A left-looking image shows another place.
struct View {
  View(double longitude, double latitude, double bearing, double incidence,
       imaging::LookSide side = imaging::LookSide::kRight)
      : geometry(MakeGeometry(longitude * kDegree, latitude * kDegree, bearing * kDegree,
                              incidence * kDegree)),
        states(geometry) {
    image = {.first_range_time_s = geometry.fast_time - 1.5e-5,
             .range_sampling_frequency_hz = 1e7,
             .prf_hz = 500.0,
             .n_samples = 300,
             .n_lines = 1000,
             .look_side = side,
             .radar_frequency_hz = 5.4e9,
             .states = &states};
  }
  Geometry geometry;
  CircularStates states;
  imaging::ImageGeometry image;
};

/// All outputs of a call.
struct Ground {
  explicit Ground(std::size_t points)
      : longitude(points),
        latitude(points),
        height(points),
        incidence(points),
        heading(points),
        look(points),
        x(points),
        y(points),
        z(points),
        velocity(points),
        b(points),
        fm(points),
        status(points) {}
  [[nodiscard]] imaging::GroundOutputs Outputs() {
    return {longitude, latitude, height,   incidence, heading, look,  x,
            y,         z,        velocity, b,         fm,      status};
  }
  [[nodiscard]] VECTOR_3D<double> Position(std::size_t i) const { return {x[i], y[i], z[i]}; }
  /// Whether point i and point j of `other` have the same bits.
  [[nodiscard]] bool SameBits(std::size_t i, const Ground& other, std::size_t j) const {
    const auto same = [i, j](const std::vector<double>& mine, const std::vector<double>& theirs) {
      return std::bit_cast<std::uint64_t>(mine[i]) == std::bit_cast<std::uint64_t>(theirs[j]);
    };
    return status[i] == other.status[j] && same(longitude, other.longitude) &&
           same(latitude, other.latitude) && same(height, other.height) &&
           same(incidence, other.incidence) && same(heading, other.heading) &&
           same(look, other.look) && same(x, other.x) && same(y, other.y) && same(z, other.z) &&
           same(velocity, other.velocity) && same(b, other.b) && same(fm, other.fm);
  }
  [[nodiscard]] bool operator==(const Ground& other) const {
    bool same = true;
    for (std::size_t i = 0; i < status.size(); ++i) same = same && SameBits(i, other, i);
    return same;
  }

  std::vector<double> longitude, latitude, height, incidence, heading, look, x, y, z, velocity, b,
      fm;
  std::vector<imaging::PointStatus> status;
};

struct InImage {
  explicit InImage(std::size_t points)
      : sample(points), line(points), range(points), time(points), status(points) {}
  [[nodiscard]] imaging::ImageOutputs Outputs() { return {sample, line, range, time, status}; }

  [[nodiscard]] bool operator==(const InImage& other) const {
    const auto same = [](const std::vector<double>& a, const std::vector<double>& b) {
      return std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
    };
    return status == other.status && same(sample, other.sample) && same(line, other.line) &&
           same(range, other.range) && same(time, other.time);
  }

  std::vector<double> sample, line, range, time;
  std::vector<imaging::PointStatus> status;
};

}  // namespace quellmark::test
