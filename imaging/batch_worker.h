// The common part of image to ground and ground to image: the work on one batch of points.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>

#include "imaging/kernel.h"
#include "imaging/point_status.h"

namespace quellmark::imaging {

/// Whether the outputs of a point are numbers; otherwise they are NaN.
[[nodiscard]] constexpr bool HasNumbers(PointStatus status) {
  return status <= PointStatus::kNoTerrain;
}

/// The current batch, and its copying to the outputs. Way::ForOutputs(put) calls put(span, lanes)
/// for each output. Way::StatusOutput() returns the output for the status.
template <class Way>
class BatchWorker {
 public:
  using Count = std::array<std::uint64_t, kPointStatusCount>;

  /// Marks points as not computed.
  void Skip(std::uint64_t first, std::uint64_t last, Count& count) {
    ForBatches(first, last, count, [this] { status_.fill(PointStatus::kNotComputed); });
  }

 protected:
  /// For each batch, calls compute(), which sets the status of the lanes, and then stores the
  /// batch.
  template <class Compute>
  void ForBatches(std::uint64_t first, std::uint64_t last, Count& count, Compute compute) {
    for (std::uint64_t i = first; i < last; i += static_cast<std::uint64_t>(n_)) {
      first_ = i;
      n_ = static_cast<int>(std::min<std::uint64_t>(kLanes, last - i));
      compute();
      Store(count);
    }
  }

  std::uint64_t first_ = 0;  // the point of lane 0
  int n_ = 0;                // points of the batch
  std::array<PointStatus, kLanes> status_{};

 private:
  void Store(Count& count) {
    const auto n = static_cast<std::size_t>(n_);
    unsigned any_other = 0;
    for (std::size_t lane = 0; lane < n; ++lane) {
      any_other |= static_cast<unsigned>(status_[lane]);
    }
    const bool all_found = any_other == 0;
    if (all_found) {
      count[0] += n;
    } else {
      for (std::size_t lane = 0; lane < n; ++lane) ++count[static_cast<std::size_t>(status_[lane])];
    }
    Way& way = static_cast<Way&>(*this);
    way.ForOutputs([&](std::span<double> to, const double(&from)[kLanes]) {
      if (to.empty()) return;
      double* const out = to.data() + first_;
      if (all_found) {
        std::memcpy(out, from, n * sizeof(double));
        return;
      }
      for (std::size_t lane = 0; lane < n; ++lane) {
        out[lane] =
            HasNumbers(status_[lane]) ? from[lane] : std::numeric_limits<double>::quiet_NaN();
      }
    });
    const std::span<PointStatus> status = way.StatusOutput();
    if (!status.empty()) std::memcpy(status.data() + first_, status_.data(), n);
  }
};

}  // namespace quellmark::imaging
