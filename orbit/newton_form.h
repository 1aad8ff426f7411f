// A polynomial in Newton form, the common ground of the interpolations that meet their points.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "orbit/interpolation.h"

namespace quellmark::orbit {

/// c0 + (x - z0) (c1 + (x - z1) (c2 + ...)) through points with ascending abscissae z. Through
/// DPOINTs each node stands twice and the polynomial meets the derivatives too (Stoer and Bulirsch,
/// Introduction to Numerical Analysis, 2.1.5). The nodes are taken in their order: for ascending
/// nodes the divided differences are as accurate as the samples allow, and near z0, where the last
/// and largest sum is formed, little more than that sum's rounding is left.
template <class T>
class NewtonForm {
 public:
  /// Throws INVALID_PARAMETER_VALUE after an ALARM line if a divided difference overflows.
  template <class P>
  void Fit(std::span<const P> points);

  [[nodiscard]] Jet<T> At(T x) const {
    const Term* const terms = Terms();
    const Term* term = terms + degree_;
    Jet<T> jet{term->coefficient, T{0}, T{0}};
    while (term != terms) {
      --term;
      const T dx = x - term->node;
      jet.d2y = jet.d2y * dx + jet.dy;
      jet.dy = jet.dy * dx + jet.y;
      jet.y = jet.y * dx + term->coefficient;
    }
    jet.d2y *= T{2};
    return jet;
  }

  /// The Piece t_start .. t_stop of this polynomial.
  [[nodiscard]] Piece<T> PieceOn(T t_start, T t_stop) const {
    Piece<T> piece{t_start, t_stop, {}, {}};
    for (std::size_t k = 0; k <= degree_; ++k) piece.c.push_back(Terms()[k].coefficient);
    for (std::size_t k = 0; k < degree_; ++k) piece.z.push_back(Terms()[k].node);
    return piece;
  }

 private:
  struct Term {
    T coefficient{};
    T node{};
  };
  /// Terms that fit in the object: a span of 8 points, or of 4 with derivatives, allocates nothing.
  static constexpr std::size_t kRoom = 8;

  [[nodiscard]] const Term* Terms() const { return degree_ < kRoom ? few_.data() : many_.data(); }

  std::size_t degree_ = 0;
  std::array<Term, kRoom> few_{};
  std::vector<Term> many_;
};

}  // namespace quellmark::orbit
