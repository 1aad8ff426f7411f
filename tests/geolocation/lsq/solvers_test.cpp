#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "geolocation/lsq/gaussj.h"
#include "geolocation/lsq/lfit.h"
#include "tests/geolocation/lsq/reference.h"
#include "tests/support/allocation_counter.h"
#include "tests/support/expect_fails.h"

namespace quellmark::test {
namespace {

using lsq::LfitWorkspace;
using testing::ExitedWithCode;
using testing::StartsWith;

// The start of standard error; a leak checker may add that an exit in the middle frees nothing.
std::string Report(const std::string& message) {
  return "Numerical Recipes run-time error...\n" + message + "\n...now exiting to system...\n";
}

template <class T>
void SolveFast(MATRIX<T>& a, MATRIX<T>& b) {
  ARRAY<int> indxc(a.Rows()), indxr(a.Rows()), ipiv(a.Rows());
  const std::size_t allocations = AllocationCount();
  gaussj_fast(a, a.Rows().Length(), b, b.Columns().Length(), indxc, indxr, ipiv);
  EXPECT_EQ(AllocationCount(), allocations);
}

template <class T>
class Solvers : public testing::Test {};
using Numbers = testing::Types<float, double>;
TYPED_TEST_SUITE(Solvers, Numbers);

// Solves with both flavours and compares solution and inverse with the quadruple ones. The error of
// a stable elimination is a small multiple of n * condition * epsilon; up to 0.6 of the bound was
// observed.
template <class T>
void ExpectSolved(const MATRIX<T>& a) {
  const int n = a.Rows().Length();
  SCOPED_TRACE(n);
  const MATRIX<T> b = Random<T>(n, 2);
  MATRIX<T> inverse = a;
  MATRIX<T> solution = b;
  gaussj(RowPointers(inverse).data(), n, RowPointers(solution).data(), 2);

  const QuadMatrix exact_inverse = Inverse(ToQuad(a));
  const double condition = Norm(ToQuad(a)) * Norm(exact_inverse);
  const double bound = n * condition * static_cast<double>(std::numeric_limits<T>::epsilon());
  EXPECT_LE(Distance(ToQuad(inverse), exact_inverse), bound);
  EXPECT_LE(Distance(ToQuad(solution), Times(exact_inverse, ToQuad(b))), bound);

  MATRIX<T> fast_inverse = a;
  MATRIX<T> fast_solution = b;
  SolveFast(fast_inverse, fast_solution);
  EXPECT_TRUE(std::ranges::equal(fast_inverse.Elements(), inverse.Elements()));
  EXPECT_TRUE(std::ranges::equal(fast_solution.Elements(), solution.Elements()));
}

TYPED_TEST(Solvers, EliminationIsAsGoodAsTheSystemsCondition) {
  for (int n = 1; n <= 20; ++n) ExpectSolved(Random<TypeParam>(n, n));
  // The condition grows by a factor of 30 with n; the sizes go as far as the type allows.
  for (int n = 1; n <= (sizeof(TypeParam) == sizeof(double) ? 10 : 5); ++n) {
    ExpectSolved(Hilbert<TypeParam>(n));
  }
  // No pivot is too small to be used.
  const double tiny = sizeof(TypeParam) == sizeof(double) ? 1e-280 : 1e-30;
  const MATRIX<double> a = Random<double>(6, 6);
  ExpectSolved(Filled<TypeParam>(6, 6, [&](int i, int j) { return tiny * a(i, j); }));
  MATRIX<TypeParam> inverse = Hilbert<TypeParam>(3), no_sides(inverse.Rows(), RANGE<int>(1, 0));
  SolveFast(inverse, no_sides);
  EXPECT_NEAR(static_cast<double>(inverse(2, 2)), 192.0, 0.01);
}

TEST(Elimination, LastOfEqualPivotsWins) {
  MATRIX<double> a = Filled<double>(2, 2, [](int i, int j) { return i == j ? 1.0 : 2.0; });
  MATRIX<double> b = Filled<double>(2, 1, [](int, int) { return 3.0; });
  ARRAY<int> indxc(a.Rows()), indxr(a.Rows()), ipiv(a.Rows());
  gaussj_fast(a, 2, b, 1, indxc, indxr, ipiv);
  EXPECT_EQ(indxr[1], 2);
  EXPECT_EQ(indxc[1], 1);
  EXPECT_EQ(b(1, 1), 1.0);
  EXPECT_EQ(b(2, 1), 1.0);
}

TEST(Elimination, SingularSystemsFailInTheWordsOfTheFlavour) {
  struct Row {
    int n;
    std::vector<double> elements;
    const char* message;
  };
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const Row& row :
       {Row{1, {0.0}, "Singular Matrix-2"}, Row{2, {1.0, 2.0, 1.0, 2.0}, "Singular Matrix-2"},
        Row{3, {1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 0.0, 0.0, 0.0}, "Singular Matrix-2"},
        Row{1, {nan}, "Singular Matrix-1"}, Row{2, {nan, 1.0, 1.0, nan}, "Singular Matrix-1"}}) {
    SCOPED_TRACE(testing::PrintToString(row.elements));
    MATRIX<double> a(RANGE<int>(1, row.n), RANGE<int>(1, row.n));
    std::ranges::copy(row.elements, a.Elements().begin());
    MATRIX<double> b(RANGE<int>(1, row.n), RANGE<int>(1, 1));
    MATRIX<double> kept = a;
    EXPECT_THROWS_TEXT(SolveFast(a, b), std::string("gaussj_fast: ") + row.message);
    EXPECT_EXIT(gaussj(RowPointers(kept).data(), row.n, RowPointers(b).data(), 1),
                ExitedWithCode(1), StartsWith(Report(std::string("gaussj: ") + row.message)));
  }
}

// The samples of one fit and both flavours of it.
template <class T>
struct FitCase {
  ARRAY<T> x, y, sig, a;
  ARRAY<int> ia;
  MATRIX<T> covar{ia.Range(), ia.Range()};
  T chisq = 0;
  LfitWorkspace<T> work{};

