#include "geolocation/lsq/svd.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "geolocation/lsq/rows.h"

using namespace quellmark::lsq;

namespace {

constexpr int kMaxIterations = 30;  // per singular value
constexpr const char* kNoConvergence = "no convergence in 30 svdcmp iterations";

// Legend: a (m x n), first the matrix, then Householder vectors, then U; w the diagonal and e the
// superdiagonal of the bidiagonal form, e[i] standing above w[i], e[1] = 0. A Householder vector u
// with the reflected length g stands for the reflection I + u u^T / (g u_first).
template <class T, class Rows>
class Decomposition {
 public:
  Decomposition(Rows a, int m, int n, T* w, Rows v, T* e)
      : a_(a), m_(m), n_(n), w_(w), v_(v), e_(e) {}

  // Whether the iteration has converged.
  bool Run() {
    if (!Normalise()) return false;
    Bidiagonalise();
    AccumulateRight();
    AccumulateLeft();
    norm_ = 0;
    for (int i = 1; i <= n_; ++i) norm_ = std::max(norm_, std::abs(w_[i]) + std::abs(e_[i]));
    for (int k = n_; k >= 1; --k) {
      if (!Diagonalise(k)) return false;
    }
    for (int k = 1; k <= n_; ++k) w_[k] = std::scalbn(w_[k], exponent_);
    return true;
  }

 private:
  // Scales the largest element exactly to the order of 1, so that nothing later overflows or loses
  // the bits of small numbers. Returns whether all elements are finite.
  bool Normalise() {
    T largest = 0;
    for (int i = 1; i <= m_; ++i) {
      for (int j = 1; j <= n_; ++j) {
        if (!std::isfinite(a_[i][j])) return false;
        largest = std::max(largest, std::abs(a_[i][j]));
      }
    }
    exponent_ = largest != T(0) ? std::ilogb(largest) : 0;
    if (exponent_ == 0) return true;
    for (int i = 1; i <= m_; ++i) {
      for (int j = 1; j <= n_; ++j) a_[i][j] = std::scalbn(a_[i][j], -exponent_);
    }
    return true;
  }

  void Bidiagonalise() {
    e_[1] = 0;
    for (int i = 1; i <= n_; ++i) {
      w_[i] = ReflectColumn(i);
      if (i < n_) e_[i + 1] = ReflectRow(i);
    }
  }

  // Turns the elements of column i below the diagonal into zeros and returns the diagonal element.
  // Scales first, so that the squares do not vanish.
  T ReflectColumn(int i) {
    T scale = 0;
    for (int k = i; k <= m_; ++k) scale += std::abs(a_[k][i]);
    if (scale == T(0)) return 0;
    T square = 0;
    for (int k = i; k <= m_; ++k) {
      a_[k][i] /= scale;
      square += a_[k][i] * a_[k][i];
    }
    const T g = -std::copysign(std::sqrt(square), a_[i][i]);
    a_[i][i] -= g;
    const T h = g * a_[i][i];
    for (int j = i + 1; j <= n_; ++j) {
      T product = 0;
      for (int k = i; k <= m_; ++k) product += a_[k][i] * a_[k][j];
      const T factor = product / h;
      for (int k = i; k <= m_; ++k) a_[k][j] += factor * a_[k][i];
    }
    for (int k = i; k <= m_; ++k) a_[k][i] *= scale;
    return scale * g;
  }

  // Turns the elements of row i right of the superdiagonal into zeros and returns the superdiagonal
  // element.
  T ReflectRow(int i) {
    if (i > m_) return 0;
    const int first = i + 1;
    T* const u = a_[i];
    T scale = 0;
    for (int k = first; k <= n_; ++k) scale += std::abs(u[k]);
    if (scale == T(0)) return 0;
    T square = 0;
    for (int k = first; k <= n_; ++k) {
      u[k] /= scale;
      square += u[k] * u[k];
    }
    const T g = -std::copysign(std::sqrt(square), u[first]);
    u[first] -= g;
    const T h = g * u[first];
    for (int j = first; j <= m_; ++j) {
      T* const row = a_[j];
      T product = 0;
      for (int k = first; k <= n_; ++k) product += row[k] * u[k];
      const T factor = product / h;
      for (int k = first; k <= n_; ++k) row[k] += factor * u[k];
    }
    for (int k = first; k <= n_; ++k) u[k] *= scale;
    return scale * g;
  }

