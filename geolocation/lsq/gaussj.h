// Systems of linear equations by Gauss-Jordan elimination with full pivoting.
#pragma once

#include "basic/array.h"
#include "basic/matrix.h"

/// Solves a x = b for the m right-hand sides in the columns of b: a (n x n) becomes its inverse and
/// b (n x m) the solutions. All indices run from 1. If several pivot candidates are equally large,
/// the last one found, row by row, is taken.
///
/// A singular a ends the process through fail_run_time(), with "gaussj: Singular Matrix-2" if the
/// pivot is exactly 0 and with "gaussj: Singular Matrix-1" if there is no candidate (only NaN
/// left). T is float or double.
template <class T>
void gaussj(T** a, int n, T** b, int m);

/// As gaussj(), but in the caller's arrays, each with start index 1 and at least n elements.
/// Allocates nothing. Throws the character strings "gaussj_fast: Singular Matrix-1" and
/// "gaussj_fast: Singular Matrix-2"; a and b then hold the unfinished state.
template <class T>
void gaussj_fast(MATRIX<T>& a, int n, MATRIX<T>& b, int m, ARRAY<int>& indxc, ARRAY<int>& indxr,
                 ARRAY<int>& ipiv);

/// As gaussj_fast() above, and also keeps the elimination in indxc, indxr and `factors` (n x n) for
/// gaussj_again_fast().
template <class T>
void gaussj_fast(MATRIX<T>& a, int n, MATRIX<T>& b, int m, ARRAY<int>& indxc, ARRAY<int>& indxr,
                 ARRAY<int>& ipiv, MATRIX<T>& factors);

/// Applies a kept elimination to m further right-hand sides b. The results equal those of
/// gaussj_fast() bit for bit.
template <class T>
void gaussj_again_fast(int n, MATRIX<T>& b, int m, const ARRAY<int>& indxc, const ARRAY<int>& indxr,
                       const MATRIX<T>& factors);
