// Interpolation of sampled functions of one variable: the operations that every kind answers.
#pragma once

#include <cmath>
#include <span>
#include <string_view>
#include <vector>

#include "basic/array.h"
#include "basic/errors.h"
#include "basic/point.h"

namespace quellmark::orbit {

/// Value, first and second derivative of a function at one abscissa.
template <class T>
struct Jet {
  T y{};
  T dy{};
  T d2y{};
};

/// A stretch of the abscissa t_start .. t_stop on which an interpolation is one polynomial, and the
/// numbers c and z of which the kind's form makes it.
template <class T>
struct Piece {
  T t_start{};
  T t_stop{};
  std::vector<T> c;
  std::vector<T> z;
};

}  // namespace quellmark::orbit

/// T is float or double (float members compute in single precision), P is POINT<T>, or DPOINT<T>
/// for the kinds that take the derivative at the support points. Support points may start at any
/// index; their abscissae ascend. The virtual operations stand in the order of their slots.
template <class T, class P>
class INTERPOLATION {
 public:
  INTERPOLATION() = default;
  INTERPOLATION(const INTERPOLATION&) = default;
  INTERPOLATION(INTERPOLATION&&) noexcept = default;
  INTERPOLATION& operator=(const INTERPOLATION&) = default;
  INTERPOLATION& operator=(INTERPOLATION&&) noexcept = default;
  virtual ~INTERPOLATION() = default;

  /// As Create(), and writes what a fit is worth to the log.
  virtual void CreateWithReport(const ARRAY<P>& points);
  /// Takes the support points; throws INVALID_PARAMETER_VALUE after an ALARM line if they can not
  /// be interpolated.
  virtual void Create(const ARRAY<P>& points);
  /// Order of the next creation; a negative one leaves the order as it was.
  virtual void SetOrder(int order);
  /// Support points per span of the next creation; -1 leaves the count as it was.
  virtual void SetSupportPointCount(int count);
  /// Value, first and second derivative at a finite x; ERROR_ARGUMENT after an ALARM line for any
  /// other.
  [[nodiscard]] virtual T GetY(T x) const;
  [[nodiscard]] virtual T GetDerivedY(T x) const;
  [[nodiscard]] virtual T GetDerived2Y(T x) const;
  /// Coefficients in the kind's own form and index range.
  [[nodiscard]] virtual ARRAY<T> GetCoeffs() const;
};

namespace quellmark::orbit {

/// Throws INVALID_PARAMETER_VALUE after an ALARM line unless there is a point, all numbers are
/// finite and, if they must, the abscissae ascend strictly: every interpolation divides by their
/// differences.
template <class P>
void CheckSupportPoints(std::span<const P> points, bool must_ascend = true);

/// Throws INVALID_PARAMETER_VALUE after an ALARM line that begins with the name of the kind unless
/// all coefficients are finite.
template <class T>
void CheckFinite(std::span<const T> coefficients, const char* kind);

/// Throws ERROR_ARGUMENT after an ALARM line.
[[noreturn]] void FailNotFinite(double x);

inline constexpr std::string_view kNewtonForm = "c0 + (t - z0) (c1 + (t - z1) (c2 + ...))";
inline constexpr std::string_view kPowerForm = "c0 + c1 (t - z0) + c2 (t - z0)^2 + ...";

/// The virtual operations of the kind `Self` over its statically bound ones: Fit(points) builds,
/// Report() logs, CreateAllWithReport() does both for several curves at once, At(x) gives the Jet
/// at a finite x, AtAll() those of several curves, ForEachPiece(first, last, visit) visits the
/// Pieces from the first to the last support point in the form kForm.
template <class Self, class T, class P>
class Evaluated : public INTERPOLATION<T, P> {
 public:
  void Create(const ARRAY<P>& points) override {
    CheckSupportPoints<P>(points.Elements(), Self::kChecksAscent);
    self().Fit(points.Elements());
  }
  void CreateWithReport(const ARRAY<P>& points) override {
    self().Create(points);
    self().Report();
  }
  [[nodiscard]] T GetY(T x) const override { return CheckedAt(x).y; }
  [[nodiscard]] T GetDerivedY(T x) const override { return CheckedAt(x).dy; }
  [[nodiscard]] T GetDerived2Y(T x) const override { return CheckedAt(x).d2y; }

  /// Whether points that do not ascend are refused before Fit(): EVERETT has its own message.
  static constexpr bool kChecksAscent = true;
  void Report() const {}
  /// curves[i].CreateWithReport(points[i]), for curves with the same settings and points of the
  /// same abscissae.
  static void CreateAllWithReport(std::span<Self> curves, std::span<const ARRAY<P>> points) {
    for (std::size_t i = 0; i < curves.size(); ++i) curves[i].CreateWithReport(points[i]);
  }
  /// jets[i] becomes curves[i].At(x). The curves were created with the same settings from support
  /// points of the same abscissae: where x lies is found for all of them together.
  static void AtAll(std::span<const Self> curves, T x, std::span<Jet<T>> jets) {
    for (std::size_t i = 0; i < curves.size(); ++i) jets[i] = curves[i].At(x);
  }

 private:
  Self& self() { return static_cast<Self&>(*this); }
  [[nodiscard]] Jet<T> CheckedAt(T x) const {
    if (!std::isfinite(x)) FailNotFinite(static_cast<double>(x));
    return static_cast<const Self&>(*this).At(x);
  }
};

}  // namespace quellmark::orbit
