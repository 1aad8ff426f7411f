// Bodies of array.h; only array.h may include this file.
#pragma once

#include <algorithm>
#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>

namespace quellmark::basic {

template <class T>
std::unique_ptr<T[]> TryAllocate(std::size_t count) {
  if (count == 0) return nullptr;
  try {
    return std::unique_ptr<T[]>(new (std::nothrow) T[count]());
  } catch (const std::bad_alloc&) {  // an element could not allocate its own storage
    return nullptr;
  }
}

template <class T>
T* ShiftedTo(std::ptrdiff_t base, T* storage) {
  if (storage == nullptr) return nullptr;
  // Computes with integers, because a pointer must not leave its storage.
  const auto shift = static_cast<std::uintptr_t>(base) * sizeof(T);
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  return reinterpret_cast<T*>(reinterpret_cast<std::uintptr_t>(storage) - shift);
}

}  // namespace quellmark::basic

template <class T>
ARRAY<T>::ARRAY(const RANGE<int>& range) {
  if (ARRAY::Create(range) != kArrayOk) throw "ARRAY : can not copy array";
}

template <class T>
ARRAY<T>::ARRAY(int start, std::initializer_list<T> values)
    : ARRAY(RANGE<int>(start, static_cast<int>(values.size()))) {
  std::copy(values.begin(), values.end(), storage_.get());
}

template <class T>
ARRAY<T>::ARRAY(const ARRAY& other) {
  *this = other;
}

template <class T>
ARRAY<T>::ARRAY(ARRAY&& other) noexcept
    : range_(std::exchange(other.range_, RANGE<int>(0, 0))),
      storage_(std::move(other.storage_)),
      created_(std::exchange(other.created_, false)) {}

template <class T>
ARRAY<T>& ARRAY<T>::operator=(const ARRAY& other) {
  if (this == &other) return *this;
  if (range_ == other.range_) {
    std::copy_n(other.storage_.get(), Size(), storage_.get());
    return *this;
  }
  ARRAY copy;
  if (copy.ARRAY::Allocate(other.range_) != kArrayOk) throw "ARRAY : can not copy array";
  std::copy_n(other.storage_.get(), copy.Size(), copy.storage_.get());
  *this = std::move(copy);
  return *this;
}

template <class T>
ARRAY<T>& ARRAY<T>::operator=(ARRAY&& other) noexcept {
  ARRAY moved(std::move(other));
  std::swap(range_, moved.range_);
  std::swap(storage_, moved.storage_);
  std::swap(created_, moved.created_);
  return *this;
}

template <class T>
ARRAY<T>::~ARRAY() = default;

template <class T>
void ARRAY<T>::Reset() {
  static_cast<void>(storage_.release());
  created_ = false;
  range_ = RANGE<int>(0, 0);
}

template <class T>
int ARRAY<T>::Allocate(const RANGE<int>& range) {
  if (range.Length() < 0) return kArrayInvalidRange;
  auto storage = quellmark::basic::TryAllocate<T>(static_cast<std::size_t>(range.Length()));
  if (storage == nullptr && range.Length() != 0) return kArrayNoMemory;
  storage_ = std::move(storage);
  range_ = range;
  return kArrayOk;
}

template <class T>
int ARRAY<T>::Create(const RANGE<int>& range) {
  const int status = Allocate(range);
  if (status == kArrayOk) created_ = true;
  return status;
}

template <class T>
void ARRAY<T>::Free() {
  storage_.reset();
  Reset();
}

template <class T>
int ARRAY<T>::Length() const {
  return range_.Length();
}

template <class T>
int ARRAY<T>::First() const {
  return range_.Start();
}

template <class T>
int ARRAY<T>::Last() const {
  return range_.Last();
}

template <class T>
RANGE<int> ARRAY<T>::Range() const {
  return range_;
}

template <class T>
T* ARRAY<T>::Data(int base) const {
  return quellmark::basic::ShiftedTo(base, storage_.get());
}

template <class T>
T* ARRAY<T>::Data() const {
  return Data(range_.Start());
}

template <class T>
int ARRAY<T>::Resize(const RANGE<int>& range) {
  if (range == range_) return kArrayOk;
  ARRAY resized;
  const int status = resized.ARRAY::Allocate(range);
  if (status != kArrayOk) return status;
  const std::size_t kept = std::min(Size(), resized.Size());
  T* const from = storage_.get();
  if constexpr (std::is_nothrow_move_assignable_v<T> || !std::is_copy_assignable_v<T>) {
    std::move(from, from + kept, resized.storage_.get());
  } else {  // a move that throws half way would damage the old elements
    std::copy_n(from, kept, resized.storage_.get());
  }
  *this = std::move(resized);
  return kArrayOk;
}
