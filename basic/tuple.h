#pragma once

#include <utility>

/// A polymorphic group of two values of one type.
template <class T>
class TUPLE {
 public:
  TUPLE() = default;
  TUPLE(T first, T second) : first_(std::move(first)), second_(std::move(second)) {}
  TUPLE(const TUPLE&) = default;
  TUPLE(TUPLE&&) noexcept = default;
  TUPLE& operator=(const TUPLE&) = default;
  TUPLE& operator=(TUPLE&&) noexcept = default;
  virtual ~TUPLE() = default;

  [[nodiscard]] const T& First() const { return first_; }
  [[nodiscard]] const T& Second() const { return second_; }

  friend bool operator==(const TUPLE& a, const TUPLE& b) {
    return a.first_ == b.first_ && a.second_ == b.second_;
  }

 private:
  T first_{};
  T second_{};
};
