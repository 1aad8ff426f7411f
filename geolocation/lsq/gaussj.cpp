// Legend: a[j][k] the matrix, becoming its inverse in place; b its right-hand sides, becoming the
// solutions. Step s uses the pivot a[indxr[s]][indxc[s]], which a swap of rows brings to the
// diagonal; ipiv[k] tells whether column k has already been eliminated.
#include "geolocation/lsq/gaussj.h"

#include <cmath>
#include <utility>

#include "geolocation/lsq/rows.h"

using namespace quellmark::lsq;

namespace {

enum class Outcome { kSolved, kNoPivot, kZeroPivot };

struct Pivot {
  int row = 0;  // 0 means none
  int column = 0;
};

// The largest element of the rows and columns whose step is still to come. Not-a-number is never
// the largest.
template <class T, class Rows>
Pivot FindPivot(Rows a, int n, const int* ipiv) {
  Pivot pivot;
  T largest = 0;
  for (int j = 1; j <= n; ++j) {
    if (ipiv[j] != 0) continue;
    const T* const row = a[j];
    for (int k = 1; k <= n; ++k) {
      if (ipiv[k] == 0 && std::abs(row[k]) >= largest) {
        largest = std::abs(row[k]);
        pivot = {j, k};
      }
    }
  }
  return pivot;
}

template <class T>
void SwapRows(T* p, T* q, int length) {
  for (int l = 1; l <= length; ++l) std::swap(p[l], q[l]);
}

template <class T>
void Scale(T* row, int length, T factor) {
  for (int l = 1; l <= length; ++l) row[l] *= factor;
}

template <class T>
void SubtractMultiple(T* from, const T* row, int length, T factor) {
  for (int l = 1; l <= length; ++l) from[l] -= row[l] * factor;
}

// In each step the pivot row is multiplied by a factor, and a multiple of it is subtracted from
// every other row. `keep(step, j, factor)` receives the factor for row j.
template <class T, class Rows, class Keep>
Outcome Eliminate(Rows a, int n, Rows b, int m, int* indxc, int* indxr, int* ipiv, Keep keep) {
  for (int j = 1; j <= n; ++j) ipiv[j] = 0;
  for (int step = 1; step <= n; ++step) {
    const Pivot pivot = FindPivot<T>(a, n, ipiv);
    if (pivot.row == 0) return Outcome::kNoPivot;
    ++ipiv[pivot.column];
    indxr[step] = pivot.row;
    indxc[step] = pivot.column;
    T* const pivot_row = a[pivot.column];
    T* const pivot_sides = b[pivot.column];
    if (pivot.row != pivot.column) {
      SwapRows(a[pivot.row], pivot_row, n);
      SwapRows(b[pivot.row], pivot_sides, m);
    }
    if (pivot_row[pivot.column] == T(0)) return Outcome::kZeroPivot;
    const T inverse = T(1) / std::exchange(pivot_row[pivot.column], T(1));
    keep(step, pivot.column, inverse);
    Scale(pivot_row, n, inverse);
    Scale(pivot_sides, m, inverse);
    for (int j = 1; j <= n; ++j) {
      if (j == pivot.column) continue;
      const T factor = std::exchange(a[j][pivot.column], T(0));
      keep(step, j, factor);
      SubtractMultiple(a[j], pivot_row, n, factor);
      SubtractMultiple(b[j], pivot_sides, m, factor);
    }
  }
  // The swaps of rows have permuted the columns of the inverse; this undoes them, the last one
  // first.
  for (int step = n; step >= 1; --step) {
    if (indxr[step] == indxc[step]) continue;
    for (int k = 1; k <= n; ++k) std::swap(a[k][indxr[step]], a[k][indxc[step]]);
  }
  return Outcome::kSolved;
}

constexpr auto kForget = [](int, int, auto) {};

void ThrowUnlessSolved(Outcome outcome) {
  if (outcome == Outcome::kNoPivot) throw "gaussj_fast: Singular Matrix-1";
  if (outcome == Outcome::kZeroPivot) throw "gaussj_fast: Singular Matrix-2";
}

}  // namespace

template <class T>
void gaussj(T** a, int n, T** b, int m) {
  const WorkVector<int> indxc(n);
  const WorkVector<int> indxr(n);
  const WorkVector<int> ipiv(n);
  switch (Eliminate<T>(a, n, b, m, indxc.Data(), indxr.Data(), ipiv.Data(), kForget)) {
    case Outcome::kSolved:
      return;
    case Outcome::kNoPivot:
      fail_run_time("gaussj: Singular Matrix-1");
    case Outcome::kZeroPivot:
      fail_run_time("gaussj: Singular Matrix-2");
  }
}

template <class T>
void gaussj_fast(MATRIX<T>& a, int n, MATRIX<T>& b, int m, ARRAY<int>& indxc, ARRAY<int>& indxr,
                 ARRAY<int>& ipiv) {
  ThrowUnlessSolved(Eliminate<T>(MatrixRows<T>{a}, n, MatrixRows<T>{b}, m, indxc.Data(1),
                                 indxr.Data(1), ipiv.Data(1), kForget));
}

template <class T>
void gaussj_fast(MATRIX<T>& a, int n, MATRIX<T>& b, int m, ARRAY<int>& indxc, ARRAY<int>& indxr,
                 ARRAY<int>& ipiv, MATRIX<T>& factors) {
  ThrowUnlessSolved(Eliminate<T>(MatrixRows<T>{a}, n, MatrixRows<T>{b}, m, indxc.Data(1),
                                 indxr.Data(1), ipiv.Data(1),
                                 [&](int step, int j, T factor) { factors(step, j) = factor; }));
}

template <class T>
void gaussj_again_fast(int n, MATRIX<T>& b, int m, const ARRAY<int>& indxc, const ARRAY<int>& indxr,
                       const MATRIX<T>& factors) {
  for (int step = 1; step <= n; ++step) {
    const T* const factor = factors.Row(step);
    const int column = indxc[step];
    T* const pivot_sides = b.Row(column);
    if (indxr[step] != column) SwapRows(b.Row(indxr[step]), pivot_sides, m);
    Scale(pivot_sides, m, factor[column]);
    for (int j = 1; j <= n; ++j) {
      if (j != column) SubtractMultiple(b.Row(j), pivot_sides, m, factor[j]);
    }
  }
}

#define QM_INSTANTIATE(T)                                                                \
  template void gaussj(T** a, int n, T** b, int m);                                      \
  template void gaussj_fast(MATRIX<T>& a, int n, MATRIX<T>& b, int m, ARRAY<int>& indxc, \
                            ARRAY<int>& indxr, ARRAY<int>& ipiv);                        \
  template void gaussj_fast(MATRIX<T>& a, int n, MATRIX<T>& b, int m, ARRAY<int>& indxc, \
                            ARRAY<int>& indxr, ARRAY<int>& ipiv, MATRIX<T>& factors);    \
  template void gaussj_again_fast(int n, MATRIX<T>& b, int m, const ARRAY<int>& indxc,   \
                                  const ARRAY<int>& indxr, const MATRIX<T>& factors);

QM_INSTANTIATE(float)
QM_INSTANTIATE(double)
