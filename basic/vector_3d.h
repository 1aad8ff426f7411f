#pragma once

#include <cmath>

/// Three components; earth-fixed positions [m], velocities [m/s] and accelerations [m/s^2].
template <class T>
struct VECTOR_3D {
  T x{};
  T y{};
  T z{};

  friend constexpr VECTOR_3D operator+(const VECTOR_3D& a, const VECTOR_3D& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
  }
  friend constexpr VECTOR_3D operator-(const VECTOR_3D& a, const VECTOR_3D& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
  }
  friend constexpr VECTOR_3D operator*(T factor, const VECTOR_3D& v) {
    return {factor * v.x, factor * v.y, factor * v.z};
  }
  friend bool operator==(const VECTOR_3D&, const VECTOR_3D&) = default;
};

template <class T>
[[nodiscard]] constexpr T Dot(const VECTOR_3D<T>& a, const VECTOR_3D<T>& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

template <class T>
[[nodiscard]] constexpr VECTOR_3D<T> Cross(const VECTOR_3D<T>& a, const VECTOR_3D<T>& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// Euclidean length. There is no guard against overflow; the vectors of this system are far from
/// it.
template <class T>
[[nodiscard]] T Length(const VECTOR_3D<T>& v) {
  return std::sqrt(Dot(v, v));
}
