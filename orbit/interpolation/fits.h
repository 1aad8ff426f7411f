// Least-squares fits by singular value decomposition.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "geolocation/lsq/svd.h"
#include "orbit/interpolation/piecewise.h"

namespace quellmark::orbit {

/// 1, u, u^2, ... over u = (x - z0) / z1, where z0 is the middle of the support range and z1 half
/// its length. So |u| <= 1: the powers neither overflow nor become too alike.
template <class T>
struct PowerForm {
  static constexpr std::string_view kForm = kPowerForm;
  static constexpr std::string_view kName = "POLYFIT";
  static constexpr const char* kNoMemory = "POLYNOM: not enough memory..";
  static constexpr const char* kReduce[] = {"POLYFIT: reduce polynomial fit order ", " -> "};

  static void SetNodes(T first, T last, T* z);
  [[nodiscard]] static T Map(const T* z, T x) { return (x - z[0]) / z[1]; }
  /// Sets values[1..count] to the basis functions at u.
  static void Basis(T u, T values[], int count);
  static void Report(int order, T chi_square);

  template <std::size_t kCount>
  static void At(const T* z, const T* c, std::size_t terms, std::size_t stride, T x, Jet<T>* jets) {
    const T u = Map(z, x);
    for (std::size_t i = 0; i < kCount; ++i) jets[i] = {};
    const T* term = c + terms * stride;
    while (term != c) {
      term -= stride;
      for (std::size_t i = 0; i < kCount; ++i) {
        jets[i].d2y = jets[i].d2y * u + jets[i].dy;
        jets[i].dy = jets[i].dy * u + jets[i].y;
        jets[i].y = jets[i].y * u + term[i];
      }
    }
    for (std::size_t i = 0; i < kCount; ++i) {
      jets[i].dy /= z[1];
      jets[i].d2y = T{2} * jets[i].d2y / (z[1] * z[1]);
    }
  }
  /// Converts the coefficients to those of powers of x - z0. Throws INVALID_PARAMETER_VALUE after
  /// an ALARM line if one of them overflows or underflows.
  static void Publish(Piece<T>& piece);
  /// From index 0; the coefficient of the k-th power stands at k + 1, entry 0 is not used.
  [[nodiscard]] static ARRAY<T> Coefficients(Piece<T> piece) {
    Publish(piece);
    return ArrayOf<T>(piece.c, 1);
  }
};

/// Chebyshev's T0, T1, T2, ... over u = (x - z0) / z1 - 1: the support range is mapped to [-1, 1].
template <class T>
struct ChebyshevForm {
  static constexpr std::string_view kForm = "c0 + c1 T1(u) + c2 T2(u) + ..., u = (t - z0) / z1 - 1";
  static constexpr std::string_view kName = "CHEBY_POLY";
  static constexpr const char* kNoMemory = "CHEBY_POLY::Create: not enough memory.";
  static constexpr const char* kReduce[] = {"CHEBY_POLY::Create: reduce polynomial fit order ",
                                            "->"};

  static void SetNodes(T first, T last, T* z);
  [[nodiscard]] static T Map(const T* z, T x) { return (x - z[0]) / z[1] - T{1}; }
  static void Basis(T u, T values[], int count);
  static void Report(int order, T chi_square);

  template <std::size_t kCount>
  static void At(const T* z, const T* c, std::size_t terms, std::size_t stride, T x, Jet<T>* jets) {
    const T u = Map(z, x);
    // T_k and its derivatives with respect to u, for this k and the one before. T_-1 = u makes the
    // recurrence start with T_0 = 1 and T_1 = u.
    Jet<T> before{u, T{1}, T{0}};
    Jet<T> now{T{1}, T{0}, T{0}};
    for (std::size_t i = 0; i < kCount; ++i) jets[i] = {c[i], T{0}, T{0}};
    for (std::size_t k = 1; k < terms; ++k) {
      const Jet<T> next{T{2} * u * now.y - before.y, T{2} * now.y + T{2} * u * now.dy - before.dy,
                        T{4} * now.dy + T{2} * u * now.d2y - before.d2y};
      before = now;
      now = next;
      for (std::size_t i = 0; i < kCount; ++i) {
        jets[i].y += c[k * stride + i] * now.y;
        jets[i].dy += c[k * stride + i] * now.dy;
        jets[i].d2y += c[k * stride + i] * now.d2y;
      }
    }
    for (std::size_t i = 0; i < kCount; ++i) {
      jets[i].dy /= z[1];
      jets[i].d2y /= z[1] * z[1];
    }
  }
  static void Publish(Piece<T>&) {}
  /// c[0..order].
  [[nodiscard]] static ARRAY<T> Coefficients(const Piece<T>& piece) {
    return ArrayOf<T>(piece.c, 0);
  }
};

/// Fits the first functions of a Form's basis, with weight 1 for all samples. If the samples have
/// the same u as those of the fit before, its decomposition is reused. This is so for the
/// coordinates of an orbit, and for neighbouring spans of evenly spaced points.
template <class T, class Form>
class FitKind : public Form {
 public:
  static constexpr bool kHasDerivative = false;

