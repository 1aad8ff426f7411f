// Takes any bytes as the text of an interpolation. A text that is accepted must equal the one that
// its numbers make, and its interpolator must be refused or work everywhere.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>

#include "basic/errors.h"
#include "orbit/interpolation/everett.h"
#include "orbit/interpolation/fits.h"
#include "orbit/interpolation/local_interpolation.h"
#include "orbit/interpolation/polynom.h"
#include "orbit/interpolation/spline.h"
#include "orbit/selection.h"
#include "tests/fuzz/fuzz.h"

namespace {

using quellmark::orbit::InterpolationChoice;
using quellmark::orbit::ParseInterpolation;
using quellmark::test::Check;

void CheckAgain(const InterpolationChoice& choice) {
  const auto id = static_cast<std::size_t>(choice.interpolation_id);
  std::string text(quellmark::orbit::kInterpolationNames.at(id));
  if (choice.polynomial_fit_order >= 0) text += "_" + std::to_string(choice.polynomial_fit_order);
  if (choice.support_point_count >= 0) text += "_" + std::to_string(choice.support_point_count);
  const InterpolationChoice again = ParseInterpolation(text);
  Check(again.interpolation_id == choice.interpolation_id);
  Check(again.polynomial_fit_order == choice.polynomial_fit_order);
  Check(again.support_point_count == choice.support_point_count);
}

template <class I, class P>
void Interpolate(const InterpolationChoice& choice) {
  ARRAY<P> points(RANGE<int>(-2, 9));
  for (int j = -2; j < 7; ++j) {
    const double x = 10.0 * j;
    if constexpr (requires(P p) { p.Dy(); }) {
      points[j] = P(x, std::sin(0.01 * x), 0.01 * std::cos(0.01 * x));
    } else {
      points[j] = P(x, std::sin(0.01 * x));
    }
  }
  I curve;
  curve.SetOrder(choice.polynomial_fit_order);
  curve.SetSupportPointCount(choice.support_point_count);
  curve.CreateWithReport(points);
  for (const double x : {-1e300, -20.0, -3.0, 0.0, 37.5, 60.0, 1e300}) {
    static_cast<void>(curve.GetY(x));
    static_cast<void>(curve.GetDerivedY(x));
    static_cast<void>(curve.GetDerived2Y(x));
  }
  // Between the points the curve must be near a smooth function, for any order (order 0 is a
  // constant or a line).
  Check(std::abs(curve.GetY(22.0) - std::sin(0.22)) < 1.0);
}

template <class I>
using Local = LOCAL_INTERPOLATION<double, I, POINT<double>>;
using LocalHermite = LOCAL_INTERPOLATION<double, HERMITE_POLY<double>, DPOINT<double>>;

constexpr void (*kInterpolate[])(const InterpolationChoice&) = {
    Interpolate<POLYNOM<double>, POINT<double>>,
    Interpolate<POLYNOM_FIT<double>, POINT<double>>,
    Interpolate<SPLINE<double>, POINT<double>>,
    Interpolate<Local<POLYNOM<double>>, POINT<double>>,
    Interpolate<Local<POLYNOM_FIT<double>>, POINT<double>>,
    Interpolate<CHEBY_POLY<double>, POINT<double>>,
    Interpolate<Local<CHEBY_POLY<double>>, POINT<double>>,
    Interpolate<HERMITE_POLY<double>, DPOINT<double>>,
    Interpolate<LocalHermite, DPOINT<double>>,
    Interpolate<EVERETT<double>, POINT<double>>,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const InterpolationChoice choice = ParseInterpolation(quellmark::test::TextOf(data, size));
    CheckAgain(choice);
    kInterpolate[choice.interpolation_id](choice);
  } catch (const ERROR_ARGUMENT&) {           // from the text
  } catch (const INVALID_PARAMETER_VALUE&) {  // from its numbers
  }
  return 0;
}