  // The product of the reflections of the rows, from the last to the first.
  void AccumulateRight() {
    for (int i = n_; i >= 1; --i) {
      const int first = i + 1;
      v_[i][i] = 1;
      if (i < n_ && e_[first] != T(0)) ApplyReflection(a_[i], first, e_[first], i);
      for (int j = first; j <= n_; ++j) v_[i][j] = v_[j][i] = 0;
    }
  }

  // Applies the reflection of u and g to the columns first..n of V; the column `spare` is
  // overwritten.
  void ApplyReflection(const T* u, int first, T g, int spare) {
    // Divides by g here, where the quotients are moderate; 1 / g might overflow.
    for (int k = first; k <= n_; ++k) v_[k][spare] = u[k] / g;
    for (int j = first; j <= n_; ++j) {
      T product = 0;
      for (int k = first; k <= n_; ++k) product += v_[k][spare] * v_[k][j];
      const T factor = product / v_[first][spare];
      for (int k = first; k <= n_; ++k) v_[k][j] += factor * v_[k][spare];
    }
  }

  // The product of the reflections of the columns, which replaces their vectors.
  void AccumulateLeft() {
    for (int i = std::min(m_, n_); i >= 1; --i) {
      const T g = w_[i];
      for (int j = i + 1; j <= n_; ++j) a_[i][j] = 0;
      if (g == T(0)) {
        for (int k = i; k <= m_; ++k) a_[k][i] = 0;
        a_[i][i] = 1;
        continue;
      }
      for (int k = i; k <= m_; ++k) a_[k][i] /= g;
      for (int j = i + 1; j <= n_; ++j) {
        T product = 0;
        for (int k = i + 1; k <= m_; ++k) product += a_[k][i] * a_[k][j];
        const T factor = product / a_[i][i];
        for (int k = i; k <= m_; ++k) a_[k][j] += factor * a_[k][i];
      }
      a_[i][i] += T(1);
    }
  }

  [[nodiscard]] bool IsNegligible(T value) const {
    return std::abs(value) <= std::numeric_limits<T>::epsilon() * norm_;
  }

  // The same as std::hypot() for numbers that are not tiny, in a tenth of its time. After
  // Normalise() no number is huge.
  static T Length(T x, T y) {
    constexpr double kExact =
        std::numeric_limits<double>::min() / std::numeric_limits<double>::epsilon();
    const double square = Square(x) + Square(y);
    return square > kExact ? static_cast<T>(std::sqrt(square)) : std::hypot(x, y);
  }
  static double Square(T x) { return static_cast<double>(x) * static_cast<double>(x); }

  // Turns the columns p and q of `rows` rows of a matrix.
  static void Rotate(Rows matrix, int rows, int p, int q, T cosine, T sine) {
    for (int r = 1; r <= rows; ++r) {
      T* const row = matrix[r];
      const T x = row[p];
      const T y = row[q];
      row[p] = x * cosine + y * sine;
      row[q] = y * cosine - x * sine;
    }
  }

  // Drives e[k] to zero and makes w[k] positive. Returns whether that succeeded.
  bool Diagonalise(int k) {
    for (int iteration = 1; iteration <= kMaxIterations; ++iteration) {
      const int first = FindBlock(k);
      if (first == k) {
        MakePositive(k);
        return true;
      }
      if (iteration < kMaxIterations) Sweep(first, k);
    }
    return false;
  }

  // Returns the start of the block that ends in k and has no zero on its superdiagonal. The block
  // starts where e[first] is negligible, or where w[first - 1] is; in the latter case, rotations
  // turn e[first] into zero.
  int FindBlock(int k) {
    for (int first = k; first > 1; --first) {
      if (IsNegligible(e_[first])) return first;
      if (IsNegligible(w_[first - 1])) {
        ClearSuperdiagonal(first, k);
        return first;
      }
    }
    return 1;
  }

