// The natural cubic spline.
#pragma once

#include <vector>

#include "orbit/interpolation.h"

/// Meets all its points with continuous second derivative, which is 0 at both ends; two points give
/// a line. Outside the support range value and derivatives are 0: deliberate, it never
/// extrapolates.
template <class T>
class SPLINE final : public quellmark::orbit::Evaluated<SPLINE<T>, T, POINT<T>> {
 public:
  void Fit(std::span<const POINT<T>> points);
  [[nodiscard]] quellmark::orbit::Jet<T> At(T x) const;
  /// a, b, c, d of the segments one after the other, from index 0.
  [[nodiscard]] ARRAY<T> GetCoeffs() const override;

  /// a + b t + c t^2 + d t^3 with t = x - left.
  struct Segment {
    T left;
    T a;
    T b;
    T c;
    T d;
  };
  [[nodiscard]] std::span<const Segment> Segments() const { return segments_; }
  [[nodiscard]] T Last() const { return last_; }

 private:
  std::vector<Segment> segments_;
  T last_{};  ///< abscissa of the last support point
};

extern template class SPLINE<float>;
extern template class SPLINE<double>;
