// The natural cubic spline.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "orbit/interpolation/interpolation.h"

namespace quellmark::orbit {

/// Segment i is a + b t + c t^2 + d t^3 with t = x - x_i.
template <class T>
class SplineModel {
 public:
  using Number = T;
  static constexpr std::string_view kForm = kPowerForm;

  SplineModel(std::shared_ptr<const Samples<T>> samples, const Request& request);

  template <std::size_t kCount>
  void At(T x, std::size_t column, Jet<T>* jets) const {
    if (!(x >= samples_->x.front() && x <= samples_->x.back())) {
      std::fill_n(jets, kCount, Jet<T>{});
      return;
    }
    const std::size_t segment = table_.Find(x);
    const T t = x - table_.Bound(segment);
    const T* const a = table_.Row(segment) + column;
    const std::size_t n = samples_->y.size();
    for (std::size_t i = 0; i < kCount; ++i) {
      const T b = a[n + i];
      const T c = a[2 * n + i];
      const T d = a[3 * n + i];
      jets[i] = {a[i] + t * (b + t * (c + t * d)), b + t * (T{2} * c + T{3} * t * d),
                 T{2} * c + T{6} * t * d};
    }
  }
  [[nodiscard]] ARRAY<T> Coefficients(std::size_t column) const {
    std::vector<T> all;
    ForEachPiece(column, [&](const Piece<T>& piece) {
      all.insert(all.end(), piece.c.begin(), piece.c.end());
    });
    return ArrayOf<T>(all, 0);
  }
  void ForEachPiece(std::size_t column, auto visit) const {
    for (std::size_t j = 0; j < table_.Count(); ++j) {
      Piece<T> piece{table_.Bound(j), table_.Bound(j + 1), {}, {table_.Bound(j)}};
      for (std::size_t k = 0; k < 4; ++k) {
        piece.c.push_back(table_.Row(j)[k * samples_->y.size() + column]);
      }
      visit(piece);
    }
  }
  [[nodiscard]] static int Order() { return 3; }
  [[nodiscard]] int PointsPerPiece() const { return static_cast<int>(samples_->x.size()); }
  [[nodiscard]] const Samples<T>& SamplesTaken() const { return *samples_; }

 private:
  std::shared_ptr<const Samples<T>> samples_;
  PieceTable<T> table_;
};

extern template class SplineModel<float>;
extern template class SplineModel<double>;

}  // namespace quellmark::orbit

/// Passes through all its points with a continuous second derivative, which is 0 at both ends;
/// through two points it is a line. Outside the support range value and derivatives are 0. This is
/// deliberate: a spline never extrapolates.
template <class T>
class SPLINE final
    : public quellmark::orbit::Modelled<SPLINE<T>, quellmark::orbit::SplineModel<T>, POINT<T>> {
 public:
  static quellmark::orbit::SplineModel<T> Build(
      std::shared_ptr<const quellmark::orbit::Samples<T>> samples,
      const quellmark::orbit::Request& request) {
    return {std::move(samples), request};
  }
  /// The a, b, c, d of the first segment, then those of the second, and so on, from index 0.
  [[nodiscard]] ARRAY<T> GetCoeffs() const override { return this->Coefficients(); }
};
