#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "orbit/interpolation/everett.h"
#include "orbit/interpolation/fits.h"
#include "orbit/interpolation/local_interpolation.h"
#include "orbit/interpolation/polynom.h"
#include "orbit/interpolation/spline.h"
#include "tests/support/child.h"
#include "tests/support/expect_fails.h"
#include "tests/support/rows.h"
#include "tests/support/scoped_log.h"

namespace {

using quellmark::orbit::Jet;
using quellmark::test::LogOfFailure;
using quellmark::test::ReadRows;
using quellmark::test::Row;
using quellmark::test::ScopedLog;
using testing::DoubleNear;
using testing::Pointwise;
using Function = std::function<Jet<double>(double)>;

template <class T>
using LocalPolynom = LOCAL_INTERPOLATION<T, POLYNOM<T>, POINT<T>>;
template <class T>
using LocalPolynomFit = LOCAL_INTERPOLATION<T, POLYNOM_FIT<T>, POINT<T>>;
template <class T>
using LocalHermite = LOCAL_INTERPOLATION<T, HERMITE_POLY<T>, DPOINT<T>>;

// Samples of `f` at `abscissae`; the first one has the index `first`.
template <class P>
ARRAY<P> Sampled(const Function& f, const std::vector<double>& abscissae, int first = 0) {
  using T = decltype(P().X());
  ARRAY<P> points(RANGE<int>(first, static_cast<int>(abscissae.size())));
  for (std::size_t j = 0; j < abscissae.size(); ++j) {
    const Jet<double> jet = f(abscissae[j]);
    P& point = points[first + static_cast<int>(j)];
    if constexpr (std::is_same_v<P, DPOINT<T>>) {
      point = P(static_cast<T>(abscissae[j]), static_cast<T>(jet.y), static_cast<T>(jet.dy));
    } else {
      point = P(static_cast<T>(abscissae[j]), static_cast<T>(jet.y));
    }
  }
  return points;
}

std::vector<double> Steps(int count, double step = 1.0, double start = 0.0) {
  std::vector<double> abscissae;
  for (int j = 0; j < count; ++j) abscissae.push_back(start + j * step);
  return abscissae;
}

std::vector<double> WithMiddles(const std::vector<double>& nodes) {
  std::vector<double> all = {nodes[0]};
  for (std::size_t j = 1; j < nodes.size(); ++j) {
    for (const double part : {0.1, 0.5, 0.97, 1.0}) {
      all.push_back(nodes[j - 1] + part * (nodes[j] - nodes[j - 1]));
    }
  }
  return all;
}

// x^degree / scale^degree + 1 and its derivatives.
Function Power(int degree, double scale) {
  return [=](double x) {
    const double u = x / scale;
    const auto power = [&](int drop) {
      return degree < drop ? 0.0 : std::pow(u, degree - drop) / std::pow(scale, drop);
    };
    return Jet<double>{power(0) + 1.0, degree * power(1), degree * (degree - 1) * power(2)};
  };
}

const Function kSine = [](double x) { return Jet<double>{std::sin(x), std::cos(x), -std::sin(x)}; };

Function ValuesOnly(const std::function<double(double)>& f) {
  return [=](double x) { return Jet<double>{f(x), 0.0, 0.0}; };
}

template <class I>
I Ordered(int order, int support_point_count) {
  I curve;
  curve.SetOrder(order);
  curve.SetSupportPointCount(support_point_count);
  return curve;
}

template <class I>
I Created(I curve, const auto& points) {
  curve.Create(points);
  return curve;
}

template <class I>
std::vector<double> CoefficientsOf(const I& curve) {
  const ARRAY<double> coefficients = curve.GetCoeffs();
  return {coefficients.Elements().begin(), coefficients.Elements().end()};
}

// Calls check(name, curve, point, degree) for each kind. The curve is not yet created and takes
// points of that type; it reproduces polynomials up to that degree.
template <class T>
void ForEachKind(auto check) {
  const POINT<T> point;
  check("polynom", Ordered<POLYNOM<T>>(-1, -1), point, 7);
  check("hermite", Ordered<HERMITE_POLY<T>>(-1, -1), DPOINT<T>(), 15);
  check("polyfit", Ordered<POLYNOM_FIT<T>>(6, -1), point, 6);
  check("chebyshev", Ordered<CHEBY_POLY<T>>(6, -1), point, 6);
  check("spline", Ordered<SPLINE<T>>(-1, -1), point, 1);
  check("everett", Ordered<EVERETT<T>>(4, -1), point, 5);
  check("localpolynom", Ordered<LocalPolynom<T>>(-1, 5), point, 4);
  check("localpolyfit", Ordered<LocalPolynomFit<T>>(4, 6), point, 4);
  check("localchebyshev", Ordered<LOCAL_INTERPOLATION<T, CHEBY_POLY<T>, POINT<T>>>(4, 6), point, 4);
  check("localhermite", Ordered<LocalHermite<T>>(-1, 3), DPOINT<T>(), 5);
}

template <class T>
void CheckPolynomialsAreReproduced() {
  const std::vector<double> nodes = Steps(8);
  ForEachKind<T>([&](const char* name, auto curve, auto point, int highest) {
    for (const int first : {-3, 0, 1}) {
      for (int degree = 0; degree <= highest; ++degree) {
        SCOPED_TRACE(std::string(name) + ", degree " + std::to_string(degree));
        const Function f = Power(degree, 7.0);
        curve.Create(Sampled<decltype(point)>(f, nodes, first));
        // The nodes are 1 apart and the values are at most 2. The rounding grows with the number of
        // differences, 2^order, and again with each derivative.
        const double epsilon = 500.0 * static_cast<double>(std::numeric_limits<T>::epsilon());
        for (const double x : WithMiddles(nodes)) {
          // After this node a difference is missing, and the last full interval extrapolates.
          if (std::string(name) == "everett" && x >= nodes[5]) break;
          const Jet<double> truth = f(x);
          const T at = static_cast<T>(x);
          EXPECT_NEAR(static_cast<double>(curve.GetY(at)), truth.y, epsilon) << x;
          EXPECT_NEAR(static_cast<double>(curve.GetDerivedY(at)), truth.dy, 10 * epsilon) << x;
          EXPECT_NEAR(static_cast<double>(curve.GetDerived2Y(at)), truth.d2y, 40 * epsilon) << x;
        }
      }
    }
  });
}

TEST(Interpolation, PolynomialsAreReproduced) {
  const ScopedLog quiet(LOG::Level::kAlarm);
  CheckPolynomialsAreReproduced<double>();
  CheckPolynomialsAreReproduced<float>();
}

TEST(Interpolation, DerivativesAreThoseOfTheValue) {
  const ScopedLog quiet(LOG::Level::kAlarm);
  const std::vector<double> nodes = Steps(12, 0.1);
  ForEachKind<double>([&](const char* name, auto curve, auto point, int) {
    curve.Create(Sampled<decltype(point)>(kSine, nodes));
    for (const double x : WithMiddles({nodes.begin() + 2, nodes.end() - 2})) {
      SCOPED_TRACE(std::string(name) + " at " + std::to_string(x));
      // The truth is five-point forward differences, which stay within the piece of x. Their errors
      // are of order h^4 and h^3. The rounding of the values, 1e-15, is divided by h and by h^2.
      const double h = 5e-4;
      double y[5];
      for (int k = 0; k < 5; ++k) y[k] = curve.GetY(x + k * h);
      const double dy = (-25 * y[0] + 48 * y[1] - 36 * y[2] + 16 * y[3] - 3 * y[4]) / (12 * h);
      const double d2y =
          (35 * y[0] - 104 * y[1] + 114 * y[2] - 56 * y[3] + 11 * y[4]) / (12 * h * h);
      EXPECT_NEAR(curve.GetDerivedY(x), dy, 1e-10);
      EXPECT_NEAR(curve.GetDerived2Y(x), d2y, 5e-7);
      // At a node there is no pole, and no jump larger than the error of the method.
      EXPECT_NEAR(curve.GetDerivedY(x), kSine(x).dy, 3e-3);
      EXPECT_NEAR(curve.GetDerived2Y(x), kSine(x).d2y, 0.1);
    }
  });
}

TEST(Interpolation, BaseOperationsRefuse) {
  const INTERPOLATION<double, POINT<double>> base;
  EXPECT_FAILS(base.GetY(0.0), ERROR_ALGORITHM, "INTERPOLATION::GetY() shell not be called\n");
  EXPECT_FAILS(base.GetDerivedY(0.0), ERROR_ALGORITHM,
               "INTERPOLATION::GetDerivedY() shell not be called\n");
  EXPECT_FAILS(base.GetDerived2Y(0.0), ERROR_ALGORITHM,
               "INTERPOLATION::GetDerived2Y() shell not be called\n");
  EXPECT_FAILS(base.GetCoeffs(), ERROR_ALGORITHM,
               "INTERPOLATION::GetCoeffs() shall not be called\n");
}

TEST(Interpolation, NothingIsAskedBeforeACreation) {
  const char* const line = "INTERPOLATION: nothing was created that could be asked\n";
  ForEachKind<double>([&](const char* name, auto curve, auto point, int) {
    SCOPED_TRACE(name);
    const auto refused = Sampled<decltype(point)>(kSine, {0.0, 1.0, 1.0});
    for (int attempt = 0; attempt < 2; ++attempt) {
      EXPECT_FAILS(curve.GetY(0.0), ERROR_ALGORITHM, line);
      EXPECT_FAILS(curve.GetDerivedY(0.0), ERROR_ALGORITHM, line);
      EXPECT_FAILS(curve.GetDerived2Y(0.0), ERROR_ALGORITHM, line);
      EXPECT_THROW(static_cast<void>(curve.GetCoeffs()), ERROR_ALGORITHM);
      EXPECT_THROW(curve.Create(refused), INVALID_PARAMETER_VALUE);
    }
  });
}

TEST(Interpolation, WhatWasCreatedStays) {
  ForEachKind<double>([&](const char* name, auto curve, auto point, int) {
    SCOPED_TRACE(name);
    const ScopedLog quiet(LOG::Level::kSilent);
    curve.Create(Sampled<decltype(point)>(kSine, Steps(9)));
    const double before = curve.GetY(3.3);
    curve.SetOrder(2);
    curve.SetSupportPointCount(3);
    {
      const ScopedLog log;
      const auto copy = curve;
      EXPECT_EQ(copy.GetY(3.3), before);
      EXPECT_EQ(log.Text(), "") << "a copy fits nothing anew";
    }
    EXPECT_THROW(curve.Create(Sampled<decltype(point)>(kSine, {0.0, 1.0, 1.0})),
                 INVALID_PARAMETER_VALUE);
    EXPECT_EQ(curve.GetY(3.3), before);
    curve = decltype(curve)();
    EXPECT_THROW(static_cast<void>(curve.GetY(3.3)), ERROR_ALGORITHM);
  });
}

TEST(Interpolation, Defaults) {
  const ScopedLog quiet(LOG::Level::kSilent);
  const auto points = Sampled<POINT<double>>(kSine, Steps(20));
  EXPECT_EQ(CoefficientsOf(Created(POLYNOM_FIT<double>(), points)).size(), 5u + 2u);
  EXPECT_EQ(CoefficientsOf(Created(CHEBY_POLY<double>(), points)).size(), 5u + 1u);
  EXPECT_EQ(Created(EVERETT<double>(), points).GetXi(0.0).i, 6 / 2) << "the first of order 6";
  const auto local = Created(LocalPolynomFit<double>(), points);
  EXPECT_EQ(local.Created().PointsPerPiece(), 8);
  EXPECT_EQ(local.Created().Order(), 5);
}

TEST(Interpolation, HostileSupportPointsAreRefused) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double huge = std::numeric_limits<double>::max();
  const auto refuse = [](const std::vector<double>& x, const Function& f, const char* line) {
    ForEachKind<double>([&](const char* name, auto curve, auto point, int) {
      SCOPED_TRACE(name);
      const auto points = Sampled<decltype(point)>(f, x);
      const bool is_of_everett = name == std::string("everett") && line[0] == 'a';
      EXPECT_FAILS(curve.Create(points), INVALID_PARAMETER_VALUE,
                   is_of_everett ? "EVERETT::Create: Everett interpolation only possible on "
                                   "equidistant grid.\n"
                                 : std::string("INTERPOLATION::Create: ") + line);
    });
  };
  refuse({}, kSine, "no support points.\n");
  refuse({0.0, 1.0, 1.0}, kSine, "abscissae do not ascend at support point 2: 1, 1\n");
  refuse({0.0, 2.0, 1.0}, kSine, "abscissae do not ascend at support point 2: 2, 1\n");
  refuse({1.0, 1.0}, kSine, "abscissae do not ascend at support point 1: 1, 1\n");
  refuse({3.0, 2.0, 1.0}, kSine, "abscissae do not ascend at support point 1: 3, 2\n");
  refuse({0.0, nan, 3.0}, kSine, "support point 1 is not finite.\n");
  refuse({0.0, 1.0}, ValuesOnly([=](double) { return nan; }), "support point 0 is not finite.\n");
  const Function flat = ValuesOnly([](double) { return 1.0; });
  refuse({-huge, huge}, flat,
         "the range of the abscissae overflows: -1.79769e+308 .. 1.79769e+308\n");
  const Function jump = ValuesOnly([=](double x) { return x < 1.0 ? -huge : huge; });
  POLYNOM<double> polynom;
  EXPECT_FAILS(polynom.Create(Sampled<POINT<double>>(jump, Steps(4))), INVALID_PARAMETER_VALUE,
               "POLYNOM: divided differences of order 1 are not finite.\n");
  const auto not_finite = [&](auto curve, const std::string& name) {
    EXPECT_FAILS(curve.Create(Sampled<POINT<double>>(jump, Steps(4))), INVALID_PARAMETER_VALUE,
                 name + "::Create: support points give coefficients that are not finite.\n");
  };
  not_finite(SPLINE<double>(), "SPLINE");
  not_finite(Ordered<EVERETT<double>>(2, -1), "EVERETT");
  not_finite(Ordered<POLYNOM_FIT<double>>(3, -1), "POLYFIT");
  not_finite(Ordered<CHEBY_POLY<double>>(3, -1), "CHEBY_POLY");
}

