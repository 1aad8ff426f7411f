// Bodies of piecewise.h; included by the sources that instantiate it.
#pragma once

#include <array>
#include <charconv>
#include <string_view>
#include <utility>

#include "orbit/interpolation/piecewise.h"
#include "runtime/log.h"

namespace quellmark::orbit {

template <class T, class Kind>
Piecewise<T, Kind>::Piecewise(SharedSamples samples, std::vector<T> bounds,
                              std::size_t points_per_piece, const Request& request)
    : samples_(std::move(samples)),
      points_per_piece_(points_per_piece),
      columns_(samples_->y.size()),
      table_({T{}, T{}}, 0) {
  Kind kind(*samples_, points_per_piece_, request);
  nodes_ = kind.Nodes();
  all_terms_ = kind.Terms();
  order_ = kind.Order();
  table_ = PieceTable<T>(std::move(bounds), nodes_ + all_terms_ * columns_);
  std::vector<T> worth(request.logs_worth ? table_.Count() * columns_ : columns_);
  for (std::size_t j = 0; j < table_.Count(); ++j) {
    T* const row = table_.Row(j);
    kind.Fit(j, row, row + nodes_, worth.data() + (request.logs_worth ? j * columns_ : 0));
  }
  terms_ = kind.TermsUsed();
  if (!request.logs_worth) return;
  for (std::size_t i = 0; i < columns_; ++i) {
    for (std::size_t j = 0; j < table_.Count(); ++j) kind.Report(worth[j * columns_ + i]);
  }
}

template <class T, class Kind>
Piecewise<T, Kind> Piecewise<T, Kind>::Whole(SharedSamples samples, const Request& request) {
  CheckSamples(*samples, Kind::kHasDerivative, true);
  const std::size_t count = samples->x.size();
  Kind::CheckWholeFit(count, request);
  std::vector<T> bounds = {samples->x.front(), samples->x.back()};
  return Piecewise(std::move(samples), std::move(bounds), count, request);
}

/// The text of a bound as the log writes numbers ("%g"). It is made once for two lines, because
/// there may be millions of them.
class BoundText {
 public:
  explicit BoundText(double bound)
      : size_(static_cast<std::size_t>(std::to_chars(text_.data(), text_.data() + text_.size(),
                                                     bound, std::chars_format::general, 6)
                                           .ptr -
                                       text_.data())) {}
  [[nodiscard]] std::string_view View() const { return {text_.data(), size_}; }

 private:
  std::array<char, 16> text_{};
  std::size_t size_;
};

/// The bounds of the spans of m points. The first bound is the first point. The bound between span
/// j and span j + 1 is the middle of the points that both share. The same rule makes the end of the
/// last span, as if another span followed.
template <class T>
std::vector<T> SpanBounds(const std::vector<T>& x, std::size_t m) {
  const std::size_t spans = x.size() + 1 - m;
  if (spans == 1) return {x.front(), x.back()};
  std::vector<T> bounds = {x.front()};
  bounds.reserve(spans + 1);
  for (std::size_t j = 0; j < spans; ++j) {
    const std::size_t left = j + (m - 1) / 2;
    const std::size_t right = std::min(left + 1, x.size() - 1);  // min() matters for m = 1
    bounds.push_back(m % 2 == 0 ? x[j + m / 2] : x[left] + (x[right] - x[left]) / T{2});
  }
  return bounds;
}

template <class T, class Kind>
Piecewise<T, Kind> Piecewise<T, Kind>::Local(SharedSamples samples, const Request& request) {
  using runtime::Fail;
  using runtime::LogLine;
  using Level = runtime::LogLevel;
  constexpr int kDefaultCount = 8;
  CheckSamples(*samples, Kind::kHasDerivative, true);
  const std::size_t count = samples->x.size();
  const std::size_t columns = samples->y.size();
  const int asked = request.support_point_count == -1 ? kDefaultCount : request.support_point_count;
  if (asked < 1) {
    Fail<INVALID_PARAMETER_VALUE>("LOCAL_INTERPOLATION: support_point_count ", asked,
                                  " is below 1\n");
  }
  const std::size_t m = std::min(static_cast<std::size_t>(asked), count);
  const std::size_t spans = count + 1 - m;
  if (spans > kMaxNumbers / m || spans * m > kMaxSteps / Kind::StepsPerPoint(m, request)) {
    Fail<INVALID_PARAMETER_VALUE>("LOCAL_INTERPOLATION: support_point_count ", m,
                                  " is too large for ", count, " points\n");
  }
  std::vector<T> bounds = SpanBounds(samples->x, m);
  const runtime::LogBatch batch;  // a line per span and coordinate
  const bool lists = request.logs_spans && runtime::Log().Passes(Level::kParameter);
  std::vector<BoundText> texts;  // the same for each coordinate
  if (lists) texts.reserve(bounds.size());
  for (std::size_t j = 0; lists && j < bounds.size(); ++j) {
    texts.emplace_back(static_cast<double>(bounds[j]));
  }
  for (std::size_t i = 0; i < columns; ++i) {
    if (m < static_cast<std::size_t>(asked)) {
      LogLine(Level::kWarning, "LOCAL_INTERPOLATION: change support_point_count from ", asked,
              " to ", m, "\n");
    }
    if (!lists) continue;
    // "polynom count;": kept exactly, do not correct.
    LogLine(Level::kParameter, "LOCAL_INTERPOLATION: polynom count; ", spans, "\n");
    for (std::size_t j = 0; j < spans; ++j) {
      LogLine(Level::kParameter, "idx_start=", j, " idx_stop=", j + m - 1,
              " t_start=", texts[j].View(), " t_stop=", texts[j + 1].View(), "\n");
    }
  }
  return Piecewise(std::move(samples), std::move(bounds), m, request);
}

}  // namespace quellmark::orbit
