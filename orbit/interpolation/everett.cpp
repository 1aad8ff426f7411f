#include "orbit/interpolation/everett.h"

#include <cmath>

#include "orbit/interpolation/piecewise.h"
#include "runtime/log.h"

namespace quellmark::orbit {

using runtime::Fail;

template <class T>
bool IsEquidistant(std::span<const T> x) {
  constexpr T kRelativeTolerance = static_cast<T>(1e-8);
  if (x.size() < 3) return true;
  const T h1 = x[1] - x[0];
  const auto is_h1 = [h1](T h) { return std::abs(h - h1) <= kRelativeTolerance * h1; };
  for (std::size_t j = 1; j < x.size(); ++j) {
    if (!is_h1(x[j] - x[j - 1])) return false;
  }
  return is_h1((x.back() - x.front()) / static_cast<T>(x.size() - 1));
}

template <class T>
EverettModel<T>::EverettModel(std::shared_ptr<const Samples<T>> samples, const Request& request)
    : samples_(std::move(samples)), order_(request.order < 0 ? 6 : request.order) {
  CheckSamples(*samples_, false, false);
  const std::vector<T>& x = samples_->x;
  last_ = static_cast<int>(x.size()) - 1;
  if (last_ == 0) {
    Fail<INVALID_PARAMETER_VALUE>("EVERETT::Create: more than 1 value needed.\n");
  }
  x0_ = x.front();
  h_ = (x.back() - x0_) / static_cast<T>(last_);
  if (order_ % 2 != 0) {
    Fail<INVALID_PARAMETER_VALUE>(
        "EVERETT::Create: Everett interpolation only possible with even order, not for given "
        "order ",
        order_);
  }
  if (!(h_ > T{0}) || !IsEquidistant<T>(x)) {
    Fail<INVALID_PARAMETER_VALUE>(
        "EVERETT::Create: Everett interpolation only possible on equidistant grid.\n");
  }
  // The differences are first computed row by row. Row k holds the central differences of order 2
  // k, one coordinate after the other.
  const std::size_t count = x.size();
  const std::size_t coordinates = Coordinates();
  const std::size_t row_size = count * coordinates;
  std::vector<T> rows;
  for (const std::vector<T>& y : samples_->y) rows.insert(rows.end(), y.begin(), y.end());
  for (; static_cast<int>(rows_) <= order_ / 2 && 2 * rows_ + 1 <= count; ++rows_) {
    if (rows_ * count > kMaxNumbers) {
      Fail<INVALID_PARAMETER_VALUE>("EVERETT::Create: order ", order_, " is too high for ", count,
                                    " points.\n");
    }
    rows.resize((rows_ + 1) * row_size);
    T* const row = rows.data() + rows_ * row_size;
    bool vanished = true;
    for (std::size_t i = 0; i < coordinates; ++i) {
      T* const to = row + i * count;
      const T* const before = to - row_size;
      for (std::size_t j = rows_; j + rows_ < count; ++j) {
        to[j] = before[j - 1] - T{2} * before[j] + before[j + 1];
        vanished = vanished && to[j] == T{0};
      }
    }
    if (vanished) break;
    CheckFinite<T>({row, row_size}, "EVERETT");
  }
  differences_.reserve((rows_ + 1) * row_size);
  for (std::size_t j = 0; j < count; ++j) {
    for (std::size_t n = 0; n < rows_ * coordinates; ++n) {
      differences_.push_back(rows[n * count + j]);
    }
  }
  differences_.resize(differences_.size() + rows_ * coordinates);
  if (request.logs_worth) {
    for (std::size_t i = 0; i < coordinates; ++i) {
      runtime::LogLine(LOG::Level::kParameter, "EVERETT: order = ", order_, "\n");
    }
  }
}

template <class T>
Xi<T> EverettModel<T>::Locate(T x) const {
  using runtime::LogLine;
  using Level = LOG::Level;
  const T scaled = (x - x0_) / h_;
  const int lowest = order_ / 2;
  const int highest = last_ - order_ / 2;
  // The value is compared before it is converted, because for an x far away it does not fit an int.
  const T floor = std::floor(scaled);
  int i = highest + 1;
  if (floor < static_cast<T>(lowest)) {
    LogLine(Level::kWarning, "EVERETT::GetXi: Forced interpolation left hand side.\n");
    i = lowest;
  } else if (floor <= static_cast<T>(highest)) {
    i = static_cast<int>(floor);
  }
  if (i > highest) {
    LogLine(Level::kWarning, "EVERETT::GetXi: Forced interpolation right hand side.\n");
    i = highest;
  }
  i = std::max(i, 0);
  const T p = scaled - static_cast<T>(i);
  if (p < T{0} || p > T{1}) {
    LogLine(Level::kDebug, "EVERETT::GetXi: Extrapolation needed (r=", p, ", s=", T{1} - p,
            ", i=", samples_->first_index + i, ", ax=", x, ").\n");
  }
  return {i, p, T{1} - p};
}

namespace {

// E_k(u) = u (u^2 - 1) ... (u^2 - k^2) / (2 k + 1)! with its derivatives, from k = 0 upwards. The
// derivatives are built along with the product, so nothing is divided by u, and a support point is
// no pole.
template <class T>
struct EverettFactor {
  Jet<T> e;

