// Bodies of vector.h; only vector.h may include this file.
#pragma once

#include <algorithm>
#include <functional>
#include <span>

namespace quellmark::basic {

// Sets target[i] = operation(target[i], operand[i]). Throws `message` if the lengths differ.
template <class T, class Operation>
void CombineElements(VECTOR<T>& target, const VECTOR<T>& operand, Operation operation,
                     const char* message) {
  const std::span<T> to = target.Elements();
  const std::span<const T> from = operand.Elements();
  if (to.size() != from.size()) throw message;
  std::transform(to.begin(), to.end(), from.begin(), to.begin(), operation);
}

}  // namespace quellmark::basic

template <class T>
VECTOR<T>& VECTOR<T>::operator+=(const VECTOR& other) requires std::is_arithmetic_v<T> {
  quellmark::basic::CombineElements(*this, other, std::plus<T>(),
                                    "VECTOR operator += : vectors have different dimensions");
  return *this;
}

template <class T>
VECTOR<T>& VECTOR<T>::operator-=(const VECTOR& other) requires std::is_arithmetic_v<T> {
  quellmark::basic::CombineElements(*this, other, std::minus<T>(),
                                    "VECTOR operator -= : vectors have different dimensions");
  return *this;
}

template <class T>
VECTOR<T>& VECTOR<T>::operator/=(T divisor) requires std::is_arithmetic_v<T> {
  if (divisor == T(0)) throw "VECTOR operator /= : division by 0.0";
  for (T& element : this->Elements()) element = static_cast<T>(element / divisor);
  return *this;
}

template <class T>
VECTOR<T> VECTOR<T>::operator+(const VECTOR& other) const requires std::is_arithmetic_v<T> {
  VECTOR sum = *this;
  quellmark::basic::CombineElements(sum, other, std::plus<T>(),
                                    "VECTOR operator + : vectors have different dimensions");
  return sum;
}

template <class T>
VECTOR<T> VECTOR<T>::operator-(const VECTOR& other) const requires std::is_arithmetic_v<T> {
  VECTOR difference = *this;
  quellmark::basic::CombineElements(difference, other, std::minus<T>(),
                                    "VECTOR operator - : vectors have different dimensions");
  return difference;
}

template <class T>
void RequireThreeComponents(const VECTOR<T>& a, const VECTOR<T>& b) {
  if (a.Length() != 3) throw "CrossProduct: vector a has not dimension of 3";
  if (b.Length() != 3) throw "CrossProduct: vector b has not dimension of 3";
}

template <class T>
void VECTOR<T>::CrossProduct(const VECTOR& a, const VECTOR& b) requires std::is_arithmetic_v<T> {
  RequireThreeComponents(a, b);
  if (this->Resize(a.Range()) != kArrayOk) throw "CrossProduct: can not allocate vector memory";
  // The operands are read after the resizing, which has moved the elements of an operand that is
  // this vector.
  const std::span<const T> p = a.Elements();
  const std::span<const T> q = b.Elements();
  const T c0 = p[1] * q[2] - p[2] * q[1];
  const T c1 = p[2] * q[0] - q[2] * p[0];
  const T c2 = p[0] * q[1] - p[1] * q[0];
  const std::span<T> c = this->Elements();
  c[0] = c0;
  c[1] = c1;
  c[2] = c2;
}

template <class T>
requires std::is_arithmetic_v<T>
double DotProduct(const VECTOR<T>& a, const VECTOR<T>& b) {
  const std::span<const T> p = a.Elements();
  const std::span<const T> q = b.Elements();
  if (p.size() != q.size()) throw "DotProduct: vectors have different dimensions";
  double sum = 0.0;
  for (std::size_t i = p.size(); i-- > 0;) {
    sum += static_cast<double>(p[i]) * static_cast<double>(q[i]);
  }
  return sum;
}
