// The table of a function that is made of pieces: the bounds of each piece and its block of
// numbers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace quellmark::orbit {

/// Value, first and second derivative of a function at one abscissa.
template <class T>
struct Jet {
  T y{};
  T dy{};
  T d2y{};
};

/// The interval t_start .. t_stop on which an interpolation is one polynomial, and the numbers c
/// and z of that polynomial in the kind's form.
template <class T>
struct Piece {
  T t_start{};
  T t_stop{};
  std::vector<T> c;
  std::vector<T> z;
};

/// The numbers of one piece stand together for all coordinates, so that a query at a random time
/// reads one block of memory.
template <class T>
class PieceTable {
 public:
  /// Piece j serves bounds[j] <= x < bounds[j + 1]. The first piece also serves all x before, the
  /// last one all x after. There must be at least one piece.
  PieceTable(std::vector<T> bounds, std::size_t width)
      : bounds_(std::move(bounds)),
        width_(width),
        last_(bounds_.size() - 2),
        numbers_((last_ + 1) * width),
        guess_origin_(bounds_[0]) {
    // All pieces but the first and the last are as long as the steps of the samples.
    if (last_ > 1) {
      pieces_per_x_ = static_cast<T>(last_ - 1) / (bounds_[last_] - bounds_[1]);
      guess_origin_ = bounds_[1] - T{1} / pieces_per_x_;
    }
  }

  [[nodiscard]] std::size_t Count() const { return last_ + 1; }
  [[nodiscard]] T Bound(std::size_t j) const { return bounds_[j]; }
  /// The `width` numbers of a piece.
  [[nodiscard]] T* Row(std::size_t j) { return numbers_.data() + j * width_; }
  [[nodiscard]] const T* Row(std::size_t j) const { return numbers_.data() + j * width_; }
  [[nodiscard]] std::size_t Width() const { return width_; }

  /// The piece that serves x.
  [[nodiscard]] std::size_t Find(T x) const {
    // The first guess is right for evenly spaced samples. It is limited before it becomes an index.
    const T scaled = (x - guess_origin_) * pieces_per_x_;
    const std::size_t j =
        scaled > T{0} ? (scaled < static_cast<T>(last_) ? static_cast<std::size_t>(scaled) : last_)
                      : 0;
    if ((x >= bounds_[j] || j == 0) && (x < bounds_[j + 1] || j == last_)) return j;
    const auto inner = bounds_.begin() + 1;
    const auto later = std::upper_bound(inner, bounds_.end() - 1, x);
    return static_cast<std::size_t>(later - inner);
  }

 private:
  std::vector<T> bounds_;
  std::size_t width_;
  std::size_t last_;
  std::vector<T> numbers_;
  T guess_origin_;  ///< where piece 0 would begin if it were as long as the others
  T pieces_per_x_{};
};

/// The pieces of Newton polynomials in three coordinates, for callers that evaluate many abscissae
/// at once: c0 + (x - z0) (c1 + (x - z1) (c2 + ...)) and its derivatives, by Horner's rule. A row
/// has `nodes` numbers z, then the c: term k of coordinate i is number nodes + 3 k + i. Each z
/// belongs to one term or to two.
struct NewtonPieces {
  const PieceTable<double>* table = nullptr;
  std::size_t nodes = 0;
  std::size_t terms = 0;
  std::size_t terms_per_node = 1;
};

}  // namespace quellmark::orbit
