// The Model of the polynomials and the fits: one piece over all samples, or one for each run of
// them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>
#include <vector>

#include "basic/array.h"
#include "orbit/interpolation/interpolation.h"
#include "orbit/interpolation/piece_table.h"
#include "orbit/interpolation/samples.h"

namespace quellmark::orbit {

/// These limits of memory and time are far above the needs of real orbits. One step computes a
/// divided difference, or adds one sample to one element of a fit's matrix.
inline constexpr std::size_t kMaxNumbers = std::size_t{1} << 25;
inline constexpr std::size_t kMaxSteps = std::size_t{1} << 29;

/// The Model of a `Kind` of polynomial that is made from m neighbouring samples. A Kind is
/// constructed from (samples, m, request) and has
///   Nodes(), Terms(), Order()  the number of z and of c in a piece, and its order,
///   Fit(first, z, c, worth)    makes the piece of the samples first .. first + m - 1: term k of
///                              coordinate i stands at c[k * coordinates + i],
///   TermsUsed()                the number of terms that are not 0 in every piece so far,
///   Report(worth)              logs the quality of the fit of one coordinate.
/// Its static members are
///   At<n>(z, c, terms, stride, x, jets)  evaluates n coordinates,
///   Publish(piece)                       converts the numbers of one coordinate to the form kForm,
///   Coefficients(piece)                  what GetCoeffs() returns, if the kind has it,
///   StepsPerPoint(m, request), CheckWholeFit(count, request)  keep the limits above,
///   kNoMemory                            the text for a lack of memory, if the kind has one.
template <class T, class Kind>
class Piecewise {
 public:
  using Number = T;
  using SharedSamples = std::shared_ptr<const Samples<T>>;
  static constexpr std::string_view kForm = Kind::kForm;

  /// One piece from all samples.
  static Piecewise Whole(SharedSamples samples, const Request& request);
  /// One piece for each run of request.support_point_count samples (8 by default); it serves the x
  /// in the middle of the run.
  static Piecewise Local(SharedSamples samples, const Request& request);
  /// Piece j alone.
  [[nodiscard]] Piecewise Single(std::size_t j) const {
    Piecewise single = *this;
    single.table_ = PieceTable<T>({table_.Bound(j), table_.Bound(j + 1)}, table_.Width());
    std::copy_n(table_.Row(j), table_.Width(), single.table_.Row(0));
    return single;
  }

  template <std::size_t kCount>
  void At(T x, std::size_t column, Jet<T>* jets) const {
    const T* const row = table_.Row(table_.Find(x));
    Kind::template At<kCount>(row, row + nodes_ + column, terms_, columns_, x, jets);
  }
  [[nodiscard]] ARRAY<T> Coefficients(std::size_t column) const {
    return Kind::Coefficients(NumbersOf(0, column));
  }
  void ForEachPiece(std::size_t column, auto visit) const {
    for (std::size_t j = 0; j < table_.Count(); ++j) {
      Piece<T> piece = NumbersOf(j, column);
      if (j + 1 == table_.Count()) piece.t_stop = samples_->x.back();
      Kind::Publish(piece);
      visit(piece);
    }
  }
  [[nodiscard]] const PieceTable<T>& Table() const { return table_; }
  /// Returns nothing unless the pieces are Newton polynomials of three coordinates in double
  /// precision.
  [[nodiscard]] std::optional<NewtonPieces> AsNewton() const {
    if constexpr (std::is_same_v<T, double> && requires { Kind::kTermsPerNode; }) {
      if (columns_ == 3) return NewtonPieces{&table_, nodes_, terms_, Kind::kTermsPerNode};
    }
    return std::nullopt;
  }
  [[nodiscard]] int Order() const { return order_; }
  [[nodiscard]] int PointsPerPiece() const { return static_cast<int>(points_per_piece_); }
  [[nodiscard]] const Samples<T>& SamplesTaken() const { return *samples_; }

 private:
  Piecewise(SharedSamples samples, std::vector<T> bounds, std::size_t points_per_piece,
            const Request& request);

  [[nodiscard]] Piece<T> NumbersOf(std::size_t j, std::size_t column) const {
    const T* const row = table_.Row(j);
    Piece<T> piece{table_.Bound(j), table_.Bound(j + 1), {}, {row, row + nodes_}};
    for (std::size_t k = 0; k < all_terms_; ++k) {
      piece.c.push_back(row[nodes_ + column + k * columns_]);
    }
    return piece;
  }

  SharedSamples samples_;
  std::size_t points_per_piece_;
  std::size_t columns_;
  std::size_t nodes_;
  std::size_t all_terms_;
  std::size_t terms_;  ///< how many of all_terms_ are not 0 in every piece
  int order_;
  PieceTable<T> table_;
};

}  // namespace quellmark::orbit
