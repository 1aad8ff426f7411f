// Samples of several functions of one variable at common abscissae, such as the coordinates of an
// orbit.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace quellmark::orbit {

/// T is float or double.
template <class T>
struct Samples {
  std::vector<T> x;                ///< ascends strictly
  std::vector<std::vector<T>> y;   ///< one series per coordinate, each as long as x
  std::vector<std::vector<T>> dy;  ///< derivatives, likewise; empty if the kind needs none
  int first_index = 0;             ///< index of the first sample for its owner

  [[nodiscard]] bool operator==(const Samples&) const = default;
};

/// State vectors: x in seconds, y in metres and dy in metres per second.
using StateVectors = Samples<double>;

/// The samples of one coordinate; P is POINT<T> or DPOINT<T>.
template <class T, class P>
[[nodiscard]] Samples<T> SamplesOf(std::span<const P> points, int first_index) {
  Samples<T> samples{{}, std::vector<std::vector<T>>(1), {}, first_index};
  constexpr bool kHasDerivative = requires(const P& point) { point.Dy(); };
  if constexpr (kHasDerivative) samples.dy.resize(1);
  for (const P& point : points) {
    samples.x.push_back(point.X());
    samples.y[0].push_back(point.Y());
    if constexpr (kHasDerivative) samples.dy[0].push_back(point.Dy());
  }
  return samples;
}

/// Throws INVALID_PARAMETER_VALUE after an ALARM line unless there is a sample, all series have the
/// length of x, all numbers are finite, and the range of the abscissae does not overflow. With
/// `must_ascend` the abscissae must also ascend strictly, because the interpolations divide by
/// their differences.
template <class T>
void CheckSamples(const Samples<T>& samples, bool with_derivatives, bool must_ascend);

}  // namespace quellmark::orbit
