// One-dimensional array with its own index range: the array stores its first valid index, which may
// be any integer. Numerical code uses start index 1.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <span>

#include "basic/index.h"

class STRING;

/// Status codes of the low-level operations, which return them and do not throw. There is no code
/// 1.
enum ArrayStatus : int {
  kArrayOk = 0,
  kArrayNoMemory = 2,
  kArrayInvalidRange = 3,
};

/// Owns its elements. Copying is deep; it throws the character string "ARRAY : can not copy array"
/// if the target cannot be allocated. An operation that fails, by status or because an element
/// throws while it is made or copied, does not change the array. The only exception is an
/// assignment between equal ranges: it keeps the storage, and may have copied some of the elements
/// before it fails. The virtual operations and the members are declared in the order of their
/// slots.
template <class T>
class ARRAY {
 public:
  ARRAY() = default;
  /// Creates the range. Throws the character string "ARRAY : can not copy array" if that fails.
  explicit ARRAY(const RANGE<int>& range);
  ARRAY(int start, std::initializer_list<T> values);
  ARRAY(const ARRAY& other);
  ARRAY(ARRAY&& other) noexcept;
  ARRAY& operator=(const ARRAY& other);
  ARRAY& operator=(ARRAY&& other) noexcept;

  virtual ~ARRAY();
  /// Forgets storage, range and created flag without freeing anything. This is deliberate, for
  /// arrays whose storage has been handed over. Free() releases the storage.
  virtual void Reset();
  /// Takes the range, makes value-initialised elements for it and releases the previous elements.
  [[nodiscard]] virtual int Allocate(const RANGE<int>& range);
  /// As Allocate(), and sets the created flag. Nothing else sets the flag; Free() and every
  /// resizing with new storage clear it.
  [[nodiscard]] virtual int Create(const RANGE<int>& range);
  virtual void Free();
  [[nodiscard]] virtual int Length() const;
  [[nodiscard]] virtual int First() const;
  /// First() + Length() - 1.
  [[nodiscard]] virtual int Last() const;
  [[nodiscard]] virtual RANGE<int> Range() const;
  /// The storage, shifted so that index `base` addresses the first element. Null without storage.
  [[nodiscard]] virtual T* Data(int base) const;
  /// Data(First()), so that the array's own indices address the elements. Unchecked.
  [[nodiscard]] virtual T* Data() const;
  /// Takes a new range and keeps the elements by position, beginning with the first.
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
  // Uses the wide type, because the difference of two ints may not fit into an int.
  [[nodiscard]] std::size_t Position(int index) const {
    return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(index) - range_.Start());
  }

  RANGE<int> range_{0, 0};
  std::unique_ptr<T[]> storage_;
  bool created_ = false;
};

namespace quellmark::basic {

/// Allocates `count` value-initialised elements with array new. Returns null for none, and null if
/// there is no memory. Exceptions of an element's constructor, other than std::bad_alloc, pass
/// through.
template <class T>
[[nodiscard]] std::unique_ptr<T[]> TryAllocate(std::size_t count);

/// Shifts the address `storage` so that index `base` addresses its first element. The result may
/// lie outside the storage; no other function forms such an address.
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
