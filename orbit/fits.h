// Least-squares fits by singular value decomposition.
#pragma once

#include "geolocation/lsq/svd.h"
#include "orbit/interpolation.h"

namespace quellmark::orbit {

/// values[1..count] = 1, u, u^2, ...
template <class T>
void MonomialBasis(T u, T values[], int count);
/// values[1..count] = T_0(u), T_1(u), T_2(u), ...
template <class T>
void ChebyshevBasis(T u, T values[], int count);

/// Fits series of samples, with weight 1, by the first functions of a basis over u. Samples at the
/// same u as the ones before are fitted without another decomposition: so are the coordinates of an
/// orbit, and the neighbouring spans of evenly spaced points.
template <class T, lsq::BasisFunctions<T> kBasis>
class BasisFit {
 public:
  /// Makes room for `count` samples, to be written to U(i) and Y(i), i = 1..count, and `terms`
  /// functions; gives whether there was memory.
  [[nodiscard]] bool Resize(int count, int terms);
  [[nodiscard]] T& U(int i) { return u_[i]; }
  [[nodiscard]] T& Y(int i) { return y_[i]; }
  /// Gives the coefficients 1..terms and their chi^2.
  const ARRAY<T>& Solve(T& chi_square);

 private:
  ARRAY<T> u_;
  ARRAY<T> y_;
  ARRAY<T> weights_;
  ARRAY<T> coefficients_;
  ARRAY<T> decomposed_u_;  ///< what `work_` holds the decomposition for; empty for nothing
  lsq::SvdfitWorkspace<T> work_;
};

}  // namespace quellmark::orbit

/// The polynomial of order m that fits the points best, in powers of x minus the middle of the
/// support range.
template <class T>
class POLYNOM_FIT final : public quellmark::orbit::Evaluated<POLYNOM_FIT<T>, T, POINT<T>> {
 public:
  using Design = quellmark::orbit::BasisFit<T, quellmark::orbit::MonomialBasis<T>>;

  /// 5 unless set; points that are too few for it reduce it.
  void SetOrder(int order) override {
    if (order >= 0) order_ = order;
  }
  void Fit(std::span<const POINT<T>> points) {
    Design design;
    Fit(points, design);
  }
  void Fit(std::span<const POINT<T>> points, Design& design);
  void Report() const;
  [[nodiscard]] quellmark::orbit::Jet<T> At(T x) const;
  /// order + 2 entries from index 0; the coefficient of the k-th power stands at k + 1, entry 0 is
  /// not used.
  [[nodiscard]] ARRAY<T> GetCoeffs() const override { return coefficients_; }

  static constexpr std::string_view kForm = quellmark::orbit::kPowerForm;
  void ForEachPiece(T first, T last, auto visit) const {
    const auto c = coefficients_.Elements().subspan(1);
    visit(quellmark::orbit::Piece<T>{first, last, {c.begin(), c.end()}, {reference_x_}});
  }

 private:
  int order_ = 5;
  T reference_x_{};
  T chi_square_{};
  ARRAY<T> coefficients_;
};

/// The sum of Chebyshev polynomials up to order m that fits the points best; the support range is
/// mapped to [-1, 1].
template <class T>
class CHEBY_POLY final : public quellmark::orbit::Evaluated<CHEBY_POLY<T>, T, POINT<T>> {
 public:
  using Design = quellmark::orbit::BasisFit<T, quellmark::orbit::ChebyshevBasis<T>>;

  /// 5 unless set; points that are too few for it reduce it.
  void SetOrder(int order) override {
    if (order >= 0) order_ = order;
  }
  void Fit(std::span<const POINT<T>> points) {
    Design design;
    Fit(points, design);
  }
  void Fit(std::span<const POINT<T>> points, Design& design);
  void Report() const;
  [[nodiscard]] quellmark::orbit::Jet<T> At(T x) const;
  /// c[0..order].
  [[nodiscard]] ARRAY<T> GetCoeffs() const override { return coefficients_; }

  static constexpr std::string_view kForm = "c0 + c1 T1(u) + c2 T2(u) + ..., u = (t - z0) / z1 - 1";
  void ForEachPiece(T first, T last, auto visit) const {
    const auto c = coefficients_.Elements();
    visit(quellmark::orbit::Piece<T>{first, last, {c.begin(), c.end()}, {x_min_, half_range_}});
  }

  /// x on the scale on which the support range is [-1, 1].
  [[nodiscard]] virtual T MapX(T x) const { return (x - x_min_) / half_range_ - T{1}; }

 private:
  int order_ = 5;
  T x_min_{};
  T half_range_{1};
  T chi_square_{};
  ARRAY<T> coefficients_;
};

extern template class POLYNOM_FIT<float>;
extern template class POLYNOM_FIT<double>;
extern template class CHEBY_POLY<float>;
extern template class CHEBY_POLY<double>;
