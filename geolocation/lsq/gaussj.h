// Systems of linear equations by Gauss-Jordan elimination with full pivoting.
#pragma once

#include "basic/array.h"
#include "basic/matrix.h"

/// Solves a x = b for the m right-hand sides in the columns of b: a (n x n) becomes its inverse and
/// b (n x m) the solutions. All indices run from 1. Of several largest pivot candidates the one
/// found last, row by row, wins.
///
/// A singular a ends the process through fail_run_time() with "gaussj: Singular Matrix-2" when the
/// pivot is exactly 0, and with "gaussj: Singular Matrix-1" when there is none to be chosen (only
/// NaN left). T is float or double.
template <class T>
void gaussj(T** a, int n, T** b, int m);

/// As gaussj() in the caller's arrays, each with start index 1 and at least n elements; allocates
/// nothing. Throws the character strings "gaussj_fast: Singular Matrix-1" and "gaussj_fast:
/// Singular Matrix-2"; a and b then hold what had been reached.
template <class T>
void gaussj_fast(MATRIX<T>& a, int n, MATRIX<T>& b, int m, ARRAY<int>& indxc, ARRAY<int>& indxr,
                 ARRAY<int>& ipiv);

extern template void gaussj(float** a, int n, float** b, int m);
extern template void gaussj(double** a, int n, double** b, int m);
extern template void gaussj_fast(MATRIX<float>& a, int n, MATRIX<float>& b, int m,
                                 ARRAY<int>& indxc, ARRAY<int>& indxr, ARRAY<int>& ipiv);
extern template void gaussj_fast(MATRIX<double>& a, int n, MATRIX<double>& b, int m,
                                 ARRAY<int>& indxc, ARRAY<int>& indxr, ARRAY<int>& ipiv);
