// Piecewise interpolation: one inner interpolator for each run of neighbouring support points.
#pragma once

#include "basic/sub_array.h"
#include "orbit/interpolation.h"

/// One span: its inner interpolator, its view of the support points and the abscissae t_start <= x
/// < t_stop for which it answers. Assignment is refused, see SUB_ARRAY.
template <class T, class I, class P>
struct POLY_REF {
  T t_start{};
  T t_stop{};
  I interpolation;
  SUB_ARRAY<P> points;
};

/// Span j is made of the points j .. j + m - 1 (counted from the first) and answers for the middle
/// of them; the first and the last span answer for all x before and after them as well.
template <class T, class I, class P>
class LOCAL_INTERPOLATION final
    : public quellmark::orbit::Evaluated<LOCAL_INTERPOLATION<T, I, P>, T, P> {
 public:
  LOCAL_INTERPOLATION() = default;
  /// The spans of a copy are built anew: they refer to the copy's own points.
  LOCAL_INTERPOLATION(const LOCAL_INTERPOLATION& other);
  LOCAL_INTERPOLATION(LOCAL_INTERPOLATION&&) noexcept = default;
  LOCAL_INTERPOLATION& operator=(const LOCAL_INTERPOLATION& other);
  LOCAL_INTERPOLATION& operator=(LOCAL_INTERPOLATION&&) noexcept = default;
  ~LOCAL_INTERPOLATION() override = default;

  /// Order of the inner interpolators.
  void SetOrder(int order) override { order_ = order; }
  void SetSupportPointCount(int count) override;

  void Fit(std::span<const P> points);
  void Report() const;
  /// Fits that share a Design are made span by span for all curves.
  static void CreateAllWithReport(std::span<LOCAL_INTERPOLATION> curves,
                                  std::span<const ARRAY<P>> points);
  [[nodiscard]] quellmark::orbit::Jet<T> At(T x) const {
    return spans_[FindSpan(x)].interpolation.At(x);
  }
  static void AtAll(std::span<const LOCAL_INTERPOLATION> curves, T x,
                    std::span<quellmark::orbit::Jet<T>> jets) {
    const int j = curves[0].FindSpan(x);
    for (std::size_t i = 0; i < curves.size(); ++i) {
      jets[i] = curves[i].spans_[j].interpolation.At(x);
    }
  }

  static constexpr std::string_view kForm = I::kForm;
  void ForEachPiece(T, T, auto visit) const {
    for (const POLY_REF<T, I, P>& span : spans_.Elements()) {
      span.interpolation.ForEachPiece(span.t_start, span.t_stop, visit);
    }
  }

  /// The spans, counted from 0.
  [[nodiscard]] const ARRAY<POLY_REF<T, I, P>>& Spans() const { return spans_; }
  /// Index of the span that answers for x; a boundary belongs to the later span.
  [[nodiscard]] int FindSpan(T x) const {
    // A first guess, right for evenly spaced points; it is bounded before it becomes an index.
    const T scaled = (x - guess_origin_) * spans_per_x_;
    int j = scaled > T{0} ? (scaled < static_cast<T>(last_) ? static_cast<int>(scaled) : last_) : 0;
    if ((x >= spans_[j].t_start || j == 0) && (x < spans_[j].t_stop || j == last_)) return j;
    return SearchSpan(x);
  }

 private:
  static constexpr bool kSharesDesign = requires { typename I::Design; };

  void TakePoints(std::span<const P> points);
  void LayOutSpans();
  /// All curves have the same number of spans.
  static void FitSpans(std::span<LOCAL_INTERPOLATION> curves);
  [[nodiscard]] int SearchSpan(T x) const;

  int support_point_count_ = 8;
  int order_ = -1;
  ARRAY<P> points_;
  ARRAY<POLY_REF<T, I, P>> spans_;
  int last_ = 0;      ///< index of the last span
  T guess_origin_{};  ///< where span 0 would begin if it were as long as the others
  T spans_per_x_{};
};
