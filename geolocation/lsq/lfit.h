// General linear least squares by normal equations.
#pragma once

#include <type_traits>

#include "basic/array.h"
#include "basic/matrix.h"

namespace quellmark::lsq {

/// Fills afunc[1]..afunc[ma] with the values of the ma basis functions at x.
template <class T>
using BasisFunctions = void (*)(T x, T afunc[], int ma);

/// The work area of lfit_fast(), sized once and reused.
template <class T>
struct LfitWorkspace {
  ARRAY<int> indxc;
  ARRAY<int> indxr;
  ARRAY<int> ipiv;
  MATRIX<T> betaM;    ///< ma x 1, the right-hand side
  ARRAY<T> afuncV;    ///< the values of the basis
  MATRIX<T> factors;  ///< ma x ma; together with indxc and indxr, the last elimination

  /// Makes room for fits of ma parameters; returns an ArrayStatus.
  [[nodiscard]] int Create(int ma);
};

}  // namespace quellmark::lsq

/// Fits a[1]*f1(x) + ... + a[ma]*fma(x) to the ndat samples (x[i], y[i]) with the standard
/// deviations sig[i], by least squares; f are the basis functions `funcs`. Parameters with ia[j] ==
/// 0 keep the value they have. covar (ma x ma) becomes the covariance of the parameters, with zeros
/// for those that are kept, and *chisq the sum of ((y - fit) / sig)^2. All indices run from 1.
///
/// Ends the process through fail_run_time() with "lfit: no parameters to be fitted" if every ia[j]
/// is 0, and as gaussj() does if the normal equations are singular. T is float or double.
template <class T>
void lfit(const T x[], const T y[], const T sig[], int ndat, T a[], const int ia[], int ma,
          T** covar, T* chisq, std::type_identity_t<quellmark::lsq::BasisFunctions<T>> funcs);

/// As lfit(), but in the caller's arrays, each with start index 1. Allocates nothing. Throws the
/// character string "lfit_fast: no parameters to be fitted" and what gaussj_fast() throws; a is
/// then unchanged.
template <class T>
void lfit_fast(const ARRAY<T>& x, const ARRAY<T>& y, const ARRAY<T>& sig, int ndat, ARRAY<T>& a,
               const ARRAY<int>& ia, int ma, MATRIX<T>& covar, T& chisq,
               std::type_identity_t<quellmark::lsq::BasisFunctions<T>> funcs,
               quellmark::lsq::LfitWorkspace<T>& work);

/// Fits another series of samples with the x, sig and ia of the last lfit_fast() in `work`. `a`
/// becomes, bit for bit, what lfit_fast() would compute, without repeating its work on the normal
/// equations.
template <class T>
void lfit_again_fast(const ARRAY<T>& x, const ARRAY<T>& y, const ARRAY<T>& sig, int ndat,
                     ARRAY<T>& a, const ARRAY<int>& ia, int ma,
                     std::type_identity_t<quellmark::lsq::BasisFunctions<T>> funcs,
                     quellmark::lsq::LfitWorkspace<T>& work);
