// Piecewise interpolation: one inner interpolator for each run of neighbouring support points.
#pragma once

#include <cstddef>
#include <memory>

#include "basic/sub_array.h"
#include "orbit/interpolation/interpolation.h"
#include "orbit/interpolation/piecewise.h"

/// One span: its inner interpolator, its view of the support points, and the interval t_start <= x
/// < t_stop that it serves. It cannot be assigned, see SUB_ARRAY.
template <class T, class I, class P>
struct POLY_REF {
  T t_start{};
  T t_stop{};
  I interpolation;
  SUB_ARRAY<P> points;
};

/// Span j is made of the points j .. j + m - 1 (counted from the first) and serves the x in the
/// middle of them; the first span also serves all x before, the last one all x after. SetOrder()
/// sets the order of the inner interpolators. The support point count m is 8 unless set. All spans
/// stand in one table, from which Spans() makes the inner interpolators.
template <class T, class I, class P>
class LOCAL_INTERPOLATION final
    : public quellmark::orbit::Modelled<LOCAL_INTERPOLATION<T, I, P>,
                                        quellmark::orbit::Piecewise<T, typename I::Kind>, P> {
 public:
  using Kind = typename I::Kind;
  using Model = quellmark::orbit::Piecewise<T, Kind>;
  static constexpr auto Build = Model::Local;

  /// The spans, counted from 0. Their views refer to `points`, which must be those of the creation.
  [[nodiscard]] ARRAY<POLY_REF<T, I, P>> Spans(ARRAY<P>& points) const {
    const Model& model = this->Created();
    const auto count = static_cast<int>(model.Table().Count());
    ARRAY<POLY_REF<T, I, P>> spans(RANGE<int>(0, count));
    for (int j = 0; j < count; ++j) {
      const auto piece = static_cast<std::size_t>(j);
      spans[j].t_start = model.Table().Bound(piece);
      spans[j].t_stop = model.Table().Bound(piece + 1);
      spans[j].interpolation.Adopt(std::make_shared<const Model>(model.Single(piece)),
                                   this->Column());
      const int first = points.First() + j;
      spans[j].points.Show(points, first, first + model.PointsPerPiece() - 1);
    }
    return spans;
  }
};