  void RunFast(lsq::BasisFunctions<T> funcs = Powers<T>) {
    EXPECT_EQ(work.Create(ia.Length()), 0);
    const std::size_t allocations = AllocationCount();
    lfit_fast(x, y, sig, x.Length(), a, ia, ia.Length(), covar, chisq, funcs, work);
    EXPECT_EQ(AllocationCount(), allocations);
  }
  void RunPlain(lsq::BasisFunctions<T> funcs = Powers<T>) {
    lfit(x.Data(1), y.Data(1), sig.Data(1), x.Length(), a.Data(1), ia.Data(1), ia.Length(),
         RowPointers(covar).data(), &chisq, funcs);
  }
};

// Compares a polynomial fit with its definition in quadruple precision; `before` holds the
// parameters from which it started.
template <class T>
void ExpectFitted(const FitCase<T>& fit, const ARRAY<T>& before) {
  QuadMatrix design, residuals;  // divided by the deviations; kept parameters have zeros
  Quad chisq = 0;
  for (int i = 1; i <= fit.x.Length(); ++i) {
    Quad residual = ToQuad(fit.y[i]) / ToQuad(fit.sig[i]);
    Quad power = 1 / ToQuad(fit.sig[i]);
    design.emplace_back();
    for (int j = 1; j <= fit.ia.Length(); ++j, power *= ToQuad(fit.x[i])) {
      residual -= ToQuad(fit.a[j]) * power;
      design.back().push_back(fit.ia[j] != 0 ? power : 0);
    }
    residuals.push_back({residual});
    chisq += residual * residual;
  }
  QuadMatrix normal = Times(Transposed(design), design);
  QuadMatrix covariance = ToQuad(fit.covar);
  for (std::size_t j = 0; j < normal.size(); ++j) {
    if (fit.ia.Elements()[j] != 0) continue;
    EXPECT_EQ(fit.a.Elements()[j], before.Elements()[j]);
    normal[j][j] += 1;
    covariance[j][j] += 1;  // was zero if the product below is the identity
  }
  // The normal equations square the condition of the basis. The sums over the samples add their
  // share to the error of the elimination.
  const double bound = fit.x.Length() * Norm(normal) * Norm(covariance) *
                       static_cast<double>(std::numeric_limits<T>::epsilon());
  ASSERT_LT(bound, 1.0) << "the case is worth nothing";
  EXPECT_LE(DistanceFromIdentity(Times(normal, covariance)), bound);
  // The distance of the parameters from those at which the gradient is zero.
  EXPECT_LE(Norm(Times(covariance, Times(Transposed(design), residuals))), bound);
  EXPECT_LE(static_cast<double>(Abs(ToQuad(fit.chisq) / chisq - 1)), bound);
}

TYPED_TEST(Solvers, FitIsAsGoodAsTheNormalEquations) {
  using T = TypeParam;
  constexpr int kSamples = 25;
  const RANGE<int> samples(1, kSamples);
  ARRAY<T> x(samples), y(samples), sig(samples);
  const MATRIX<T> noise = Random<T>(kSamples, 2);
  for (int i = 1; i <= kSamples; ++i) {
    x[i] = static_cast<T>(i - 13) / T(8);
    sig[i] = T(1) + noise(i, 2) / T(2);
    y[i] = T(3) - x[i] + T(2) * x[i] * x[i] + noise(i, 1);
  }
  const ARRAY<T> start(1, {T(2.5), T(-1), T(1.5), T(0.25)});
  for (int kept = 0; kept < 15; ++kept) {  // one bit each; not all four are kept
    SCOPED_TRACE(kept);
    ARRAY<int> ia(RANGE<int>(1, 4));
    for (int j = 0; j < 4; ++j) ia[j + 1] = (kept >> j & 1) == 0 ? j - 4 : 0;
    FitCase<T> plain{x, y, sig, start, ia};
    std::ranges::fill(plain.covar.Elements(), T(7));  // nothing of it may remain
    plain.RunPlain();
    ExpectFitted(plain, start);
    FitCase<T> fast{x, y, sig, start, ia};
    fast.RunFast();
    EXPECT_TRUE(std::ranges::equal(fast.a.Elements(), plain.a.Elements()));
    EXPECT_TRUE(std::ranges::equal(fast.covar.Elements(), plain.covar.Elements()));
    EXPECT_EQ(fast.chisq, plain.chisq);
    FitCase<T> other{x, x, sig, start, ia};
    other.RunFast();
    fast.a = start;
    lfit_again_fast(x, x, sig, kSamples, fast.a, ia, 4, Powers<T>, fast.work);
    EXPECT_TRUE(std::ranges::equal(fast.a.Elements(), other.a.Elements()));
  }
}

TEST(Fit, FailsInTheWordsOfTheFlavour) {
  FitCase<double> fit{
      {1, {0.0, 1.0}}, {1, {1.0, 3.0}}, {1, {1.0, 1.0}}, {1, {5.0, 6.0}}, {1, {0, 0}}};
  EXPECT_THROWS_TEXT(fit.RunFast(), "lfit_fast: no parameters to be fitted");
  EXPECT_EXIT(fit.RunPlain(), ExitedWithCode(1),
              StartsWith(Report("lfit: no parameters to be fitted")));
  fit.ia = ARRAY<int>(1, {1, 1});
  const auto twice_the_same = [](double x, double afunc[], int) { afunc[1] = afunc[2] = x; };
  EXPECT_THROWS_TEXT(fit.RunFast(twice_the_same), "gaussj_fast: Singular Matrix-2");
  EXPECT_EQ(fit.a[2], 6.0);
  EXPECT_EXIT(fit.RunPlain(twice_the_same), ExitedWithCode(1),
              StartsWith(Report("gaussj: Singular Matrix-2")));
}

}  // namespace
}  // namespace quellmark::test