TEST(Interpolation, NoAbscissaIsTakenThatIsNotFinite) {
  const ScopedLog quiet(LOG::Level::kSilent);
  ForEachKind<double>([&](const char* name, auto curve, auto point, int) {
    SCOPED_TRACE(name);
    curve.Create(Sampled<decltype(point)>(kSine, Steps(9)));
    const std::pair<double, const char*> abscissae[] = {
        {std::nan(""), "nan"}, {HUGE_VAL, "inf"}, {-HUGE_VAL, "-inf"}};
    for (const auto& at : abscissae) {
      const double x = at.first;
      const std::string line =
          std::string("INTERPOLATION: abscissa is not finite: ") + at.second + "\n";
      EXPECT_FAILS(curve.GetY(x), ERROR_ARGUMENT, line);
      EXPECT_FAILS(curve.GetDerivedY(x), ERROR_ARGUMENT, line);
      EXPECT_FAILS(curve.GetDerived2Y(x), ERROR_ARGUMENT, line);
    }
    // Far outside the samples any result is allowed, but no access outside the tables.
    for (const double x : {1e300, -1e300, 1e18, -1e18}) static_cast<void>(curve.GetY(x));
  });
}

TEST(Everett, EndsOfTheTable) {
  ScopedLog log;
  EVERETT<double> line;
  line.SetOrder(0);
  line.Create(Sampled<POINT<double>>(Power(1, 1.0), {3.0, 5.0}));
  EXPECT_DOUBLE_EQ(line.GetY(3.5), 4.5);
  EXPECT_DOUBLE_EQ(line.GetDerivedY(3.5), 1.0);
  EXPECT_EQ(line.GetDerived2Y(3.5), 0.0);
  EXPECT_DOUBLE_EQ(line.GetY(5.0), 6.0);
  EXPECT_EQ(log.Text(), "");
  line.SetOrder(2);
  line.SetOrder(-1);
  line.Create(Sampled<POINT<double>>(Power(1, 1.0), {3.0, 5.0}));
  EXPECT_DOUBLE_EQ(line.GetY(3.5), 4.5);
  EXPECT_EQ(log.Text(),
            "WARN  : EVERETT::GetXi: Forced interpolation left hand side.\n"
            "WARN  : EVERETT::GetXi: Forced interpolation right hand side.\n");
}

