// Everett's interpolation of equidistant samples by central differences of even order.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "orbit/interpolation.h"

/// The derivatives are those of the interpolating polynomial of the interval around x. Near the
/// ends the last interval with all its differences extrapolates.
template <class T>
class EVERETT final : public quellmark::orbit::Evaluated<EVERETT<T>, T, POINT<T>> {
  using Base = quellmark::orbit::Evaluated<EVERETT<T>, T, POINT<T>>;

 public:
  /// An abscissa in terms of the grid: x = (1 - p) x_i + p x_(i+1), q = 1 - p.
  struct Xi {
    int i;
    T p;
    T q;
  };

  static constexpr bool kChecksAscent = false;
  /// Even; 6 unless set.
  void SetOrder(int order) override {
    if (order >= 0) order_ = order;
  }
  void Create(const ARRAY<POINT<T>>& points) override {
    first_ = points.First();
    Base::Create(points);
  }
  void Fit(std::span<const POINT<T>> points);
  void Report() const;
  [[nodiscard]] quellmark::orbit::Jet<T> At(T x) const {
    quellmark::orbit::Jet<T> jet;
    AtAll({this, 1}, x, {&jet, 1});
    return jet;
  }
  static void AtAll(std::span<const EVERETT> curves, T x, std::span<quellmark::orbit::Jet<T>> jets);

  static constexpr std::string_view kForm =
      "E0(q) c0 + E0(p) c1 + E1(q) c2 + E1(p) c3 + ..., p = (t - z0) / z1, q = 1 - p, "
      "Ek(u) = u (u^2 - 1) ... (u^2 - k^2) / (2 k + 1)!";
  void ForEachPiece(T first, T last, auto visit) const {
    const int highest = std::max(last_ - first_ - order_ / 2, 0);
    const int lowest = std::min(order_ / 2, highest);
    const auto node = [this](int i) { return x0_ + static_cast<T>(i) * h_; };
    for (int i = lowest; i <= highest; ++i) {
      quellmark::orbit::Piece<T> piece{
          i == lowest ? first : node(i), i == highest ? last : node(i + 1), {}, {node(i), h_}};
      for (int k = 0; k < rows_; ++k) {
        const T* const left = Row(k) + i;
        piece.c.insert(piece.c.end(), {left[0], i < last_ - first_ ? left[1] : T{0}});
      }
      visit(piece);
    }
  }

  /// Whether all steps and their mean are within 1e-8 of the first step.
  [[nodiscard]] virtual bool IsEquidistant(std::span<const POINT<T>> points) const;
  /// The interval for a finite x, counted like the support points; logs when it is not the one that
  /// holds x.
  [[nodiscard]] virtual Xi GetXi(T x) const;

 private:
  [[nodiscard]] const T* Row(int k) const {
    return differences_.data() + k * (std::ptrdiff_t{last_} - first_ + 1);
  }

  int order_ = 6;
  int first_ = 0;  ///< index of the first support point
  int last_ = 0;
  T x0_{};
  T h_{};
  /// Row k, of one value per support point, holds the central differences of order 2 k, with 0
  /// where there is none. Rows that would hold zeros alone are left out.
  std::vector<T> differences_;
  int rows_ = 0;
};

extern template class EVERETT<float>;
extern template class EVERETT<double>;
