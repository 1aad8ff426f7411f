// Everett's interpolation of equidistant samples by central differences of even order.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "orbit/interpolation/interpolation.h"

namespace quellmark::orbit {

/// An abscissa in terms of the grid: x = (1 - p) x_i + p x_(i+1), q = 1 - p.
template <class T>
struct Xi {
  int i;
  T p;
  T q;
};

/// Whether all steps and their mean are within 1e-8 of the first step.
template <class T>
[[nodiscard]] bool IsEquidistant(std::span<const T> x);

/// The table of differences of all coordinates. The differences of one support point stand
/// together: the one of order 2 k of coordinate i stands at [k * coordinates + i]. It is 0 where
/// the points are too few for it. A point of zeros follows the last one.
template <class T>
class EverettModel {
 public:
  using Number = T;
  static constexpr std::string_view kForm =
      "E0(q) c0 + E0(p) c1 + E1(q) c2 + E1(p) c3 + ..., p = (t - z0) / z1, q = 1 - p, "
      "Ek(u) = u (u^2 - 1) ... (u^2 - k^2) / (2 k + 1)!";

  EverettModel(std::shared_ptr<const Samples<T>> samples, const Request& request);

  /// The interval that serves a finite x, counted from 0. Logs if x lies outside that interval.
  [[nodiscard]] Xi<T> Locate(T x) const;
  template <std::size_t kCount>
  void At(T x, std::size_t column, Jet<T>* jets) const;
  void ForEachPiece(std::size_t column, auto visit) const {
    const int highest = std::max(last_ - order_ / 2, 0);
    const int lowest = std::min(order_ / 2, highest);
    const auto node = [this](int i) { return x0_ + static_cast<T>(i) * h_; };
    for (int i = lowest; i <= highest; ++i) {
      Piece<T> piece{i == lowest ? samples_->x.front() : node(i),
                     i == highest ? samples_->x.back() : node(i + 1),
                     {},
                     {node(i), h_}};
      const T* left = DifferencesAt(i) + column;
      for (std::size_t k = 0; k < rows_; ++k, left += Coordinates()) {
        piece.c.insert(piece.c.end(), {left[0], left[rows_ * Coordinates()]});
      }
      visit(piece);
    }
  }
  [[nodiscard]] int Order() const { return order_; }
  [[nodiscard]] int PointsPerPiece() const { return order_ + 2; }
  [[nodiscard]] const Samples<T>& SamplesTaken() const { return *samples_; }

 private:
  [[nodiscard]] std::size_t Coordinates() const { return samples_->y.size(); }
  [[nodiscard]] const T* DifferencesAt(int i) const {
    return differences_.data() + static_cast<std::size_t>(i) * rows_ * Coordinates();
  }

  std::shared_ptr<const Samples<T>> samples_;
  int order_;
  int last_;  ///< index of the last support point, from 0
  T x0_;
  T h_;
  std::size_t rows_ = 1;  ///< orders in the table; rows of zeros are left out
  std::vector<T> differences_;
};

extern template class EverettModel<float>;
extern template class EverettModel<double>;

}  // namespace quellmark::orbit

/// The order is even, 6 unless set. The derivatives are those of the interpolating polynomial of
/// the interval around x. Near the ends, where differences are missing, the nearest interval that
/// has all of them extrapolates.
template <class T>
class EVERETT final
    : public quellmark::orbit::Modelled<EVERETT<T>, quellmark::orbit::EverettModel<T>, POINT<T>> {
 public:
  static quellmark::orbit::EverettModel<T> Build(
      std::shared_ptr<const quellmark::orbit::Samples<T>> samples,
      const quellmark::orbit::Request& request) {
    return {std::move(samples), request};
  }
  [[nodiscard]] virtual bool IsEquidistant(std::span<const T> x) const {
    return quellmark::orbit::IsEquidistant(x);
  }
  /// The interval that serves a finite x, counted like the support points. Logs if x lies outside
  /// that interval.
  [[nodiscard]] virtual quellmark::orbit::Xi<T> GetXi(T x) const {
    quellmark::orbit::Xi<T> xi = this->Created().Locate(x);
    xi.i += this->Created().SamplesTaken().first_index;
    return xi;
  }
};
