#include "orbit/interpolation/spline.h"

#include <utility>
#include <vector>

#include "runtime/log.h"

namespace quellmark::orbit {

namespace {

// Returns the second derivatives M at the support points, which are 0 at both ends. Node i
// contributes the equation
//   h(i-1) M(i-1) + 2 (h(i-1) + h(i)) M(i) + h(i) M(i+1) = 6 (slope(i) - slope(i-1)),
// and the system is solved by elimination from the left and substitution from the right.
template <class T>
std::vector<T> Curvatures(const std::vector<T>& x, const std::vector<T>& y) {
  const std::size_t n = x.size();
  const auto h = [&](std::size_t i) { return x[i + 1] - x[i]; };
  const auto slope = [&](std::size_t i) { return (y[i + 1] - y[i]) / h(i); };
  std::vector<T> curvature(n, T{0});
  std::vector<T> upper(n, T{0});
  for (std::size_t i = 1; i + 1 < n; ++i) {
    const T pivot = T{2} * (h(i - 1) + h(i)) - h(i - 1) * upper[i - 1];
    upper[i] = h(i) / pivot;
    curvature[i] = (T{6} * (slope(i) - slope(i - 1)) - h(i - 1) * curvature[i - 1]) / pivot;
  }
  for (std::size_t i = n - 1; i-- > 1;) curvature[i] -= upper[i] * curvature[i + 1];
  return curvature;
}

template <class T>
const std::vector<T>& CheckedAbscissae(const Samples<T>& samples) {
  CheckSamples(samples, false, true);
  if (samples.x.size() < 2) {
    runtime::Fail<INVALID_PARAMETER_VALUE>("SPLINE::Create: more than 1 value needed.\n");
  }
  return samples.x;
}

}  // namespace

template <class T>
SplineModel<T>::SplineModel(std::shared_ptr<const Samples<T>> samples, const Request&)
    : samples_(std::move(samples)), table_(CheckedAbscissae(*samples_), 4 * samples_->y.size()) {
  const std::vector<T>& x = samples_->x;
  const std::size_t n = samples_->y.size();
  for (std::size_t i = 0; i < n; ++i) {
    const std::vector<T>& y = samples_->y[i];
    const std::vector<T> m = Curvatures(x, y);
    for (std::size_t j = 0; j + 1 < x.size(); ++j) {
      const T h = x[j + 1] - x[j];
      const T slope = (y[j + 1] - y[j]) / h;
      T* const row = table_.Row(j) + i;
      row[0] = y[j];
      row[n] = slope - h / T{6} * (T{2} * m[j] + m[j + 1]);
      row[2 * n] = m[j] / T{2};
      row[3 * n] = (m[j + 1] - m[j]) / (T{6} * h);
    }
  }
  CheckFinite<T>({table_.Row(0), table_.Count() * table_.Width()}, "SPLINE");
}

template class SplineModel<float>;
template class SplineModel<double>;

}  // namespace quellmark::orbit
