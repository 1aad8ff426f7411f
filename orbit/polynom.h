// The polynomials that meet all their support points.
#pragma once

#include "orbit/newton_form.h"

/// The polynomial through n + 1 support points.
template <class T>
class POLYNOM final : public quellmark::orbit::Evaluated<POLYNOM<T>, T, POINT<T>> {
 public:
  void Fit(std::span<const POINT<T>> points) {
    form_.Fit(points);
    count_ = static_cast<int>(points.size());
  }
  [[nodiscard]] quellmark::orbit::Jet<T> At(T x) const { return form_.At(x); }
  /// The Newton coefficients c[0..n]; the nodes are the support points in their order.
  [[nodiscard]] ARRAY<T> GetCoeffs() const override;

  static constexpr std::string_view kForm = quellmark::orbit::kNewtonForm;
  void ForEachPiece(T first, T last, auto visit) const { visit(form_.PieceOn(first, last)); }

 private:
  quellmark::orbit::NewtonForm<T> form_;
  int count_ = 1;  ///< of coefficients, one for each support point
};

/// The polynomial of degree 2 n - 1 or less that meets value and derivative at n support points. It
/// knows no order but that.
template <class T>
class HERMITE_POLY final : public quellmark::orbit::Evaluated<HERMITE_POLY<T>, T, DPOINT<T>> {
 public:
  void Fit(std::span<const DPOINT<T>> points) { form_.Fit(points); }
  [[nodiscard]] quellmark::orbit::Jet<T> At(T x) const { return form_.At(x); }

  static constexpr std::string_view kForm = quellmark::orbit::kNewtonForm;
  void ForEachPiece(T first, T last, auto visit) const { visit(form_.PieceOn(first, last)); }

 private:
  quellmark::orbit::NewtonForm<T> form_;
};

extern template class POLYNOM<float>;
extern template class POLYNOM<double>;
extern template class HERMITE_POLY<float>;
extern template class HERMITE_POLY<double>;
