// One-dimensional array with an index range of its own: the first valid index is stored with the
// array and may be any integer. Numerical code uses start index 1.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <span>

#include "basic/index.h"

class STRING;

/// Status codes of the low-level operations; returned, not thrown. There is no code 1.
enum ArrayStatus : int {
  kArrayOk = 0,
  kArrayNoMemory = 2,
  kArrayInvalidRange = 3,
};

/// Owns its elements. Copying is deep and throws the character string "ARRAY : can not copy array"
/// when the target can not be sized. An operation that fails, by status or because an element
/// throws while it is made or copied, leaves the array as it was; only an assignment between equal
/// ranges, which keeps the storage, may then have copied some of the elements already. The virtual
/// operations stand in the order of their slots, the members in theirs.
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
  /// Takes the range with value-initialised elements; what the array held before is released.
  [[nodiscard]] virtual int Allocate(const RANGE<int>& range);
  /// As Allocate(), and marks the array as created. Only this sets the mark; Free() and every
  /// resizing that gets new storage clear it.
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
  [[nodiscard]] T& operator[](int index) { return storage_[Position(index)]; }
  [[nodiscard]] const T& operator[](int index) const { return storage_[Position(index)]; }
  /// All elements in storage order.
  [[nodiscard]] std::span<T> Elements() { return {storage_.get(), Size()}; }
  [[nodiscard]] std::span<const T> Elements() const { return {storage_.get(), Size()}; }
  [[nodiscard]] bool IsCreated() const { return created_; }

 private:
  [[nodiscard]] std::size_t Size() const { return static_cast<std::size_t>(range_.Length()); }
  // In the wide type: the distance of two ints need not be one.
  [[nodiscard]] std::size_t Position(int index) const {
    return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(index) - range_.Start());
  }

  RANGE<int> range_{0, 0};
  std::unique_ptr<T[]> storage_;
  bool created_ = false;
};

namespace quellmark::basic {

/// `count` value-initialised elements from array new; null for none, and null if they can not be
/// had. What an element's constructor throws, other than std::bad_alloc, passes through.
template <class T>
[[nodiscard]] std::unique_ptr<T[]> TryAllocate(std::size_t count);

/// `storage` as an address that is shifted so that index `base` is its first element. The one place
/// where an address outside the storage is formed, which the arrays hand out by contract.
template <class T>
[[nodiscard]] T* ShiftedTo(std::ptrdiff_t base, T* storage);

}  // namespace quellmark::basic

#include "basic/array.tcc"  // IWYU pragma: keep

extern template class ARRAY<bool>;
extern template class ARRAY<char>;
extern template class ARRAY<signed char>;
extern template class ARRAY<unsigned char>;
extern template class ARRAY<short>;
extern template class ARRAY<int>;
extern template class ARRAY<long long>;
extern template class ARRAY<float>;
extern template class ARRAY<double>;
extern template class ARRAY<STRING>;
