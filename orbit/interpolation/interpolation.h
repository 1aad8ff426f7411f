// Interpolation of sampled functions of one variable: the operations that every kind has.
#pragma once

#include <cmath>
#include <cstddef>
#include <memory>
#include <new>
#include <span>
#include <string_view>
#include <utility>

#include "basic/array.h"
#include "basic/errors.h"
#include "basic/point.h"
#include "orbit/interpolation/piece_table.h"
#include "orbit/interpolation/samples.h"

/// T is float or double (float members compute in single precision), P is POINT<T>, or DPOINT<T>
/// for the kinds that use derivatives at the support points. Support points may start at any index;
/// their abscissae ascend. The order of the virtual operations is fixed.
template <class T, class P>
class INTERPOLATION {
 public:
  INTERPOLATION() = default;
  INTERPOLATION(const INTERPOLATION&) = default;
  INTERPOLATION(INTERPOLATION&&) noexcept = default;
  INTERPOLATION& operator=(const INTERPOLATION&) = default;
  INTERPOLATION& operator=(INTERPOLATION&&) noexcept = default;
  virtual ~INTERPOLATION() = default;

  /// Does what Create() does, and logs the quality of a fit.
  virtual void CreateWithReport(const ARRAY<P>& points);
  /// Builds the interpolation from support points. Throws INVALID_PARAMETER_VALUE after an ALARM
  /// line if they cannot be interpolated; the object is then unchanged.
  virtual void Create(const ARRAY<P>& points);
  /// Sets the order for the next creation; a negative one changes nothing.
  virtual void SetOrder(int order);
  /// Sets the support points per span for the next creation; -1 changes nothing.
  virtual void SetSupportPointCount(int count);
  /// Value, first and second derivative at x. Throw ERROR_ARGUMENT after an ALARM line for an x
  /// that is not finite, and ERROR_ALGORITHM after an ALARM line before the first creation.
  [[nodiscard]] virtual T GetY(T x) const;
  [[nodiscard]] virtual T GetDerivedY(T x) const;
  [[nodiscard]] virtual T GetDerived2Y(T x) const;
  /// Coefficients in the kind's own form and index range.
  [[nodiscard]] virtual ARRAY<T> GetCoeffs() const;
};

namespace quellmark::orbit {

/// Throws INVALID_PARAMETER_VALUE unless all coefficients are finite, after an ALARM line that
/// begins with the name of the kind.
template <class T>
void CheckFinite(std::span<const T> coefficients, std::string_view kind);

/// These throw ERROR_ARGUMENT and ERROR_ALGORITHM, each after an ALARM line.
[[noreturn]] void FailNotFinite(double x);
[[noreturn]] void FailNotCreated();

/// Returns `unused` zeros followed by the numbers, from index 0.
template <class T>
[[nodiscard]] ARRAY<T> ArrayOf(std::span<const T> numbers, int unused);

inline constexpr std::string_view kNewtonForm = "c0 + (t - z0) (c1 + (t - z1) (c2 + ...))";
inline constexpr std::string_view kPowerForm = "c0 + c1 (t - z0) + c2 (t - z0)^2 + ...";

/// The settings of a creation; -1 stands for the kind's default.
struct Request {
  int order = -1;
  int support_point_count = -1;
  bool logs_spans = false;  ///< log the spans of a local interpolation
  bool logs_worth = false;  ///< log the quality of a fit
};

/// Implements the virtual operations by a Model, which is the result of a creation. A Model never
/// changes; coordinates that were created together share one, and so do copies.
/// `Self::Build(samples, request)` makes it. A Model has
///   At<n>(x, column, jets)     Jets of n coordinates from `column` on at a finite x,
///   Coefficients(column)       what GetCoeffs() returns, if the kind has it,
///   ForEachPiece(column, visit)  the Pieces from the first to the last sample in the form kForm,
///   Order(), PointsPerPiece()  the settings that it was made with,
///   SamplesTaken().
template <class Self, class Model, class P>
class Modelled : public INTERPOLATION<typename Model::Number, P> {
  using T = typename Model::Number;

 public:
  using SharedSamples = std::shared_ptr<const Samples<T>>;

  void Create(const ARRAY<P>& points) override { CreateAlone(points, false); }
  void CreateWithReport(const ARRAY<P>& points) override { CreateAlone(points, true); }
  void SetOrder(int order) override {
    if (order >= 0) requested_.order = order;
  }
  void SetSupportPointCount(int count) override {
    if (count != -1) requested_.support_point_count = count;
  }
  [[nodiscard]] T GetY(T x) const override { return CheckedAt(x).y; }
  [[nodiscard]] T GetDerivedY(T x) const override { return CheckedAt(x).dy; }
  [[nodiscard]] T GetDerived2Y(T x) const override { return CheckedAt(x).d2y; }

  /// Creates curves[i] from coordinate i of the samples. All have the settings of the first and
  /// share one Model, so work that depends on the abscissae only is done once.
  static void CreateTogether(std::span<Self> curves, SharedSamples samples, bool with_lines) {
    if (curves.empty()) return;
    Request request = curves[0].requested_;
    request.logs_spans = request.logs_worth = with_lines;
    const auto model = MakeModel([&] { return std::move(samples); }, request);
    for (std::size_t i = 0; i < curves.size(); ++i) curves[i].Adopt(model, i);
  }
  /// The Model. Throws ERROR_ALGORITHM after an ALARM line before the first creation.
  [[nodiscard]] const Model& Created() const {
    if (model_ == nullptr) FailNotCreated();
    return *model_;
  }
  [[nodiscard]] std::size_t Column() const { return column_; }
  void Adopt(std::shared_ptr<const Model> model, std::size_t column) {
    model_ = std::move(model);
    column_ = column;
  }

 protected:
  [[nodiscard]] ARRAY<T> Coefficients() const { return Created().Coefficients(column_); }

 private:
  void CreateAlone(const ARRAY<P>& points, bool with_report) {
    Request request = requested_;
    request.logs_spans = true;
    request.logs_worth = with_report;
    const auto take_samples = [&points] {
      return std::make_shared<const Samples<T>>(SamplesOf<T, P>(points.Elements(), points.First()));
    };
    Adopt(MakeModel(take_samples, request), 0);
  }
  static std::shared_ptr<const Model> MakeModel(auto take_samples, const Request& request) try {
    return std::make_shared<const Model>(Self::Build(take_samples(), request));
  } catch (const std::bad_alloc&) {
    // The fits throw their own texts for this.
    if constexpr (requires { Self::Kind::kNoMemory; }) throw Self::Kind::kNoMemory;
    throw;
  }
  [[nodiscard]] Jet<T> CheckedAt(T x) const {
    if (!std::isfinite(x)) FailNotFinite(static_cast<double>(x));
    Jet<T> jet;
    Created().template At<1>(x, column_, &jet);
    return jet;
  }

  Request requested_;
  std::shared_ptr<const Model> model_;
  std::size_t column_ = 0;
};

}  // namespace quellmark::orbit