  void ClearSuperdiagonal(int first, int last) {
    T cosine = 0;
    T sine = 1;
    for (int i = first; i <= last; ++i) {
      const T f = sine * e_[i];
      e_[i] *= cosine;
      if (IsNegligible(f)) return;
      const T g = w_[i];
      w_[i] = Length(f, g);
      cosine = g / w_[i];
      sine = -f / w_[i];
      Rotate(a_, m_, first - 1, i, cosine, sine);
    }
  }

  void MakePositive(int k) {
    if (!std::signbit(w_[k])) return;
    w_[k] = -w_[k];
    for (int j = 1; j <= n_; ++j) v_[j][k] = -v_[j][k];
  }

  // (d^2 - s) / d for the first diagonal element d of the block and the eigenvalue s, nearer to the
  // last one, of the trailing 2 x 2 corner of B^T B.
  [[nodiscard]] T ShiftedStart(int first, int last) const {
    const T d = w_[first];
    const T y = w_[last - 1];
    const T z = w_[last];
    const T g = e_[last - 1];
    const T h = e_[last];
    const T half = ((y - z) * (y + z) + (g - h) * (g + h)) / (T(2) * h * y);
    const T root = half + std::copysign(std::hypot(half, T(1)), half);
    return ((d - z) * (d + z) + h * (y / root - h)) / d;
  }

  // One implicitly shifted QR step on the block: a bulge is chased down by rotations of columns
  // (into V) and of rows (into U).
  void Sweep(int first, int last) {
    T f = ShiftedStart(first, last);
    T x = w_[first];
    T cosine = 1;
    T sine = 1;
    for (int j = first; j < last; ++j) {
      T g = cosine * e_[j + 1];
      T h = sine * e_[j + 1];
      T y = w_[j + 1];
      e_[j] = SetRotation(f, h, cosine, sine);
      f = x * cosine + g * sine;
      g = g * cosine - x * sine;
      h = y * sine;
      y *= cosine;
      Rotate(v_, n_, j, j + 1, cosine, sine);
      w_[j] = SetRotation(f, h, cosine, sine);
      f = cosine * g + sine * y;
      x = cosine * y - sine * g;
      Rotate(a_, m_, j, j + 1, cosine, sine);
    }
    e_[first] = 0;
    e_[last] = f;
    w_[last] = x;
  }

  // The rotation that turns (f, h) to (r, 0); returns r. For (0, 0) any rotation will do.
  static T SetRotation(T f, T h, T& cosine, T& sine) {
    const T r = Length(f, h);
    if (r != T(0)) {
      cosine = f / r;
      sine = h / r;
    }
    return r;
  }

  Rows a_;
  int m_;
  int n_;
  T* w_;
  Rows v_;
  T* e_;
  int exponent_ = 0;  // the matrix was divided by this power of two
  T norm_ = 0;        // of the bidiagonal form; elements that are small beside it count as zero
};

template <class T, class Rows>
bool Decompose(Rows a, int m, int n, T* w, Rows v, T* e) {
  return Decomposition<T, Rows>(a, m, n, w, v, e).Run();
}

template <class T>
void DiscardSmall(T* w, int ma) {
  const T largest = *std::max_element(w + 1, w + ma + 1);
  const T threshold = static_cast<T>(ma) * std::numeric_limits<T>::epsilon() * largest;
  for (int j = 1; j <= ma; ++j) {
    if (w[j] < threshold) w[j] = 0;
  }
}

// a = V diag(1/w) U^T b over the remaining singular values; `scaled` is a work vector.
template <class T, class Rows>
void BackSubstitute(Rows u, const T* w, Rows v, int ndata, int ma, const T* b, T* scaled, T* a) {
  for (int j = 1; j <= ma; ++j) {
    scaled[j] = 0;
    if (w[j] == T(0)) continue;
    for (int i = 1; i <= ndata; ++i) scaled[j] += u[i][j] * b[i];
    scaled[j] /= w[j];
  }
  for (int j = 1; j <= ma; ++j) {
    a[j] = 0;
    for (int k = 1; k <= ma; ++k) a[j] += v[j][k] * scaled[k];
  }
}

template <class T, class Rows>
void SetUpDesign(const T* x, const T* sig, int ndata, int ma, Rows u, T* afunc,
                 BasisFunctions<T> funcs) {
  for (int i = 1; i <= ndata; ++i) {
    funcs(x[i], afunc, ma);
    for (int j = 1; j <= ma; ++j) u[i][j] = afunc[j] / sig[i];
  }
}

// Returns chi-square; the design must be decomposed.
template <class T, class Rows>
T Solve(const T* x, const T* y, const T* sig, int ndata, T* a, int ma, Rows u, Rows v, const T* w,
        T* b, T* afunc, BasisFunctions<T> funcs) {
  for (int i = 1; i <= ndata; ++i) b[i] = y[i] / sig[i];
  BackSubstitute(u, w, v, ndata, ma, b, afunc, a);
  T chisq = 0;
  for (int i = 1; i <= ndata; ++i) {
    funcs(x[i], afunc, ma);
    T fit = 0;
    for (int j = 1; j <= ma; ++j) fit += a[j] * afunc[j];
    const T residual = (y[i] - fit) / sig[i];
    chisq += residual * residual;
  }
  return chisq;
}

}  // namespace

