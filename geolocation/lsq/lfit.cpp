// Legend: the normal equations alpha da = beta of the mfit fitted parameters are built and solved
// in the corner 1..mfit of covar, which then holds the inverse of alpha, the covariance.
#include "geolocation/lsq/lfit.h"

#include <utility>

#include "geolocation/lsq/gaussj.h"
#include "geolocation/lsq/rows.h"

using namespace quellmark::lsq;

namespace {

template <class T>
struct Samples {
  const T* x;
  const T* y;
  const T* sig;
  int count;
};

template <class T>
struct Parameters {
  T* a;
  const int* ia;
  int count;
  BasisFunctions<T> funcs;
};

int CountFitted(const int* ia, int ma) {
  int fitted = 0;
  for (int j = 1; j <= ma; ++j) fitted += ia[j] != 0 ? 1 : 0;
  return fitted;
}

// Sums up the right-hand side. For each sample and each fitted parameter j, calls `add_normal(row,
// j, weighted)`: parameter j is the row-th of the fitted ones, and `weighted` is the weighted value
// of its basis function. During the call, afunc holds the values of all basis functions.
template <class T, class Rows, class AddNormal>
void Accumulate(const Samples<T>& samples, const Parameters<T>& p, int mfit, Rows beta, T* afunc,
                AddNormal add_normal) {
  for (int j = 1; j <= mfit; ++j) beta[j][1] = 0;
  for (int i = 1; i <= samples.count; ++i) {
    p.funcs(samples.x[i], afunc, p.count);
    T y = samples.y[i];
    for (int j = 1; j <= p.count; ++j) {
      if (p.ia[j] == 0) y -= p.a[j] * afunc[j];
    }
    const T weight = T(1) / (samples.sig[i] * samples.sig[i]);
    int row = 0;
    for (int j = 1; j <= p.count; ++j) {
      if (p.ia[j] == 0) continue;
      const T weighted = afunc[j] * weight;
      add_normal(++row, j, weighted);
      beta[row][1] += y * weighted;
    }
  }
}

// The right-hand side, and the lower triangle of the normal matrix.
template <class T, class Rows>
void AccumulateBoth(const Samples<T>& samples, const Parameters<T>& p, int mfit, Rows covar,
                    Rows beta, T* afunc) {
  for (int j = 1; j <= mfit; ++j) {
    for (int k = 1; k <= mfit; ++k) covar[j][k] = 0;
  }
  Accumulate(samples, p, mfit, beta, afunc, [&](int row, int j, T weighted) {
    T* const normal = covar[row];
    int column = 0;
    for (int k = 1; k <= j; ++k) {
      if (p.ia[k] != 0) normal[++column] += weighted * afunc[k];
    }
  });
}

template <class T, class Rows>
void Mirror(Rows covar, int mfit) {
  for (int j = 2; j <= mfit; ++j) {
    for (int k = 1; k < j; ++k) covar[k][j] = covar[j][k];
  }
}

template <class T>
T ChiSquare(const Samples<T>& samples, const Parameters<T>& p, T* afunc) {
  T chisq = 0;
  for (int i = 1; i <= samples.count; ++i) {
    p.funcs(samples.x[i], afunc, p.count);
    T fit = 0;
    for (int j = 1; j <= p.count; ++j) fit += p.a[j] * afunc[j];
    const T residual = (samples.y[i] - fit) / samples.sig[i];
    chisq += residual * residual;
  }
  return chisq;
}

// Moves the covariance from the corner 1..mfit to the places of the fitted parameters. The
// parameters that are kept get zeros.
template <class T, class Rows>
void SpreadCovariance(Rows covar, const Parameters<T>& p, int mfit) {
  for (int j = mfit + 1; j <= p.count; ++j) {
    for (int k = 1; k <= j; ++k) covar[j][k] = covar[k][j] = 0;
  }
  int from = mfit;
  for (int to = p.count; to >= 1; --to) {
    if (p.ia[to] == 0) continue;
    for (int k = 1; k <= p.count; ++k) std::swap(covar[k][from], covar[k][to]);
    for (int k = 1; k <= p.count; ++k) std::swap(covar[from][k], covar[to][k]);
    --from;
  }
}

template <class T, class Rows>
void TakeSolution(const Parameters<T>& p, Rows beta) {
  int row = 0;
  for (int j = 1; j <= p.count; ++j) {
    if (p.ia[j] != 0) p.a[j] = beta[++row][1];
  }
}

// Returns chi-square; `solve` is the Gauss-Jordan elimination, plain or fast.
template <class T, class Rows, class Solve>
T Fit(const Samples<T>& samples, const Parameters<T>& p, int mfit, Rows covar, Rows beta, T* afunc,
      Solve solve) {
  AccumulateBoth(samples, p, mfit, covar, beta, afunc);
  Mirror<T>(covar, mfit);
  solve();
  TakeSolution(p, beta);
  const T chisq = ChiSquare(samples, p, afunc);
  SpreadCovariance(covar, p, mfit);
  return chisq;
}

}  // namespace

