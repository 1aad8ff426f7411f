// Bodies of local_interpolation.h; included by the source that lists the instances.
#pragma once

#include <algorithm>
#include <type_traits>

#include "orbit/local_interpolation.h"
#include "runtime/log.h"

template <class T, class I, class P>
LOCAL_INTERPOLATION<T, I, P>::LOCAL_INTERPOLATION(const LOCAL_INTERPOLATION& other) {
  *this = other;
}

template <class T, class I, class P>
LOCAL_INTERPOLATION<T, I, P>& LOCAL_INTERPOLATION<T, I, P>::operator=(
    const LOCAL_INTERPOLATION& other) {
  if (this == &other) return *this;
  support_point_count_ = other.support_point_count_;
  order_ = other.order_;
  points_ = other.points_;
  LayOutSpans();
  FitSpans({this, 1});
  return *this;
}

template <class T, class I, class P>
void LOCAL_INTERPOLATION<T, I, P>::SetSupportPointCount(int count) {
  if (count != -1) support_point_count_ = count;
}

template <class T, class I, class P>
void LOCAL_INTERPOLATION<T, I, P>::Fit(std::span<const P> points) {
  TakePoints(points);
  FitSpans({this, 1});
}

template <class T, class I, class P>
void LOCAL_INTERPOLATION<T, I, P>::CreateAllWithReport(std::span<LOCAL_INTERPOLATION> curves,
                                                       std::span<const ARRAY<P>> points) {
  if constexpr (!kSharesDesign) {
    LOCAL_INTERPOLATION::Evaluated::CreateAllWithReport(curves, points);
    return;
  }
  for (std::size_t i = 0; i < curves.size(); ++i) {
    quellmark::orbit::CheckSupportPoints<P>(points[i].Elements());
    curves[i].TakePoints(points[i].Elements());
  }
  FitSpans(curves);
  for (const LOCAL_INTERPOLATION& curve : curves) curve.Report();
}

template <class T, class I, class P>
void LOCAL_INTERPOLATION<T, I, P>::TakePoints(std::span<const P> points) {
  using quellmark::runtime::Fail;
  using quellmark::runtime::LogLine;
  using Level = LOG::Level;
  const int count = static_cast<int>(points.size());
  if (support_point_count_ < 1) {
    Fail<INVALID_PARAMETER_VALUE>("LOCAL_INTERPOLATION: support_point_count ", support_point_count_,
                                  " is below 1\n");
  }
  if (support_point_count_ > count) {
    LogLine(Level::kWarning, "LOCAL_INTERPOLATION: change support_point_count from ",
            support_point_count_, " to ", count, "\n");
    support_point_count_ = count;
  }
  // Each span keeps numbers of its own, and a fit takes steps by the square of its terms for each
  // point: what real orbits need is far below these limits.
  constexpr long long kMaxNumbers = 1LL << 25;
  constexpr long long kMaxFitSteps = 1LL << 33;
  const long long numbers =
      static_cast<long long>(count + 1 - support_point_count_) * support_point_count_;
  const long long terms =
      kSharesDesign ? std::max(std::min(order_, support_point_count_ - 1) + 1, 1) : 1;
  if (numbers > kMaxNumbers || numbers * terms > kMaxFitSteps / terms) {
    Fail<INVALID_PARAMETER_VALUE>("LOCAL_INTERPOLATION: support_point_count ", support_point_count_,
                                  " is too large for ", count, " points\n");
  }
  points_ = ARRAY<P>(RANGE<int>(0, count));
  std::ranges::copy(points, points_.Elements().begin());
  // "polynom count;": kept exactly, do not correct.
  LogLine(Level::kParameter, "LOCAL_INTERPOLATION: polynom count; ",
          count + 1 - support_point_count_, "\n");
  LayOutSpans();
  for (int j = 0; j <= last_ && quellmark::runtime::Log().Passes(Level::kParameter); ++j) {
    LogLine(Level::kParameter, "idx_start=", j, " idx_stop=", j + support_point_count_ - 1,
            " t_start=", spans_[j].t_start, " t_stop=", spans_[j].t_stop, "\n");
  }
}

template <class T, class I, class P>
void LOCAL_INTERPOLATION<T, I, P>::LayOutSpans() {
  if (points_.Length() == 0) return;
  const int m = support_point_count_;
  const auto x = [this](int i) { return points_[i].X(); };
  const auto boundary = [m, x](int j) {
    if (m % 2 == 0) return x(j + m / 2);
    const T left = x(j + (m - 1) / 2);
    return left + (x(j + (m - 1) / 2 + 1) - left) / T{2};
  };
  last_ = points_.Length() - m;
  spans_ = ARRAY<POLY_REF<T, I, P>>(RANGE<int>(0, last_ + 1));
  for (int j = 0; j <= last_; ++j) {
    POLY_REF<T, I, P>& span = spans_[j];
    span.t_start = j == 0 ? x(0) : spans_[j - 1].t_stop;
    span.t_stop = j == last_ ? x(points_.Length() - 1) : boundary(j);
    span.points.Show(points_, j, j + m - 1);
  }
  // Between the first and the last boundary the spans are as long as the steps of the points.
  if (last_ > 1) {
    const T inner_length = spans_[last_].t_start - spans_[1].t_start;
    spans_per_x_ = static_cast<T>(last_ - 1) / inner_length;
    guess_origin_ = spans_[1].t_start - T{1} / spans_per_x_;
  } else {
    spans_per_x_ = T{0};
    guess_origin_ = x(0);
  }
}

template <class T, class I, class P>
void LOCAL_INTERPOLATION<T, I, P>::FitSpans(std::span<LOCAL_INTERPOLATION> curves) {
  struct NoDesign {
    struct Design {};
  };
  [[maybe_unused]] typename std::conditional_t<kSharesDesign, I, NoDesign>::Design design;
  for (int j = 0; j < curves[0].spans_.Length(); ++j) {
    for (LOCAL_INTERPOLATION& curve : curves) {
      POLY_REF<T, I, P>& span = curve.spans_[j];
      span.interpolation.SetOrder(curve.order_);
      if constexpr (kSharesDesign) {
        span.interpolation.Fit(span.points.Elements(), design);
      } else {
        span.interpolation.Fit(span.points.Elements());
      }
    }
  }
}

template <class T, class I, class P>
void LOCAL_INTERPOLATION<T, I, P>::Report() const {
  for (const POLY_REF<T, I, P>& span : spans_.Elements()) span.interpolation.Report();
}

template <class T, class I, class P>
int LOCAL_INTERPOLATION<T, I, P>::SearchSpan(T x) const {
  const auto spans = spans_.Elements();
  const auto later = std::ranges::upper_bound(spans.subspan(1), x, {}, &POLY_REF<T, I, P>::t_start);
  return static_cast<int>(later - spans.begin()) - 1;
}
