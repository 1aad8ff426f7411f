// Prints every bit of the solvers' results for random systems. It is built twice, for the
// compiler's plain processor and for this one with all its instructions, and the two outputs must
// be equal.
#include <cstdio>
#include <cstdlib>
#include <span>

#include "geolocation/lsq/lfit.h"
#include "geolocation/lsq/svd.h"
#include "tests/geolocation/lsq/reference.h"

namespace {

using quellmark::test::Powers;
using quellmark::test::Random;

template <class T>
void Print(std::span<const T> values) {
  for (const T value : values) std::printf("%a\n", static_cast<double>(value));
}

template <class T>
void Run(int n) {
  MATRIX<T> a = Random<T>(2 * n, n);
  MATRIX<T> v(RANGE<int>(1, n), RANGE<int>(1, n));
  ARRAY<T> w(RANGE<int>(1, n));
  svdcmp(quellmark::test::RowPointers(a).data(), 2 * n, n, w.Data(1),
         quellmark::test::RowPointers(v).data());
  Print<T>(a.Elements());
  Print<T>(v.Elements());
  Print<T>(w.Elements());

  const RANGE<int> samples(1, 3 * n);
  ARRAY<T> x(samples), y(samples), sig(samples), fit(RANGE<int>(1, n));
  const MATRIX<T> noise = Random<T>(3 * n, 2);
  for (int i = 1; i <= 3 * n; ++i) {
    x[i] = static_cast<T>(i) / static_cast<T>(3 * n);
    y[i] = noise(i, 1);
    sig[i] = T(2) + noise(i, 2);
  }
  quellmark::lsq::SvdfitWorkspace<T> svd;
  quellmark::lsq::LfitWorkspace<T> lfit;
  ARRAY<int> ia(RANGE<int>(1, n));
  for (int& fitted : ia.Elements()) fitted = 1;
  MATRIX<T> covar(RANGE<int>(1, n), RANGE<int>(1, n));
  if (svd.Create(3 * n, n) != kArrayOk || lfit.Create(n) != kArrayOk) std::abort();
  T chisq{};
  svdfit_decompose_fast(x, sig, 3 * n, n, Powers<T>, svd);
  svdfit_solve_fast(x, y, sig, 3 * n, fit, n, chisq, Powers<T>, svd);
  Print<T>(fit.Elements());
  lfit_fast(x, y, sig, 3 * n, fit, ia, n, covar, chisq, Powers<T>, lfit);
  Print<T>(fit.Elements());
  Print<T>(covar.Elements());
}

}  // namespace

int main() {
  for (int n = 1; n <= 9; ++n) {
    Run<double>(n);
    if (n < 5) Run<float>(n);  // larger systems make its normal equations singular
  }
}
