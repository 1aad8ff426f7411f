// Singular value decomposition, and least-squares fits that survive a degenerate basis.
#pragma once

#include <type_traits>

#include "basic/array.h"
#include "basic/matrix.h"
#include "geolocation/lsq/lfit.h"

namespace quellmark::lsq {

/// What svdfit_fast() works in; sized once and reused.
template <class T>
struct SvdfitWorkspace {
  MATRIX<T> u;     ///< ndata x ma, the design matrix, then its left singular vectors
  MATRIX<T> v;     ///< ma x ma, the right singular vectors
  ARRAY<T> w;      ///< the singular values; 0 for those that were discarded
  ARRAY<T> b;      ///< the weighted samples
  ARRAY<T> afunc;  ///< the values of the basis
  ARRAY<T> rv1;    ///< the superdiagonal

  /// Makes room for fits of ma parameters to ndata samples; gives an ArrayStatus.
  [[nodiscard]] int Create(int ndata, int ma);
};

}  // namespace quellmark::lsq

/// Decomposes a (m x n, neither 0) = U diag(w) V^T: U overwrites a, w[1..n] gets the singular
/// values (not negative, in no order), v (n x n) gets V, not its transpose. Golub and Reinsch,
/// "Singular value decomposition and least squares solutions", Numer. Math. 14 (1970). All indices
/// run from 1.
///
/// Ends the process through fail_run_time() with "no convergence in 30 svdcmp iterations", also
/// when an element is not finite. T is float or double.
template <class T>
void svdcmp(T** a, int m, int n, T w[], T** v);

/// As svdcmp() in the caller's arrays, each with start index 1, rv1 of n elements; allocates
/// nothing. Throws the character string "no convergence in 30 svdcmp iterations".
template <class T>
void svdcmp_fast(MATRIX<T>& a, int m, int n, ARRAY<T>& w, MATRIX<T>& v, ARRAY<T>& rv1);

/// Fits as lfit() does, all parameters and by singular value decomposition: combinations of the
/// basis that the samples do not tell apart get no share of the solution, which is then the
/// shortest one. Singular values below ma times the epsilon of T times the largest are discarded
/// (set to 0). u (ndata x ma), v (ma x ma) and w[1..ma] are left as svdcmp() leaves them.
template <class T>
void svdfit(const T x[], const T y[], const T sig[], int ndata, T a[], int ma, T** u, T** v, T w[],
            T* chisq, std::type_identity_t<quellmark::lsq::BasisFunctions<T>> funcs);

/// As svdfit() in the caller's arrays, each with start index 1; allocates nothing. Throws as
/// svdcmp_fast() does; a is then as it was.
template <class T>
void svdfit_fast(const ARRAY<T>& x, const ARRAY<T>& y, const ARRAY<T>& sig, int ndata, ARRAY<T>& a,
                 int ma, T& chisq, std::type_identity_t<quellmark::lsq::BasisFunctions<T>> funcs,
                 quellmark::lsq::SvdfitWorkspace<T>& work);

/// The two halves of svdfit_fast(): the decomposition into u, v and w of `work`, which samples at
/// the same x and of the same sig share, and the fit of one series of samples by it.
template <class T>
void svdfit_decompose_fast(const ARRAY<T>& x, const ARRAY<T>& sig, int ndata, int ma,
                           std::type_identity_t<quellmark::lsq::BasisFunctions<T>> funcs,
                           quellmark::lsq::SvdfitWorkspace<T>& work);
template <class T>
void svdfit_solve_fast(const ARRAY<T>& x, const ARRAY<T>& y, const ARRAY<T>& sig, int ndata,
                       ARRAY<T>& a, int ma, T& chisq,
                       std::type_identity_t<quellmark::lsq::BasisFunctions<T>> funcs,
                       quellmark::lsq::SvdfitWorkspace<T>& work);