namespace quellmark::lsq {

template <class T>
int SvdfitWorkspace<T>::Create(int ndata, int ma) {
  const RANGE<int> parameters(1, ma);
  const RANGE<int> samples(1, ndata);
  for (const int status :
       {u.Create(samples, parameters), v.Create(parameters, parameters), w.Create(parameters),
        b.Create(samples), afunc.Create(parameters), rv1.Create(parameters)}) {
    if (status != kArrayOk) return status;
  }
  return kArrayOk;
}

}  // namespace quellmark::lsq

template <class T>
void svdcmp(T** a, int m, int n, T w[], T** v) {
  const WorkVector<T> rv1(n);
  if (!Decompose(a, m, n, w, v, rv1.Data())) fail_run_time(kNoConvergence);
}

template <class T>
void svdfit_decompose_fast(const ARRAY<T>& x, const ARRAY<T>& sig, int ndata, int ma,
                           std::type_identity_t<BasisFunctions<T>> funcs,
                           SvdfitWorkspace<T>& work) {
  SetUpDesign(x.Data(1), sig.Data(1), ndata, ma, MatrixRows<T>{work.u}, work.afunc.Data(1), funcs);
  if (!Decompose(MatrixRows<T>{work.u}, ndata, ma, work.w.Data(1), MatrixRows<T>{work.v},
                 work.rv1.Data(1))) {
    throw kNoConvergence;
  }
  DiscardSmall(work.w.Data(1), ma);
}

template <class T>
void svdfit_solve_fast(const ARRAY<T>& x, const ARRAY<T>& y, const ARRAY<T>& sig, int ndata,
                       ARRAY<T>& a, int ma, T& chisq, std::type_identity_t<BasisFunctions<T>> funcs,
                       SvdfitWorkspace<T>& work) {
  chisq =
      Solve<T>(x.Data(1), y.Data(1), sig.Data(1), ndata, a.Data(1), ma, MatrixRows<T>{work.u},
               MatrixRows<T>{work.v}, work.w.Data(1), work.b.Data(1), work.afunc.Data(1), funcs);
}

#define QM_INSTANTIATE(T)                                                                        \
  template struct quellmark::lsq::SvdfitWorkspace<T>;                                            \
  template void svdcmp(T** a, int m, int n, T w[], T** v);                                       \
  template void svdfit_decompose_fast(const ARRAY<T>& x, const ARRAY<T>& sig, int ndata, int ma, \
                                      BasisFunctions<T> funcs, SvdfitWorkspace<T>& work);        \
  template void svdfit_solve_fast(const ARRAY<T>& x, const ARRAY<T>& y, const ARRAY<T>& sig,     \
                                  int ndata, ARRAY<T>& a, int ma, T& chisq,                      \
                                  BasisFunctions<T> funcs, SvdfitWorkspace<T>& work);

QM_INSTANTIATE(float)
QM_INSTANTIATE(double)
