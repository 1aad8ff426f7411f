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

extern template struct quellmark::lsq::SvdfitWorkspace<float>;
extern template void svdcmp(float** a, int m, int n, float w[], float** v);
extern template void svdcmp_fast(MATRIX<float>& a, int m, int n, ARRAY<float>& w, MATRIX<float>& v,
                                 ARRAY<float>& rv1);
extern template void svdfit(const float x[], const float y[], const float sig[], int ndata,
                            float a[], int ma, float** u, float** v, float w[], float* chisq,
                            quellmark::lsq::BasisFunctions<float> funcs);
extern template void svdfit_fast(const ARRAY<float>& x, const ARRAY<float>& y,
                                 const ARRAY<float>& sig, int ndata, ARRAY<float>& a, int ma,
                                 float& chisq, quellmark::lsq::BasisFunctions<float> funcs,
                                 quellmark::lsq::SvdfitWorkspace<float>& work);
extern template struct quellmark::lsq::SvdfitWorkspace<double>;
extern template void svdcmp(double** a, int m, int n, double w[], double** v);
extern template void svdcmp_fast(MATRIX<double>& a, int m, int n, ARRAY<double>& w,
                                 MATRIX<double>& v, ARRAY<double>& rv1);
extern template void svdfit(const double x[], const double y[], const double sig[], int ndata,
                            double a[], int ma, double** u, double** v, double w[], double* chisq,
                            quellmark::lsq::BasisFunctions<double> funcs);
extern template void svdfit_fast(const ARRAY<double>& x, const ARRAY<double>& y,
                                 const ARRAY<double>& sig, int ndata, ARRAY<double>& a, int ma,
                                 double& chisq, quellmark::lsq::BasisFunctions<double> funcs,
                                 quellmark::lsq::SvdfitWorkspace<double>& work);
