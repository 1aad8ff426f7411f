#pragma once

/// A sample (x, y): the support point of an interpolation.
template <class T>
class POINT {
 public:
  POINT() = default;
  POINT(T x, T y) : x_(x), y_(y) {}
  POINT(const POINT&) = default;
  POINT& operator=(const POINT&) = default;
  virtual ~POINT() = default;

  [[nodiscard]] T X() const { return x_; }
  [[nodiscard]] T Y() const { return y_; }

 private:
  T x_{};
  T y_{};
};

/// A sample (x, y) with the derivative dy/dx at x.
template <class T>
class DPOINT : public POINT<T> {
 public:
  DPOINT() = default;
  DPOINT(T x, T y, T dy) : POINT<T>(x, y), dy_(dy) {}

  [[nodiscard]] T Dy() const { return dy_; }

 private:
  T dy_{};
};
