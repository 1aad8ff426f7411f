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

/// As gaussj_fast() above, and keeps the elimination in indxc, indxr and `factors` (n x n) for
/// gaussj_again_fast().
template <class T>
void gaussj_fast(MATRIX<T>& a, int n, MATRIX<T>& b, int m, ARRAY<int>& indxc, ARRAY<int>& indxr,
                 ARRAY<int>& ipiv, MATRIX<T>& factors);

/// Takes m further right-hand sides b through an elimination that was kept. They become, bit for
/// bit, what gaussj_fast() would have made of them.
template <class T>
void gaussj_again_fast(int n, MATRIX<T>& b, int m, const ARRAY<int>& indxc, const ARRAY<int>& indxr,
                       const MATRIX<T>& factors);
