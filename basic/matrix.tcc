// Bodies of matrix.h; only matrix.h may include this file.
#pragma once

#include <algorithm>
#include <new>
#include <utility>

template <class T>
MATRIX<T>::MATRIX(const RANGE<int>& rows, const RANGE<int>& columns) {
  if (Create(rows, columns) != kArrayOk) throw "MATRIX : can not copy matrix";
}

template <class T>
MATRIX<T>::MATRIX(const MATRIX& other) {
  *this = other;
}

template <class T>
MATRIX<T>::MATRIX(MATRIX&& other) noexcept {
  Swap(other);
}

template <class T>
MATRIX<T>& MATRIX<T>::operator=(const MATRIX& other) {
  if (this == &other) return *this;
  if (rows_ == other.rows_ && columns_ == other.columns_) {
    std::copy_n(other.elements_.get(), Size(), elements_.get());
    return *this;
  }
  MATRIX copy(other.rows_, other.columns_);
  std::copy_n(other.elements_.get(), copy.Size(), copy.elements_.get());
  Swap(copy);
  return *this;
}

template <class T>
MATRIX<T>& MATRIX<T>::operator=(MATRIX&& other) noexcept {
  MATRIX moved(std::move(other));
  Swap(moved);
  return *this;
}

template <class T>
MATRIX<T>::~MATRIX() = default;

template <class T>
void MATRIX<T>::Reset() {
  MATRIX empty;
  Swap(empty);
}

template <class T>
int MATRIX<T>::Create(const RANGE<int>& rows, const RANGE<int>& columns) {
  if (rows.Length() < 0 || columns.Length() < 0) return kArrayInvalidRange;
  MATRIX created;
  created.rows_ = rows;
  created.columns_ = columns;
  created.created_ = true;
  // Allocates the elements first, so that an impossible size fails before the links take memory.
  created.elements_ = quellmark::basic::TryAllocate<T>(created.Size());
  if (created.elements_ == nullptr && created.Size() != 0) return kArrayNoMemory;
  const bool has_columns = columns.Length() != 0;
  created.link_mask_ = has_columns ? -1 : 0;
  created.links_.reset(new (std::nothrow) ARRAY<POINTER_VECTOR_LINK_T>);
  if (created.links_ == nullptr ||
      created.links_->Create(has_columns ? rows : RANGE<int>(0, 1)) != kArrayOk)
    return kArrayNoMemory;
  T* row = created.elements_.get();
  for (POINTER_VECTOR_LINK_T& link : created.links_->Elements()) {
    link.row = quellmark::basic::ShiftedTo(columns.Start(), row);
    row += columns.Length();
  }
  Swap(created);
  return kArrayOk;
}

template <class T>
void MATRIX<T>::Swap(MATRIX& other) noexcept {
  std::swap(rows_, other.rows_);
  std::swap(columns_, other.columns_);
  std::swap(links_, other.links_);
  std::swap(created_, other.created_);
  std::swap(link_mask_, other.link_mask_);
  std::swap(elements_, other.elements_);
}