TEST(Everett, PlacesAndForcedPlaces) {
  struct Place {
    double x;
    int i;
    double p;
    std::string log;
  };
  const std::string left = "WARN  : EVERETT::GetXi: Forced interpolation left hand side.\n";
  const std::string right = "WARN  : EVERETT::GetXi: Forced interpolation right hand side.\n";
  const std::string extrapolated = "DEBUG : EVERETT::GetXi: Extrapolation needed (r=";
  // Indices -5..4 at 100, 102 .. 118; order 4 needs two points on each side.
  const Place places[] = {
      {104.0, -3, 0.0, ""},
      {109.0, -1, 0.5, ""},
      {114.5, 2, 0.25, ""},
      {103.0, -3, -0.5, left + extrapolated + "-0.5, s=1.5, i=-3, ax=103).\n"},
      {116.0, 2, 1.0, right},
      {121.0, 2, 3.5, right + extrapolated + "3.5, s=-2.5, i=2, ax=121).\n"},
  };
  EVERETT<double> everett;
  everett.SetOrder(4);
  everett.Create(Sampled<POINT<double>>(Power(3, 100.0), Steps(10, 2.0, 100.0), -5));
  for (const Place& place : places) {
    SCOPED_TRACE(place.x);
    const ScopedLog log;
    const auto xi = everett.GetXi(place.x);
    EXPECT_EQ(xi.i, place.i);
    EXPECT_EQ(xi.p, place.p);
    EXPECT_EQ(xi.q, 1.0 - place.p);
    EXPECT_EQ(log.Text(), place.log);
    EXPECT_NEAR(everett.GetY(place.x), Power(3, 100.0)(place.x).y, 1e-14);
  }
}

