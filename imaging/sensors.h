// Computes the sensor's states at the times of a batch.
#pragma once

#include <array>
#include <optional>
#include <span>

#include "imaging/image_geometry.h"
#include "imaging/kernel.h"

namespace quellmark::imaging {

/// Gets the states for batches of times from a source, by its polynomials if it has any.
class SensorBatch {
 public:
  SensorBatch(const StateSource& source, const Kernel& kernel)
      : source_(source), kernel_(kernel), polynomials_(source.Polynomials()) {}

  /// Sets the first states, one for each time. There is one time or kLanes times, all finite.
  void Load(std::span<const double> times_s, LaneStates& states);

 private:
  /// Finds the polynomials of the times. Returns whether all have the same one.
  bool FindRows(std::span<const double> times_s);

  const StateSource& source_;
  const Kernel& kernel_;
  std::optional<StatePolynomials> polynomials_;
  LaneTimes lane_times_{};
  std::array<SensorState, kLanes> raw_{};
};

}  // namespace quellmark::imaging