  explicit EverettFactor(T u) : e{u, T{1}, T{0}}, u_(u) {}
  /// `factor` is 1 / (2 k (2 k + 1)).
  void Advance(int k, T factor) {
    const T square = u_ * u_ - static_cast<T>(k * k);
    e.d2y = (e.d2y * square + T{4} * u_ * e.dy + T{2} * e.y) * factor;
    e.dy = (e.dy * square + T{2} * u_ * e.y) * factor;
    e.y = e.y * square * factor;
  }

 private:
  T u_;
};

}  // namespace

template <class T>
template <std::size_t kCount>
void EverettModel<T>::At(T x, std::size_t column, Jet<T>* jets) const {
  const Xi<T> xi = Locate(x);
  const std::size_t coordinates = Coordinates();
  const T* left = DifferencesAt(xi.i) + column;
  const T* right = left + rows_ * coordinates;
  T y0[kCount];
  for (std::size_t i = 0; i < kCount; ++i) {
    y0[i] = left[i];
    // The large values of row 0 enter as one value and a difference, so the sum is rounded only
    // once at their magnitude.
    const T step = right[i] - left[i];
    jets[i] = {xi.p * step, step, T{0}};
  }
  EverettFactor<T> left_factor(xi.q);
  EverettFactor<T> right_factor(xi.p);
  for (std::size_t k = 1; k < rows_; ++k) {
    const auto n = static_cast<int>(k);
    const T factor = T{1} / static_cast<T>(2 * n * (2 * n + 1));
    left_factor.Advance(n, factor);
    right_factor.Advance(n, factor);
    left += coordinates;
    right += coordinates;
    for (std::size_t i = 0; i < kCount; ++i) {
      jets[i].y += right_factor.e.y * right[i] + left_factor.e.y * left[i];
      jets[i].dy += right_factor.e.dy * right[i] - left_factor.e.dy * left[i];
      jets[i].d2y += right_factor.e.d2y * right[i] + left_factor.e.d2y * left[i];
    }
  }
  const T per_step = T{1} / h_;
  for (std::size_t i = 0; i < kCount; ++i) {
    jets[i].y += y0[i];
    jets[i].dy *= per_step;
    jets[i].d2y *= per_step * per_step;
  }
}

template bool IsEquidistant(std::span<const float>);
template bool IsEquidistant(std::span<const double>);
template class EverettModel<float>;
template class EverettModel<double>;
template void EverettModel<float>::At<1>(float, std::size_t, Jet<float>*) const;
template void EverettModel<float>::At<3>(float, std::size_t, Jet<float>*) const;
template void EverettModel<double>::At<1>(double, std::size_t, Jet<double>*) const;
template void EverettModel<double>::At<3>(double, std::size_t, Jet<double>*) const;

}  // namespace quellmark::orbit