TEST(Everett, RefusedGrids) {
  const auto create = [](int order, const std::vector<double>& x) {
    EVERETT<double> everett;
    everett.SetOrder(order);
    everett.Create(Sampled<POINT<double>>(kSine, x));
  };
  EXPECT_FAILS(create(4, {1.0}), INVALID_PARAMETER_VALUE,
               "EVERETT::Create: more than 1 value needed.\n");
  EXPECT_FAILS(
      create(3, {1.0, 2.0}), INVALID_PARAMETER_VALUE,
      "EVERETT::Create: Everett interpolation only possible with even order, not for given "
      "order 3\n");
  const char* const uneven =
      "EVERETT::Create: Everett interpolation only possible on equidistant grid.\n";
  EXPECT_FAILS(create(2, {0.0, 1.0, 2.0 + 1.1e-8, 3.0}), INVALID_PARAMETER_VALUE, uneven);
  EXPECT_FAILS(create(2, {0.0, 1.0, 2.0, 3.0 - 1.1e-8}), INVALID_PARAMETER_VALUE, uneven);
  create(2, {0.0, 1.0, 2.0 + 0.9e-8, 3.0});
}

TEST(Spline, NaturalAndSilentOutside) {
  SPLINE<double> spline;
  const std::vector<double> nodes = {0.0, 0.5, 1.5, 2.0, 3.25};
  spline.Create(Sampled<POINT<double>>(kSine, nodes));
  EXPECT_NEAR(spline.GetDerived2Y(0.0), 0.0, 1e-15);
  EXPECT_NEAR(spline.GetDerived2Y(3.25), 0.0, 1e-15);
  // Only one cubic spline passes through the points with natural ends and two continuous
  // derivatives.
  for (const double x : nodes) EXPECT_NEAR(spline.GetY(x), std::sin(x), 1e-15);
  for (std::size_t j = 1; j + 1 < nodes.size(); ++j) {
    const double x = nodes[j];
    const double before = std::nextafter(x, 0.0);
    EXPECT_NEAR(spline.GetY(before), spline.GetY(x), 1e-15);
    EXPECT_NEAR(spline.GetDerivedY(before), spline.GetDerivedY(x), 1e-14);
    EXPECT_NEAR(spline.GetDerived2Y(before), spline.GetDerived2Y(x), 1e-14);
  }
  for (const double x : {std::nextafter(0.0, -1.0), std::nextafter(3.25, 4.0)}) {
    EXPECT_EQ(spline.GetY(x), 0.0);
    EXPECT_EQ(spline.GetDerivedY(x), 0.0);
    EXPECT_EQ(spline.GetDerived2Y(x), 0.0);
  }
  EXPECT_EQ(spline.GetCoeffs().Length(), 16);
  EXPECT_FAILS(spline.Create(Sampled<POINT<double>>(kSine, {1.0})), INVALID_PARAMETER_VALUE,
               "SPLINE::Create: more than 1 value needed.\n");
}

