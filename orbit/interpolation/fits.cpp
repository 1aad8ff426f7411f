#include "orbit/interpolation/fits.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include "orbit/interpolation/piecewise.tcc"

namespace quellmark::orbit {

using runtime::Fail;
using runtime::LogLine;

template <class T>
void PowerForm<T>::SetNodes(T first, T last, T* z) {
  const T half_range = (last - first) / T{2};
  z[0] = first + half_range;
  z[1] = half_range > T{0} ? half_range : T{1};
}

template <class T>
void PowerForm<T>::Basis(T u, T values[], int count) {
  T power{1};
  for (int k = 1; k <= count; ++k, power *= u) values[k] = power;
}

template <class T>
void PowerForm<T>::Report(int order, T chi_square) {
  LogLine(LOG::Level::kParameter, "POLYFIT: polynomial fit order = ", order);
  LogLine(LOG::Level::kParameter, "POLYFIT: chi^2 = ", chi_square);
}

template <class T>
void PowerForm<T>::Publish(Piece<T>& piece) {
  T power{1};
  for (std::size_t k = 0; k < piece.c.size(); ++k, power *= piece.z[1]) {
    const T scaled = piece.c[k];
    T& c = piece.c[k];
    c /= power;
    if (!std::isfinite(c) || (scaled != T{0} && std::abs(c) < std::numeric_limits<T>::min())) {
      Fail<INVALID_PARAMETER_VALUE>("POLYFIT::Create: the coefficient of power ", k,
                                    " is too large or too small to be held.\n");
    }
  }
  piece.z.resize(1);
}

template <class T>
void ChebyshevForm<T>::SetNodes(T first, T last, T* z) {
  z[0] = first;
  z[1] = last == first ? T{1} : (last - first) * static_cast<T>(0.5);
}

template <class T>
void ChebyshevForm<T>::Basis(T u, T values[], int count) {
  values[1] = T{1};
  if (count > 1) values[2] = u;
  for (int k = 3; k <= count; ++k) values[k] = T{2} * u * values[k - 1] - values[k - 2];
}

template <class T>
void ChebyshevForm<T>::Report(int, T chi_square) {
  LogLine(LOG::Level::kParameter, "CHEBY_POLY::Create: chi^2 = ", chi_square);
}

namespace {

constexpr int kDefaultOrder = 5;

// Higher orders gain no accuracy in floating point.
constexpr int kMaxOrder = 100;

int AskedOrder(const Request& request) { return request.order < 0 ? kDefaultOrder : request.order; }

}  // namespace

template <class T, class Form>
FitKind<T, Form>::FitKind(const Samples<T>& samples, std::size_t m, const Request& request)
    : samples_(samples),
      points_(static_cast<int>(m)),
      asked_order_(AskedOrder(request)),
      order_(std::min(asked_order_, points_ - 1)) {
  if (order_ > kMaxOrder) {
    Fail<INVALID_PARAMETER_VALUE>(Form::kName, ": polynomial fit order ", order_, " is above ",
                                  kMaxOrder, "\n");
  }
  const RANGE<int> points(1, points_);
  for (const int status :
       {u_.Create(points), y_.Create(points), weights_.Create(points),
        coefficients_.Create(RANGE<int>(1, order_ + 1)), work_.Create(points_, order_ + 1)}) {
    if (status != kArrayOk) throw std::bad_alloc();
  }
  std::ranges::fill(weights_.Elements(), T{1});
}

template <class T, class Form>
void FitKind<T, Form>::Fit(std::size_t first, T* z, T* c, T* worth) {
  const T* const x = samples_.x.data() + first;
  Form::SetNodes(x[0], x[points_ - 1], z);
  for (int j = 0; j < points_; ++j) u_[j + 1] = Form::Map(z, x[j]);
  const int terms = order_ + 1;
  if (!std::ranges::equal(u_.Elements(), decomposed_u_)) {
    decomposed_u_.clear();
    svdfit_decompose_fast<T>(u_, weights_, points_, terms, Form::Basis, work_);
    decomposed_u_.assign(u_.Elements().begin(), u_.Elements().end());
  }
  const std::size_t coordinates = samples_.y.size();
  for (std::size_t i = 0; i < coordinates; ++i) {
    if (order_ < asked_order_) {
      LogLine(LOG::Level::kWarning, Form::kReduce[0], asked_order_, Form::kReduce[1], order_);
    }
    std::copy_n(samples_.y[i].data() + first, points_, y_.Elements().begin());
    svdfit_solve_fast<T>(u_, y_, weights_, points_, coefficients_, terms, worth[i], Form::Basis,
                         work_);
    CheckFinite<T>(coefficients_.Elements(), Form::kName);
    for (int k = 0; k < terms; ++k) {
      c[static_cast<std::size_t>(k) * coordinates + i] = coefficients_[k + 1];
    }
    published_.c.assign(coefficients_.Elements().begin(), coefficients_.Elements().end());
    published_.z.assign(z, z + 2);
    Form::Publish(published_);  // throws now if the coefficients cannot be published
  }
}

template <class T, class Form>
std::size_t FitKind<T, Form>::StepsPerPoint(std::size_t m, const Request& request) {
  const std::size_t order = std::min(static_cast<std::size_t>(AskedOrder(request)), m - 1);
  return (order + 1) * (order + 1);
}

template <class T, class Form>
void FitKind<T, Form>::CheckWholeFit(std::size_t count, const Request& request) {
  if (count > kMaxSteps / StepsPerPoint(count, request)) {
    Fail<INVALID_PARAMETER_VALUE>(Form::kName, ": polynomial fit order ", AskedOrder(request),
                                  " is too high for ", count, " points\n");
  }
}

#define QM_INSTANTIATE(T, Form)       \
  template struct Form<T>;            \
  template class FitKind<T, Form<T>>; \
  template class Piecewise<T, FitKind<T, Form<T>>>;

QM_INSTANTIATE(float, PowerForm)
QM_INSTANTIATE(float, ChebyshevForm)
QM_INSTANTIATE(double, PowerForm)
QM_INSTANTIATE(double, ChebyshevForm)

}  // namespace quellmark::orbit
