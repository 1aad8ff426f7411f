// The natural cubic spline.
#pragma once

#include <algorithm>
#include <vector>

#include "orbit/interpolation.h"

/// Meets all its points with continuous second derivative, which is 0 at both ends; two points give
/// a line. Outside the support range value and derivatives are 0: deliberate, it never
/// extrapolates.
template <class T>
class SPLINE final : public quellmark::orbit::Evaluated<SPLINE<T>, T, POINT<T>> {
 public:
  void Fit(std::span<const POINT<T>> points);
  [[nodiscard]] quellmark::orbit::Jet<T> At(T x) const {
    return Holds(x) ? segments_[FindSegment(x)].At(x) : quellmark::orbit::Jet<T>{};
  }
  static void AtAll(std::span<const SPLINE> curves, T x, std::span<quellmark::orbit::Jet<T>> jets) {
    if (!curves[0].Holds(x)) {
      std::ranges::fill(jets, quellmark::orbit::Jet<T>{});
      return;
    }
    const std::size_t i = curves[0].FindSegment(x);
    for (std::size_t c = 0; c < curves.size(); ++c) jets[c] = curves[c].segments_[i].At(x);
  }
  /// a, b, c, d of the segments one after the other, from index 0.
  [[nodiscard]] ARRAY<T> GetCoeffs() const override;

  static constexpr std::string_view kForm = quellmark::orbit::kPowerForm;
  void ForEachPiece(T, T last, auto visit) const {
    for (std::size_t i = 0; i < segments_.size(); ++i) {
      const Segment& s = segments_[i];
      const T t_stop = i + 1 < segments_.size() ? segments_[i + 1].left : last;
      visit(quellmark::orbit::Piece<T>{s.left, t_stop, {s.a, s.b, s.c, s.d}, {s.left}});
    }
  }

  /// a + b t + c t^2 + d t^3 with t = x - left.
  struct Segment {
    T left;
    T a;
    T b;
    T c;
    T d;
    [[nodiscard]] quellmark::orbit::Jet<T> At(T x) const {
      const T t = x - left;
      return {a + t * (b + t * (c + t * d)), b + t * (T{2} * c + T{3} * t * d),
              T{2} * c + T{6} * t * d};
    }
  };

 private:
  [[nodiscard]] bool Holds(T x) const { return x >= segments_.front().left && x <= last_; }
  /// The last segment whose left end is not above x.
  [[nodiscard]] std::size_t FindSegment(T x) const {
    const auto after = std::ranges::upper_bound(segments_, x, {}, &Segment::left);
    return static_cast<std::size_t>(after - segments_.begin()) - 1;
  }

  std::vector<Segment> segments_;
  T last_{};  ///< abscissa of the last support point
};

extern template class SPLINE<float>;
extern template class SPLINE<double>;