  /// Throws INVALID_PARAMETER_VALUE after an ALARM line if the order is too high.
  FitKind(const Samples<T>& samples, std::size_t m, const Request& request);

  [[nodiscard]] std::size_t Nodes() const { return 2; }
  [[nodiscard]] std::size_t Terms() const { return static_cast<std::size_t>(order_) + 1; }
  [[nodiscard]] std::size_t TermsUsed() const { return Terms(); }
  [[nodiscard]] int Order() const { return order_; }
  /// `worth` receives chi^2.
  void Fit(std::size_t first, T* z, T* c, T* worth);
  void Report(T chi_square) const { Form::Report(order_, chi_square); }

  static std::size_t StepsPerPoint(std::size_t m, const Request& request);
  static void CheckWholeFit(std::size_t count, const Request& request);

 private:
  const Samples<T>& samples_;
  int points_;
  int asked_order_;
  int order_;  ///< at most the number of points less 1
  // All arrays start at index 1.
  ARRAY<T> u_;
  ARRAY<T> y_;
  ARRAY<T> weights_;
  ARRAY<T> coefficients_;
  Piece<T> published_;
  std::vector<T> decomposed_u_;  ///< the u whose decomposition `work_` holds; empty if none
  lsq::SvdfitWorkspace<T> work_;
};

}  // namespace quellmark::orbit

/// The polynomial of order m that fits the points best. m is 5 unless set, and at most the number
/// of points less 1. GetCoeffs() returns the coefficients of powers of x minus the middle of the
/// support range.
template <class T>
class POLYNOM_FIT final
    : public quellmark::orbit::Modelled<
          POLYNOM_FIT<T>,
          quellmark::orbit::Piecewise<T,
                                      quellmark::orbit::FitKind<T, quellmark::orbit::PowerForm<T>>>,
          POINT<T>> {
 public:
  using Kind = quellmark::orbit::FitKind<T, quellmark::orbit::PowerForm<T>>;
  static constexpr auto Build = quellmark::orbit::Piecewise<T, Kind>::Whole;
  [[nodiscard]] ARRAY<T> GetCoeffs() const override { return this->Coefficients(); }
};

/// The sum of Chebyshev polynomials up to order m (as for POLYNOM_FIT) that fits the points best.
template <class T>
class CHEBY_POLY final
    : public quellmark::orbit::Modelled<
          CHEBY_POLY<T>,
          quellmark::orbit::Piecewise<
              T, quellmark::orbit::FitKind<T, quellmark::orbit::ChebyshevForm<T>>>,
          POINT<T>> {
 public:
  using Kind = quellmark::orbit::FitKind<T, quellmark::orbit::ChebyshevForm<T>>;
  static constexpr auto Build = quellmark::orbit::Piecewise<T, Kind>::Whole;
  [[nodiscard]] ARRAY<T> GetCoeffs() const override { return this->Coefficients(); }

  /// Maps x linearly so that the support range becomes [-1, 1].
  [[nodiscard]] virtual T MapX(T x) const { return Kind::Map(this->Created().Table().Row(0), x); }
};

extern template class quellmark::orbit::Piecewise<
    float, quellmark::orbit::FitKind<float, quellmark::orbit::PowerForm<float>>>;
extern template class quellmark::orbit::Piecewise<
    float, quellmark::orbit::FitKind<float, quellmark::orbit::ChebyshevForm<float>>>;
extern template class quellmark::orbit::Piecewise<
    double, quellmark::orbit::FitKind<double, quellmark::orbit::PowerForm<double>>>;
extern template class quellmark::orbit::Piecewise<
    double, quellmark::orbit::FitKind<double, quellmark::orbit::ChebyshevForm<double>>>;
