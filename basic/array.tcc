// Bodies of array.h; not to be included by itself.
#pragma once

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

template <class T>
ARRAY<T>::ARRAY(const RANGE<int>& range) {
  if (ARRAY::Create(range) != kArrayOk) throw "ARRAY : can not copy array";
}

template <class T>
ARRAY<T>::ARRAY(int start, std::initializer_list<T> values)
    : ARRAY(RANGE<int>(start, static_cast<int>(values.size()))) {
  std::copy(values.begin(), values.end(), storage_);
}

template <class T>
ARRAY<T>::ARRAY(const ARRAY& other) {
  *this = other;
}

template <class T>
ARRAY<T>::ARRAY(ARRAY&& other) noexcept
    : range_(std::exchange(other.range_, RANGE<int>(0, 0))),
      storage_(std::exchange(other.storage_, nullptr)),
      created_(std::exchange(other.created_, false)) {}

template <class T>
ARRAY<T>& ARRAY<T>::operator=(const ARRAY& other) {
  if (this == &other) return *this;
  if (ARRAY::Resize(other.range_) != kArrayOk) throw "ARRAY : can not copy array";
  std::copy_n(other.storage_, range_.Length(), storage_);
  return *this;
}

template <class T>
ARRAY<T>& ARRAY<T>::operator=(ARRAY&& other) noexcept {
  std::swap(range_, other.range_);
  std::swap(storage_, other.storage_);
  std::swap(created_, other.created_);
  return *this;
}

template <class T>
ARRAY<T>::~ARRAY() {
  delete[] storage_;
}

template <class T>
void ARRAY<T>::Reset() {
  storage_ = nullptr;
  created_ = false;
  range_ = RANGE<int>(0, 0);
}

template <class T>
int ARRAY<T>::Allocate(const RANGE<int>& range) {
  if (range.Length() < 0) return kArrayInvalidRange;
  T* storage = nullptr;
  if (range.Length() > 0) {
    storage = new (std::nothrow) T[static_cast<std::size_t>(range.Length())]();
    if (storage == nullptr) return kArrayNoMemory;
  }
  range_ = range;
  storage_ = storage;
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
  delete[] storage_;
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
  if (storage_ == nullptr) return nullptr;
  // The one place where an address outside the storage is formed, by contract; as an integer, since
  // a pointer must not leave its storage.
  const auto offset = static_cast<std::intptr_t>(base) * static_cast<std::intptr_t>(sizeof(T));
  return reinterpret_cast<T*>(reinterpret_cast<std::intptr_t>(storage_) - offset);
}

template <class T>
T* ARRAY<T>::Data() const {
  return Data(range_.Start());
}

template <class T>
int ARRAY<T>::Resize(const RANGE<int>& range) {
  if (range == range_) return kArrayOk;
  ARRAY resized;
  const int status = resized.Allocate(range);
  if (status != kArrayOk) return status;
  std::move(storage_, storage_ + std::min(range_.Length(), range.Length()), resized.storage_);
  *this = std::move(resized);
  return kArrayOk;
}