namespace quellmark::lsq {

template <class T>
int LfitWorkspace<T>::Create(int ma) {
  const RANGE<int> range(1, ma);
  for (ARRAY<int>* const array : {&indxc, &indxr, &ipiv}) {
    if (const int status = array->Create(range); status != kArrayOk) return status;
  }
  for (const int status : {betaM.Create(range, RANGE<int>(1, 1)), afuncV.Create(range),
                           factors.Create(range, range)}) {
    if (status != kArrayOk) return status;
  }
  return kArrayOk;
}

}  // namespace quellmark::lsq

template <class T>
void lfit(const T x[], const T y[], const T sig[], int ndat, T a[], const int ia[], int ma,
          T** covar, T* chisq, std::type_identity_t<BasisFunctions<T>> funcs) {
  const int mfit = CountFitted(ia, ma);
  if (mfit == 0) fail_run_time("lfit: no parameters to be fitted");
  const WorkColumn<T> beta(ma);
  const WorkVector<T> afunc(ma);
  *chisq = Fit<T>({x, y, sig, ndat}, {a, ia, ma, funcs}, mfit, covar, beta.Rows(), afunc.Data(),
                  [&] { gaussj(covar, mfit, beta.Rows(), 1); });
}

template <class T>
void lfit_fast(const ARRAY<T>& x, const ARRAY<T>& y, const ARRAY<T>& sig, int ndat, ARRAY<T>& a,
               const ARRAY<int>& ia, int ma, MATRIX<T>& covar, T& chisq,
               std::type_identity_t<BasisFunctions<T>> funcs, LfitWorkspace<T>& work) {
  const int mfit = CountFitted(ia.Data(1), ma);
  if (mfit == 0) throw "lfit_fast: no parameters to be fitted";
  chisq = Fit<T>({x.Data(1), y.Data(1), sig.Data(1), ndat}, {a.Data(1), ia.Data(1), ma, funcs},
                 mfit, MatrixRows<T>{covar}, MatrixRows<T>{work.betaM}, work.afuncV.Data(1), [&] {
                   gaussj_fast(covar, mfit, work.betaM, 1, work.indxc, work.indxr, work.ipiv,
                               work.factors);
                 });
}

template <class T>
void lfit_again_fast(const ARRAY<T>& x, const ARRAY<T>& y, const ARRAY<T>& sig, int ndat,
                     ARRAY<T>& a, const ARRAY<int>& ia, int ma,
                     std::type_identity_t<BasisFunctions<T>> funcs, LfitWorkspace<T>& work) {
  const Parameters<T> parameters{a.Data(1), ia.Data(1), ma, funcs};
  const int mfit = CountFitted(parameters.ia, ma);
  const MatrixRows<T> beta{work.betaM};
  Accumulate<T>({x.Data(1), y.Data(1), sig.Data(1), ndat}, parameters, mfit, beta,
                work.afuncV.Data(1), [](int, int, T) {});
  gaussj_again_fast(mfit, work.betaM, 1, work.indxc, work.indxr, work.factors);
  TakeSolution(parameters, beta);
}

#define QM_INSTANTIATE(T)                                                                        \
  template struct quellmark::lsq::LfitWorkspace<T>;                                              \
  template void lfit(const T x[], const T y[], const T sig[], int ndat, T a[], const int ia[],   \
                     int ma, T** covar, T* chisq, BasisFunctions<T> funcs);                      \
  template void lfit_fast(const ARRAY<T>& x, const ARRAY<T>& y, const ARRAY<T>& sig, int ndat,   \
                          ARRAY<T>& a, const ARRAY<int>& ia, int ma, MATRIX<T>& covar, T& chisq, \
                          BasisFunctions<T> funcs, LfitWorkspace<T>& work);                      \
  template void lfit_again_fast(const ARRAY<T>& x, const ARRAY<T>& y, const ARRAY<T>& sig,       \
                                int ndat, ARRAY<T>& a, const ARRAY<int>& ia, int ma,             \
                                BasisFunctions<T> funcs, LfitWorkspace<T>& work);

QM_INSTANTIATE(float)
QM_INSTANTIATE(double)
