#include "geolocation/lsq/svd.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/geolocation/lsq/reference.h"
#include "tests/support/allocation_counter.h"
#include "tests/support/expect_fails.h"

namespace quellmark::test {
namespace {

constexpr const char* kNoConvergence = "no convergence in 30 svdcmp iterations";

template <class T>
class Decomposition : public testing::Test {};
using Numbers = testing::Types<float, double>;
TYPED_TEST_SUITE(Decomposition, Numbers);

template <class T>
struct Factors {
  MATRIX<T> u;
  ARRAY<T> w;
  MATRIX<T> v;

  explicit Factors(MATRIX<T> a) : u(std::move(a)), w(u.Columns()), v(u.Columns(), u.Columns()) {}
  void Decompose() {
    svdcmp(RowPointers(u).data(), u.Rows().Length(), w.Length(), w.Data(1), RowPointers(v).data());
  }
};

// Compares U diag(w) V^T with the matrix, and V^T V and U^T U with the identity; w then holds the
// singular values. The error of the m + n reflections and the rotations is a small multiple of
// epsilon; up to 0.4 of the bound was observed.
template <class T>
void ExpectDecomposed(const MATRIX<T>& a) {
  const int m = a.Rows().Length();
  const int n = a.Columns().Length();
  SCOPED_TRACE(testing::Message() << m << " x " << n);
  Factors<T> factors(a);
  factors.Decompose();
  const double bound = 2 * (m + n) * static_cast<double>(std::numeric_limits<T>::epsilon());
  QuadMatrix scaled = ToQuad(factors.u);
  for (auto& row : scaled) {
    for (std::size_t j = 0; j < row.size(); ++j) row[j] *= ToQuad(factors.w.Elements()[j]);
  }
  const QuadMatrix v = ToQuad(factors.v);
  EXPECT_LE(Distance(Times(scaled, Transposed(v)), ToQuad(a)), bound);
  EXPECT_LE(DistanceFromIdentity(Times(Transposed(v), v)), bound);
  if (m >= n) {
    const QuadMatrix u = ToQuad(factors.u);
    EXPECT_LE(DistanceFromIdentity(Times(Transposed(u), u)), bound);
  }
  for (const T value : factors.w.Elements()) EXPECT_GE(value, T(0));
}

TYPED_TEST(Decomposition, HoldsForAllShapes) {
  using T = TypeParam;
  for (const auto& [m, n] : {std::pair{1, 1}, {5, 1}, {1, 5}, {2, 2}, {8, 8}, {40, 9}, {3, 7}}) {
    ExpectDecomposed(Random<T>(m, n));
    ExpectDecomposed(Filled<T>(m, n, [](int, int) { return 1; }));           // rank 1
    ExpectDecomposed(Filled<T>(m, n, [](int i, int j) { return i == j; }));  // all values equal
    ExpectDecomposed(Filled<T>(m, n, [](int i, int j) { return j == 1 ? 0 : i + j; }));
  }
  ExpectDecomposed(Hilbert<T>(12));
  // Squares of these overflow and vanish.
  const double far = sizeof(T) == sizeof(double) ? 1e290 : 1e35;
  for (const double scale : {far, 1.0 / far}) {
    const MATRIX<T> a = Random<T>(9, 6);
    ExpectDecomposed(
        Filled<T>(9, 6, [&](int i, int j) { return scale * static_cast<double>(a(i, j)); }));
  }
  // Separate code handles a zero on the diagonal of the bidiagonal form.
  ExpectDecomposed(Filled<T>(5, 5, [](int i, int j) { return j == i + 1 ? i : 0; }));
  ExpectDecomposed(Filled<T>(6, 6, [](int i, int j) {
    return j == i + 1 ? 1 : j == i && i != 3 ? 2 : 0;
  }));
}

struct SvdFit {
  ARRAY<double> a;
  double chisq = -1.0;
  ARRAY<double> w{};
};

SvdFit Fitted(const ARRAY<double>& x, const ARRAY<double>& y, const ARRAY<double>& sig, int ma,
              lsq::BasisFunctions<double> funcs) {
  lsq::SvdfitWorkspace<double> work;
  EXPECT_EQ(work.Create(x.Length(), ma), 0);
  SvdFit fit{.a = ARRAY<double>(RANGE<int>(1, ma))};
  const std::size_t allocations = AllocationCount();
  svdfit_decompose_fast(x, sig, x.Length(), ma, funcs, work);
  svdfit_solve_fast(x, y, sig, x.Length(), fit.a, ma, fit.chisq, funcs, work);
  EXPECT_EQ(AllocationCount(), allocations);
  fit.w = work.w;
  return fit;
}

TEST(SvdFit, WhatIsNotFiniteDoesNotConverge) {
  const ARRAY<double> ones(1, {1.0, 1.0, 1.0});
  for (const double bad :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    for (int place = 1; place <= 3; ++place) {
      ARRAY<double> x(1, {1.0, 2.0, 3.0});
      x[place] = bad;
      EXPECT_THROWS_TEXT(Fitted(x, ones, ones, 2, Powers<double>), kNoConvergence);
    }
  }
  Factors<double> plain(Filled<double>(1, 1, [](int, int) { return std::nan(""); }));
  EXPECT_EXIT(plain.Decompose(), testing::ExitedWithCode(1), testing::HasSubstr(kNoConvergence));
}

TEST(SvdFit, RecoversPolynomialsToTheConditionOfTheBasis) {
  // Samples that are exact in double: dyadic abscissas, small integer coefficients.
  const std::array<double, 6> known = {3.0, -1.0, 4.0, 1.0, -5.0, 9.0};
  const RANGE<int> samples(1, 17);
  ARRAY<double> x(samples), y(samples), sig(samples);
  for (int i = 1; i <= 17; ++i) {
    x[i] = (i - 1) / 16.0;
    sig[i] = i % 2 == 0 ? 0.5 : 2.0;
    y[i] = 0.0;
    for (std::size_t j = known.size(); j-- > 0;) y[i] = y[i] * x[i] + known[j];
  }
  const SvdFit fit = Fitted(x, y, sig, int{known.size()}, Powers<double>);
  const auto [least, most] = std::ranges::minmax(fit.w.Elements());
  // The residual is zero, so the condition enters once and is not squared; 0.3 of the bound was
  // observed.
  const double bound = most / least * std::numeric_limits<double>::epsilon();
  EXPECT_THAT(fit.a.Elements(), testing::Pointwise(testing::DoubleNear(bound), known));
  EXPECT_NEAR(fit.chisq, 0.0, 1e-24);
  // The mean of 1 and 3, the first with four times the weight; off by 0.8 and 1.6 deviations.
  const SvdFit mean = Fitted({1, {0.0, 0.0}}, {1, {1.0, 3.0}}, {1, {0.5, 1.0}}, 1, Powers<double>);
  EXPECT_DOUBLE_EQ(mean.a[1], 1.4);
  EXPECT_DOUBLE_EQ(mean.chisq, 3.2);
}

TEST(SvdFit, SharesBetweenWhatTheSamplesDoNotTellApart) {
  const auto basis = [](double t, double afunc[], int) {
    afunc[1] = 1.0;
    afunc[2] = afunc[3] = t;
    afunc[4] = 0.0;
  };
  // 1 + 4 x
  const SvdFit fit = Fitted({1, {-2.0, -1.0, 0.0, 1.0, 2.0}}, {1, {-7.0, -3.0, 1.0, 5.0, 9.0}},
                            {1, {1.0, 1.0, 1.0, 1.0, 1.0}}, 4, basis);
  // The shortest solution has the slope in two equal parts and nothing for a basis function that is
  // zero.
  EXPECT_THAT(fit.a.Elements(),
              testing::Pointwise(testing::DoubleNear(1e-14), {1.0, 2.0, 2.0, 0.0}));
  EXPECT_NEAR(fit.chisq, 0.0, 1e-26);
  EXPECT_EQ(std::ranges::count(fit.w.Elements(), 0.0), 2);
}

TEST(SvdFit, DiscardsValuesBelowItsThreshold) {
  // One sample per basis function, so that the singular values are 1 and `second`.
  const auto basis = [](double t, double afunc[], int) {
    afunc[1] = t == 0.0 ? 1.0 : 0.0;
    afunc[2] = t;
  };
  const double threshold = 2.0 * std::numeric_limits<double>::epsilon();
  for (const double second : {threshold, std::nextafter(threshold, 0.0)}) {
    const SvdFit fit = Fitted({1, {0.0, second}}, {1, {1.0, second}}, {1, {1.0, 1.0}}, 2, basis);
    EXPECT_EQ(fit.a[1], 1.0);
    EXPECT_EQ(fit.a[2], second < threshold ? 0.0 : 1.0);
  }
}

}  // namespace
}  // namespace quellmark::test
