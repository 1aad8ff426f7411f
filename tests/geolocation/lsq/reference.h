// Linear algebra in quadruple precision, written only for the tests, which compare the solvers with
// it. Indices run from 0.
#pragma once

#include <algorithm>
#include <concepts>
#include <random>
#include <utility>
#include <vector>

#include "basic/matrix.h"

namespace quellmark::test {

__extension__ typedef __float128 Quad;
using QuadMatrix = std::vector<std::vector<Quad>>;

inline Quad Abs(Quad value) { return value < 0 ? -value : value; }

/// The inverse by elimination with row pivoting; with 113 bits its own error is below the precision
/// of double.
inline QuadMatrix Inverse(QuadMatrix a) {
  const std::size_t n = a.size();
  for (std::size_t i = 0; i < n; ++i) {
    a[i].resize(2 * n, 0);  // the identity on the right becomes the inverse
    a[i][n + i] = 1;
  }
  for (std::size_t i = 0; i < n; ++i) {
    const auto larger = [i](const auto& r, const auto& s) { return Abs(r[i]) < Abs(s[i]); };
    std::swap(a[i], *std::max_element(a.begin() + static_cast<std::ptrdiff_t>(i), a.end(), larger));
    for (std::size_t c = 2 * n; c-- > i;) a[i][c] /= a[i][i];
    for (std::size_t r = 0; r < n; ++r) {
      for (std::size_t c = 2 * n; r != i && c-- > i;) a[r][c] -= a[r][i] * a[i][c];
    }
  }
  for (auto& row : a) row.erase(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(n));
  return a;
}

inline QuadMatrix Times(const QuadMatrix& a, const QuadMatrix& b) {
  QuadMatrix product(a.size(), std::vector<Quad>(b[0].size(), 0));
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t j = 0; j < b[0].size(); ++j) {
      for (std::size_t k = 0; k < b.size(); ++k) product[i][j] += a[i][k] * b[k][j];
    }
  }
  return product;
}

inline QuadMatrix Transposed(const QuadMatrix& a) {
  QuadMatrix result(a[0].size());
  for (const auto& row : a) {
    for (std::size_t j = 0; j < row.size(); ++j) result[j].push_back(row[j]);
  }
  return result;
}

/// The largest sum of the magnitudes of a row.
inline double Norm(const QuadMatrix& a) {
  Quad norm = 0;
  for (const auto& row : a) {
    Quad sum = 0;
    for (const Quad element : row) sum += Abs(element);
    norm = std::max(norm, sum);
  }
  return static_cast<double>(norm);
}

inline Quad ToQuad(std::floating_point auto value) { return static_cast<Quad>(value); }

template <class T>
QuadMatrix ToQuad(const MATRIX<T>& m) {
  QuadMatrix result(static_cast<std::size_t>(m.Rows().Length()));
  auto element = m.Elements().begin();
  for (auto& row : result) {
    for (int j = 0; j < m.Columns().Length(); ++j) row.push_back(ToQuad(*element++));
  }
  return result;
}

/// |a - b| relative to |b|, both by Norm(); not relative if b is zero.
inline double Distance(QuadMatrix a, const QuadMatrix& b) {
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t j = 0; j < a[i].size(); ++j) a[i][j] -= b[i][j];
  }
  const double scale = Norm(b);
  return scale == 0.0 ? Norm(a) : Norm(a) / scale;
}

inline double DistanceFromIdentity(const QuadMatrix& a) {
  QuadMatrix identity(a.size(), std::vector<Quad>(a.size(), 0));
  for (std::size_t i = 0; i < a.size(); ++i) identity[i][i] = 1;
  return Distance(a, identity);
}

template <class T>
MATRIX<T> Filled(int rows, int columns, auto element) {
  MATRIX<T> m(RANGE<int>(1, rows), RANGE<int>(1, columns));
  for (int i = 1; i <= rows; ++i) {
    for (int j = 1; j <= columns; ++j) m(i, j) = static_cast<T>(element(i, j));
  }
  return m;
}

/// Elements evenly distributed in -1..1, the same in every run.
template <class T>
MATRIX<T> Random(int rows, int columns) {
  static std::mt19937 generator(20261121);
  std::uniform_real_distribution<double> distribution(-1.0, 1.0);
  return Filled<T>(rows, columns, [&](int, int) { return distribution(generator); });
}

template <class T>
MATRIX<T> Hilbert(int n) {
  return Filled<T>(n, n, [](int i, int j) { return T(1) / static_cast<T>(i + j - 1); });
}

/// The row pointers of a matrix with start indices 1, for the plain solvers.
template <class T>
std::vector<T*> RowPointers(MATRIX<T>& m) {
  std::vector<T*> rows(1, nullptr);
  for (int i = 1; i <= m.Rows().Length(); ++i) rows.push_back(m.Row(i));
  return rows;
}

/// 1, x, x^2, ...
template <class T>
void Powers(T x, T afunc[], int ma) {
  afunc[1] = T(1);
  for (int j = 2; j <= ma; ++j) afunc[j] = afunc[j - 1] * x;
}

}  // namespace quellmark::test
