// Array with the arithmetic of vectors.
#pragma once

#include <initializer_list>
#include <type_traits>

#include "basic/array.h"

/// An ARRAY of numbers with arithmetic. Two operands are combined by position, whatever their start
/// indices; they must have the same length. Errors are thrown as character strings before any
/// element changes.
template <class T>
class VECTOR : public ARRAY<T> {
 public:
  using ARRAY<T>::ARRAY;

  VECTOR& operator+=(const VECTOR& other) requires std::is_arithmetic_v<T>;
  VECTOR& operator-=(const VECTOR& other) requires std::is_arithmetic_v<T>;
  /// Divides every element. The divisor 0 throws "VECTOR operator /= : division by 0.0".
  VECTOR& operator/=(T divisor) requires std::is_arithmetic_v<T>;
  /// The results have the range of the left operand.
  [[nodiscard]] VECTOR operator+(const VECTOR& other) const requires std::is_arithmetic_v<T>;
  [[nodiscard]] VECTOR operator-(const VECTOR& other) const requires std::is_arithmetic_v<T>;

  /// Becomes a x b with the range of `a`; both must have length 3, and either may be this vector.
  void CrossProduct(const VECTOR& a, const VECTOR& b) requires std::is_arithmetic_v<T>;
};

/// The scalar product, summed from the last element down to the first: this order fixes every bit
/// of the result. Returns 0.0 for empty vectors; throws "DotProduct: vectors have different
/// dimensions".
template <class T>
requires std::is_arithmetic_v<T>
[[nodiscard]] double DotProduct(const VECTOR<T>& a, const VECTOR<T>& b);

/// Throws the character strings of CrossProduct() unless both vectors have three components.
template <class T>
void RequireThreeComponents(const VECTOR<T>& a, const VECTOR<T>& b);

#include "basic/vector.tcc"  // IWYU pragma: keep

extern template class VECTOR<int>;
extern template class VECTOR<float>;
extern template class VECTOR<double>;
extern template double DotProduct(const VECTOR<double>& a, const VECTOR<double>& b);