TEST(Polynom, CoefficientsInNewtonForm) {
  POLYNOM<double> square;
  square.Create(Sampled<POINT<double>>(Power(2, 1.0), {1.0, 3.0, 4.0, 6.0}));
  // 2 + 4 (x - 1) + (x - 1) (x - 3), and 0 for the third order
  EXPECT_THAT(CoefficientsOf(square), testing::ElementsAre(2.0, 4.0, 1.0, 0.0));
}

TEST(Fits, OrdersAreReducedAndReported) {
  const auto points = Sampled<POINT<double>>(Power(2, 1.0), Steps(5));
  const ScopedLog log;
  const auto fit = Created(Ordered<POLYNOM_FIT<double>>(8, -1), points);
  auto chebyshev = Created(Ordered<CHEBY_POLY<double>>(5, -1), points);
  EXPECT_EQ(log.Text(),
            "WARN  : POLYFIT: reduce polynomial fit order 8 -> 4\n"
            "WARN  : CHEBY_POLY::Create: reduce polynomial fit order 5->4\n");
  // (x - 2)^2 + 4 (x - 2) + 5, from index 1
  EXPECT_THAT(CoefficientsOf(fit), Pointwise(DoubleNear(1e-12), {0.0, 5.0, 4.0, 1.0, 0.0, 0.0}));
  // x = 2 + 2 u: 4 u^2 + 8 u + 5 = 2 T2 + 8 T1 + 7
  EXPECT_THAT(CoefficientsOf(chebyshev), Pointwise(DoubleNear(1e-12), {7.0, 8.0, 2.0, 0.0, 0.0}));
  EXPECT_EQ(chebyshev.MapX(0.0), -1.0);
  EXPECT_EQ(chebyshev.MapX(4.0), 1.0);
  chebyshev.Create(Sampled<POINT<double>>(Power(0, 1.0), {3.0}));
  EXPECT_DOUBLE_EQ(chebyshev.GetY(3.0), 2.0);
}

