// Inputs and outputs of the whole-image routines as plain vectors.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "imaging/locate.h"

namespace quellmark::test {

/// The state of time i is states[i].
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

  std::vector<double> longitude, latitude, height, incidence, heading, look, x, y, z, velocity, b,
      fm;
  std::vector<imaging::PointStatus> status;
};

struct InImage {
  explicit InImage(std::size_t points)
      : sample(points), line(points), range(points), time(points), status(points) {}
  [[nodiscard]] imaging::ImageOutputs Outputs() { return {sample, line, range, time, status}; }

  std::vector<double> sample, line, range, time;
  std::vector<imaging::PointStatus> status;
};

}  // namespace quellmark::test
