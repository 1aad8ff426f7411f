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
  std::vector<std::vector<T>> dy;  ///< derivatives, likewise; empty for kinds that take none
  int first_index = 0;             ///< of the samples, as their owner counts them

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

/// Throws INVALID_PARAMETER_VALUE after an ALARM line unless there is a sample, all series have its
/// length, all numbers are finite, their range can be held and, if they must, the abscissae ascend
/// strictly: every interpolation divides by their differences.
template <class T>
void CheckSamples(const Samples<T>& samples, bool with_derivatives, bool must_ascend);

}  // namespace quellmark::orbit