TEST(Fits, ChiSquareIsReported) {
  // The best line through 0, 1, 0 is y = 1/3, with the squared residuals 1/9 + 4/9 + 1/9.
  const Function peak = ValuesOnly([](double x) { return x == 1.0 ? 1.0 : 0.0; });
  const auto points = Sampled<POINT<double>>(peak, Steps(3));
  const ScopedLog log;
  POLYNOM_FIT<double> fit;
  fit.SetOrder(1);
  fit.CreateWithReport(points);
  CHEBY_POLY<double> chebyshev;
  chebyshev.SetOrder(1);
  chebyshev.CreateWithReport(points);
  EXPECT_EQ(log.Text(),
            "PARAM : POLYFIT: polynomial fit order = 1\n"
            "PARAM : POLYFIT: chi^2 = 0.666667\n"
            "PARAM : CHEBY_POLY::Create: chi^2 = 0.666667\n");
  EXPECT_NEAR(fit.GetY(0.3), 1.0 / 3.0, 1e-15);
}

TEST(Fits, OrdersAndRangesThatAreRefused) {
  const auto refuse = [](auto curve, const std::vector<double>& x, const std::string& line) {
    using T = decltype(curve.GetY(0));
    EXPECT_FAILS(curve.Create(Sampled<POINT<T>>(kSine, x)), INVALID_PARAMETER_VALUE, line);
  };
  refuse(Ordered<POLYNOM_FIT<double>>(101, -1), Steps(200),
         "POLYFIT: polynomial fit order 101 is above 100\n");
  refuse(Ordered<CHEBY_POLY<double>>(101, -1), Steps(200),
         "CHEBY_POLY: polynomial fit order 101 is above 100\n");
  refuse(Ordered<CHEBY_POLY<double>>(100, -1), Steps(53'000),
         "CHEBY_POLY: polynomial fit order 100 is too high for 53000 points\n");
  // The coefficients of powers of seconds are too small, because (500 s)^16 is too large for a
  // float and (20,000 s)^80 for a double.
  const auto too_small = [](auto curve, const std::vector<double>& x) {
    using T = decltype(curve.GetY(0));
    const auto points = Sampled<POINT<T>>(kSine, x);
    EXPECT_THAT(LogOfFailure<INVALID_PARAMETER_VALUE>([&] { curve.Create(points); }),
                testing::ContainsRegex("ALARM : POLYFIT::Create: the coefficient of power [0-9]+ "
                                       "is too large or too small to be held\\.\n$"));
  };
  too_small(Ordered<POLYNOM_FIT<float>>(16, -1), Steps(41, 25.0));
  too_small(Ordered<POLYNOM_FIT<double>>(80, -1), Steps(401, 100.0));
  // Coefficients within the range are exact to rounding, although a fit by powers of x would not
  // be.
  const ScopedLog quiet(LOG::Level::kSilent);
  const auto fit = Created(Ordered<POLYNOM_FIT<float>>(12, -1),
                           Sampled<POINT<float>>(Power(3, 250.0), Steps(41, 12.5)));
  for (const double x : Steps(100, 5.0)) {
    EXPECT_NEAR(static_cast<double>(fit.GetY(static_cast<float>(x))), Power(3, 250.0)(x).y, 2e-5);
  }
}

// Returns the error text of a fit without memory. A child process runs the fit.
template <class I>
std::string TextWithoutMemory() {
  const auto points = Sampled<POINT<double>>(kSine, Steps(50'000));
  quellmark::test::Child child(std::filesystem::temp_directory_path(), [&points] {
    const rlimit limit{1, 1};  // mapped memory stays, but no more can be mapped
    if (setrlimit(RLIMIT_AS, &limit) != 0) return 1;
    try {
      Created(Ordered<I>(99, -1), points);
    } catch (const char* text) {
      static_cast<void>(std::puts(text));
    }
    return std::fflush(stdout);
  });
  return child.Wait().output;
}

TEST(Fits, SayThatThereIsNotEnoughMemory) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer itself needs the memory";
#endif
  EXPECT_EQ(TextWithoutMemory<POLYNOM_FIT<double>>(), "POLYNOM: not enough memory..\n");
  EXPECT_EQ(TextWithoutMemory<CHEBY_POLY<double>>(), "CHEBY_POLY::Create: not enough memory.\n");
}

TEST(LocalInterpolation, SpansAndTheirLines) {
  const auto points = Sampled<POINT<double>>(kSine, {0.0, 1.0, 3.0, 4.0, 8.0}, 1);
  for (const Row& row : ReadRows(QM_ORBIT_TEST_DATA "/spans.txt")) {
    const ScopedLog log;
    Created(Ordered<LocalPolynomFit<double>>(7, std::stoi(row[0])), points);
    EXPECT_EQ(log.Text(), row[1]);
  }
  const auto whole = Created(POLYNOM<double>(), points);
  EXPECT_EQ(Created(LocalPolynom<double>(), points).GetY(5.5), whole.GetY(5.5));
}

TEST(LocalInterpolation, RefusesWhatWouldNotEnd) {
  const auto refuse = [](auto curve, int points, const std::string& line) {
    EXPECT_FAILS(curve.Create(Sampled<POINT<double>>(kSine, Steps(points))),
                 INVALID_PARAMETER_VALUE, "LOCAL_INTERPOLATION: support_point_count " + line);
  };
  refuse(Ordered<LocalPolynom<double>>(-1, 0), 5, "0 is below 1\n");
  // The first would need too much memory, the second too much time.
  refuse(Ordered<LocalPolynom<double>>(-1, 6000), 12000, "6000 is too large for 12000 points\n");
  refuse(Ordered<LocalPolynomFit<double>>(100, 300), 3000, "300 is too large for 3000 points\n");
  refuse(Ordered<LocalPolynom<double>>(-1, 300), 10000, "300 is too large for 10000 points\n");
}

template <class I>
void ExpectSharedFitsAreTheOnesMadeAlone() {
  using Curve = LOCAL_INTERPOLATION<double, I, POINT<double>>;
  // Two parts with different even steps, then steps that jitter.
  std::vector<double> x = Steps(20);
  for (int j = 0; j < 20; ++j) x.push_back(x.back() + 0.5);
  for (int j = 0; j < 20; ++j) x.push_back(x.back() + 1.0 + 1e-6 * (j * 7 % 5));
  std::vector<Curve> shared(3, Ordered<Curve>(4, 6));
  std::vector<ARRAY<POINT<double>>> points;
  auto samples = std::make_shared<quellmark::orbit::StateVectors>();
  samples->x = x;
  for (const int degree : {1, 3, 5}) {
    points.push_back(Sampled<POINT<double>>(Power(degree, 9.0), x, -4));
    samples->y.push_back(
        quellmark::orbit::SamplesOf<double, POINT<double>>(points.back().Elements(), 0).y[0]);
  }
  Curve::CreateTogether(shared, samples, false);
  for (std::size_t i = 0; i < points.size(); ++i) {
    const auto spans = shared[i].Spans(points[i]);
    ASSERT_EQ(spans.Length(), 55);
    for (int j = 0; j <= spans.Last(); ++j) {
      auto alone = Ordered<I>(4, -1);
      alone.Create(Sampled<POINT<double>>(Power(2 * static_cast<int>(i) + 1, 9.0),
                                          {x.begin() + j, x.begin() + j + 6}));
      EXPECT_EQ(CoefficientsOf(spans[j].interpolation), CoefficientsOf(alone));
      EXPECT_EQ(spans[j].points.First(), j - 4);
      EXPECT_EQ(spans[j].points[j - 4].X(), x[static_cast<std::size_t>(j)]);
      const double middle = 0.5 * (spans[j].t_start + spans[j].t_stop);
      EXPECT_EQ(shared[i].GetY(middle), spans[j].interpolation.GetY(middle));
    }
    EXPECT_FAILS(decltype(spans)(spans), ERROR_NOT_IMPLEMENTED,
                 "never call: SUB_ARRAY<T>::operator=( const SUB_ARRAY< T >& )\n");
  }
}

TEST(LocalInterpolation, SharedFitsAreTheOnesMadeAlone) {
  const ScopedLog quiet(LOG::Level::kAlarm);
  ExpectSharedFitsAreTheOnesMadeAlone<POLYNOM_FIT<double>>();
  ExpectSharedFitsAreTheOnesMadeAlone<CHEBY_POLY<double>>();
}

TEST(LocalInterpolation, FindsTheSpanOfUnevenPoints) {
  const ScopedLog quiet(LOG::Level::kAlarm);
  std::vector<double> x = {0.0};
  for (int j = 1; j < 500; ++j) x.push_back(x.back() + std::pow(2.0, j * 7919 % 13));
  LocalPolynom<double> local;
  local.SetSupportPointCount(4);
  local.Create(Sampled<POINT<double>>(kSine, x));
  const auto& spans = local.Created().Table();
  std::vector<double> everywhere = WithMiddles(x);
  everywhere.insert(everywhere.end(), {-9.0, x.back() + 99.0});  // served by the nearest span
  for (const double at : everywhere) {
    std::size_t expected = spans.Count() - 1;
    while (expected > 0 && at < spans.Bound(expected)) --expected;
    EXPECT_EQ(spans.Find(at), expected) << at;
  }
}

}  // namespace
