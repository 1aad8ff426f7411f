// One-dimensional array with an index range of its own: the first valid index is stored with the
// array and may be any integer. Numerical code uses start index 1.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>

#include "basic/index.h"

/// Status codes of the low-level operations; returned, not thrown. There is no code 1.
enum ArrayStatus : int {
  kArrayOk = 0,
  kArrayNoMemory = 2,
  kArrayInvalidRange = 3,
};

/// Owns its elements. Copying is deep and throws the character string "ARRAY : can not copy array"
/// when the target can not be sized. The virtual operations stand in the order of their slots.
template <class T>
class ARRAY {
 public:
  ARRAY() = default;
  /// Creates the range; throws the character string "ARRAY : can not copy array" if it can not.
  explicit ARRAY(const RANGE<int>& range);
  ARRAY(int start, std::initializer_list<T> values);
  ARRAY(const ARRAY& other);
  ARRAY(ARRAY&& other) noexcept;
  ARRAY& operator=(const ARRAY& other);
  ARRAY& operator=(ARRAY&& other) noexcept;

  virtual ~ARRAY();
  /// Forgets storage, range and created flag; frees nothing (deliberate: for arrays whose storage
  /// has been handed over). Free() is the one that releases.
  virtual void Reset();
  /// Takes the range and allocates value-initialised elements for it. What the array held before is
  /// not released: call Free() first.
  [[nodiscard]] virtual int Allocate(const RANGE<int>& range);
  /// As Allocate(), and marks the array as created.
  [[nodiscard]] virtual int Create(const RANGE<int>& range);
  virtual void Free();
  [[nodiscard]] virtual int Length() const;
  [[nodiscard]] virtual int First() const;
  /// First() + Length() - 1.
  [[nodiscard]] virtual int Last() const;
  [[nodiscard]] virtual RANGE<int> Range() const;
  /// The storage shifted so that index `base` addresses the first element; null without storage.
  [[nodiscard]] virtual T* Data(int base) const;
  /// Data(First()): the array's own indices address the elements directly, unchecked.
  [[nodiscard]] virtual T* Data() const;
  /// Takes a new range and keeps the elements by position, first to first.
  [[nodiscard]] virtual int Resize(const RANGE<int>& range);

  /// Element at an index of the range; unchecked.
  [[nodiscard]] T& operator[](int index) { return storage_[index - range_.Start()]; }
  [[nodiscard]] const T& operator[](int index) const { return storage_[index - range_.Start()]; }
  /// All elements in storage order.
  [[nodiscard]] std::span<T> Elements() {
    return {storage_, static_cast<std::size_t>(range_.Length())};
  }
  [[nodiscard]] std::span<const T> Elements() const {
    return {storage_, static_cast<std::size_t>(range_.Length())};
  }
  [[nodiscard]] bool IsCreated() const { return created_; }

 private:
  RANGE<int> range_{0, 0};
  T* storage_ = nullptr;
  bool created_ = false;
};

#include "basic/array.tcc"  // IWYU pragma: keep
