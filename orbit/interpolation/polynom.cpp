#include "orbit/interpolation/polynom.h"

#include <algorithm>
#include <cmath>

#include "orbit/interpolation/piecewise.tcc"

namespace quellmark::orbit {

template <class T, bool kDerivatives>
void NewtonKind<T, kDerivatives>::Fit(std::size_t first, T* z, T* c, T*) {
  const std::size_t coordinates = samples_.y.size();
  const std::size_t count = column_.size();
  const T* const x = samples_.x.data() + first;
  std::copy_n(x, points_, z);
  for (std::size_t i = 0; i < coordinates; ++i) {
    const T* const y = samples_.y[i].data() + first;
    for (std::size_t n = 0; n < count; ++n) column_[n] = y[n / kTermsPerNode];
    // Column k of the scheme of divided differences replaces column k - 1, from the end. After a
    // column of zeros all columns are zero, so the work ends there. This matters for very many
    // points, whose high differences vanish.
    for (std::size_t k = 1; k < count; ++k) {
      bool vanished = true;
      bool finite = true;
      for (std::size_t n = count - 1; n >= k; --n) {
        T& d = column_[n];
        if (kDerivatives && k == 1 && n % 2 == 1) {
          d = samples_.dy[i][first + n / 2];
        } else {
          d = (d - column_[n - 1]) / (x[n / kTermsPerNode] - x[(n - k) / kTermsPerNode]);
        }
        vanished = vanished && d == T{0};
        finite = finite && std::isfinite(d);
      }
      if (vanished) break;
      if (!finite) {
        runtime::Fail<INVALID_PARAMETER_VALUE>("POLYNOM: divided differences of order ", k,
                                               " are not finite.\n");
      }
      terms_used_ = std::max(terms_used_, k + 1);
    }
    for (std::size_t n = 0; n < count; ++n) c[n * coordinates + i] = column_[n];
  }
}

template <class T, bool kDerivatives>
void NewtonKind<T, kDerivatives>::Publish(Piece<T>& piece) {
  while (piece.c.size() > 1 && piece.c.back() == T{0}) piece.c.pop_back();
  std::vector<T> nodes;
  for (std::size_t k = 0; k + 1 < piece.c.size(); ++k) nodes.push_back(piece.z[k / kTermsPerNode]);
  piece.z = std::move(nodes);
}

#define QM_INSTANTIATE(T, kDerivatives)       \
  template class NewtonKind<T, kDerivatives>; \
  template class Piecewise<T, NewtonKind<T, kDerivatives>>;

QM_INSTANTIATE(float, false)
QM_INSTANTIATE(float, true)
QM_INSTANTIATE(double, false)
QM_INSTANTIATE(double, true)

}  // namespace quellmark::orbit
