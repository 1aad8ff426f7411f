// Singular value decomposition, and least-squares fits that survive a degenerate basis.
#pragma once

#include <type_traits>

#include "basic/array.h"
#include "basic/matrix.h"
#include "geolocation/lsq/lfit.h"

namespace quellmark::lsq {

/// The work area of the fits, sized once and reused.
template <class T>
struct SvdfitWorkspace {
  MATRIX<T> u;     ///< ndata x ma, the design matrix, then its left singular vectors
  MATRIX<T> v;     ///< ma x ma, the right singular vectors
  ARRAY<T> w;      ///< the singular values; discarded ones are 0
  ARRAY<T> b;      ///< the weighted samples
  ARRAY<T> afunc;  ///< the values of the basis
  ARRAY<T> rv1;    ///< the superdiagonal

  /// Makes room for fits of ma parameters to ndata samples; returns an ArrayStatus.
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

/// Decomposes the weighted design of the basis `funcs` at the samples x, sig into u, v and w of
/// `work`, for any number of fits by svdfit_solve_fast(). Singular values below ma times the
/// epsilon of T times the largest are discarded (set to 0). All indices run from 1; allocates
/// nothing. Throws the character string "no convergence in 30 svdcmp iterations", also when a value
/// of the basis or of sig is not finite.
template <class T>
void svdfit_decompose_fast(const ARRAY<T>& x, const ARRAY<T>& sig, int ndata, int ma,
                           std::type_identity_t<quellmark::lsq::BasisFunctions<T>> funcs,
                           quellmark::lsq::SvdfitWorkspace<T>& work);

/// Fits as lfit() does, all parameters, with the decomposition that `work` holds for x, sig and
/// funcs. Combinations of the basis that the samples cannot distinguish contribute nothing, so the
/// solution is the shortest one.
template <class T>
void svdfit_solve_fast(const ARRAY<T>& x, const ARRAY<T>& y, const ARRAY<T>& sig, int ndata,
                       ARRAY<T>& a, int ma, T& chisq,
                       std::type_identity_t<quellmark::lsq::BasisFunctions<T>> funcs,
                       quellmark::lsq::SvdfitWorkspace<T>& work);
