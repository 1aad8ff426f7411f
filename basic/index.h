#pragma once

#include <type_traits>
#include <utility>

/// A polymorphic pair of values.
template <class T, class U>
class INDEX {
 public:
  INDEX() = default;
  INDEX(T first, U second) : first_(std::move(first)), second_(std::move(second)) {}
  INDEX(const INDEX&) = default;
  INDEX(INDEX&&) noexcept = default;
  INDEX& operator=(const INDEX&) = default;
  INDEX& operator=(INDEX&&) noexcept = default;
  virtual ~INDEX() = default;

  [[nodiscard]] const T& First() const { return first_; }
  [[nodiscard]] const U& Second() const { return second_; }

  friend bool operator==(const INDEX& a, const INDEX& b) {
    return a.first_ == b.first_ && a.second_ == b.second_;
  }

 protected:
  T first_{};
  U second_{};
};

/// A pair read as (start, length). RANGE<int> is the index range of every array; a negative length
/// is invalid there.
template <class T>
class RANGE : public INDEX<T, T> {
 public:
  using INDEX<T, T>::INDEX;

  [[nodiscard]] T Start() const { return this->first_; }
  [[nodiscard]] T Length() const { return this->second_; }
  /// Start + length - 1, which is one before the start if the range is empty. A result that does
  /// not fit wraps.
  [[nodiscard]] T Last() const {
    if constexpr (std::is_integral_v<T>) {
      using Unsigned = std::make_unsigned_t<T>;
      return static_cast<T>(static_cast<Unsigned>(this->first_) +
                            static_cast<Unsigned>(this->second_) - 1U);
    } else {
      return this->first_ + this->second_ - 1;
    }
  }
};
