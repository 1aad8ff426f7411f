// The polynomials that pass through all their support points.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "orbit/interpolation/piecewise.h"

namespace quellmark::orbit {

/// c0 + (x - z0) (c1 + (x - z1) (c2 + ...)) through points with ascending abscissae z. With
/// derivatives each node stands twice, and the polynomial has these derivatives too (Stoer and
/// Bulirsch, Introduction to Numerical Analysis, 2.1.5). The nodes are used in ascending order, in
/// which the divided differences are as accurate as the samples allow. Near z0 the error is little
/// more than the rounding of the last and largest sum.
template <class T, bool kDerivatives>
class NewtonKind {
 public:
  static constexpr bool kHasDerivative = kDerivatives;
  static constexpr std::string_view kForm = kNewtonForm;
  static constexpr std::size_t kTermsPerNode = kDerivatives ? 2 : 1;

  NewtonKind(const Samples<T>& samples, std::size_t m, const Request&)
      : samples_(samples), points_(m), column_(m * kTermsPerNode) {}

  [[nodiscard]] std::size_t Nodes() const { return points_; }
  [[nodiscard]] std::size_t Terms() const { return column_.size(); }
  [[nodiscard]] std::size_t TermsUsed() const { return terms_used_; }
  [[nodiscard]] int Order() const { return static_cast<int>(column_.size()) - 1; }
  /// Throws INVALID_PARAMETER_VALUE after an ALARM line if a divided difference overflows.
  void Fit(std::size_t first, T* z, T* c, T* worth);
  static void Report(T) {}

  template <std::size_t kCount>
  static void At(const T* z, const T* c, std::size_t terms, std::size_t stride, T x, Jet<T>* jets) {
    const T* term = c + (terms - 1) * stride;
    for (std::size_t i = 0; i < kCount; ++i) jets[i] = {term[i], T{0}, T{0}};
    for (std::size_t k = terms - 1; k-- > 0;) {
      const T dx = x - z[k / kTermsPerNode];
      term -= stride;
      for (std::size_t i = 0; i < kCount; ++i) {
        jets[i].d2y = jets[i].d2y * dx + jets[i].dy;
        jets[i].dy = jets[i].dy * dx + jets[i].y;
        jets[i].y = jets[i].y * dx + term[i];
      }
    }
    for (std::size_t i = 0; i < kCount; ++i) jets[i].d2y *= T{2};
  }
  /// Gives every term its own node and removes the zeros after the last term.
  static void Publish(Piece<T>& piece);
  [[nodiscard]] static ARRAY<T> Coefficients(const Piece<T>& piece) {
    return ArrayOf<T>(piece.c, 0);
  }

  static std::size_t StepsPerPoint(std::size_t m, const Request&) {
    return m * kTermsPerNode * kTermsPerNode;
  }
  /// No limit is needed, because differences of very high order vanish or overflow, and either ends
  /// the work.
  static void CheckWholeFit(std::size_t, const Request&) {}

 private:
  const Samples<T>& samples_;
  std::size_t points_;
  std::vector<T> column_;  ///< the current column of the scheme of divided differences
  std::size_t terms_used_ = 1;
};

}  // namespace quellmark::orbit

/// The polynomial through n + 1 support points; GetCoeffs() returns the Newton coefficients c[0..n]
/// for the support points in ascending order as nodes.
template <class T>
class POLYNOM final
    : public quellmark::orbit::Modelled<
          POLYNOM<T>, quellmark::orbit::Piecewise<T, quellmark::orbit::NewtonKind<T, false>>,
          POINT<T>> {
 public:
  using Kind = quellmark::orbit::NewtonKind<T, false>;
  static constexpr auto Build = quellmark::orbit::Piecewise<T, Kind>::Whole;
  [[nodiscard]] ARRAY<T> GetCoeffs() const override { return this->Coefficients(); }
};

/// The polynomial of degree 2 n - 1 or less that has the given value and derivative at n support
/// points. SetOrder() has no effect on it.
template <class T>
class HERMITE_POLY final
    : public quellmark::orbit::Modelled<
          HERMITE_POLY<T>, quellmark::orbit::Piecewise<T, quellmark::orbit::NewtonKind<T, true>>,
          DPOINT<T>> {
 public:
  using Kind = quellmark::orbit::NewtonKind<T, true>;
  static constexpr auto Build = quellmark::orbit::Piecewise<T, Kind>::Whole;
};

extern template class quellmark::orbit::Piecewise<float,
                                                  quellmark::orbit::NewtonKind<float, false>>;
extern template class quellmark::orbit::Piecewise<float, quellmark::orbit::NewtonKind<float, true>>;
extern template class quellmark::orbit::Piecewise<double,
                                                  quellmark::orbit::NewtonKind<double, false>>;
extern template class quellmark::orbit::Piecewise<double,
                                                  quellmark::orbit::NewtonKind<double, true>>;
