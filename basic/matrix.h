// Two-dimensional array with its own index ranges for rows and columns.
#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "basic/array.h"
#include "basic/complex.h"

/// Owns its elements, which lie in one block row by row. Copying is deep; it throws the character
/// string "MATRIX : can not copy matrix" if the target cannot be allocated. As with ARRAY, an
/// operation that fails does not change the matrix.
template <class T>
class MATRIX {
 public:
  /// Points to one row: `row[column]` with the matrix's own column indices. In a matrix without
  /// columns all rows share a single null link, because a pool may declare two thousand million
  /// such rows.
  struct POINTER_VECTOR_LINK_T {
    T* row = nullptr;
  };

  MATRIX() = default;
  /// Creates the ranges. Throws the character string "MATRIX : can not copy matrix" if that fails.
  MATRIX(const RANGE<int>& rows, const RANGE<int>& columns);
  MATRIX(const MATRIX& other);
  MATRIX(MATRIX&& other) noexcept;
  MATRIX& operator=(const MATRIX& other);
  MATRIX& operator=(MATRIX&& other) noexcept;

  virtual ~MATRIX();
  /// Releases everything and sets both ranges and the created flag to zero.
  virtual void Reset();

  /// Takes the ranges, makes value-initialised elements for them and releases the previous
  /// elements. Returns an ArrayStatus.
  [[nodiscard]] int Create(const RANGE<int>& rows, const RANGE<int>& columns);
  [[nodiscard]] RANGE<int> Rows() const { return rows_; }
  [[nodiscard]] RANGE<int> Columns() const { return columns_; }

  /// Element at indices of the ranges; unchecked.
  [[nodiscard]] T& operator()(int row, int column) { return Row(row)[column]; }
  [[nodiscard]] const T& operator()(int row, int column) const { return Row(row)[column]; }
  /// A row, shifted so that the matrix's own column indices address its elements. Unchecked; null
  /// in a matrix without columns.
  [[nodiscard]] T* Row(int row) { return (*links_)[row & link_mask_].row; }
  [[nodiscard]] const T* Row(int row) const { return (*links_)[row & link_mask_].row; }
  /// All elements, row by row.
  [[nodiscard]] std::span<T> Elements() { return {elements_.get(), Size()}; }
  [[nodiscard]] std::span<const T> Elements() const { return {elements_.get(), Size()}; }
  [[nodiscard]] bool IsCreated() const { return created_; }

 private:
  [[nodiscard]] std::size_t Size() const {
    return static_cast<std::size_t>(rows_.Length()) * static_cast<std::size_t>(columns_.Length());
  }
  void Swap(MATRIX& other) noexcept;

  RANGE<int> rows_{0, 0};
  RANGE<int> columns_{0, 0};
  std::unique_ptr<ARRAY<POINTER_VECTOR_LINK_T>> links_;
  bool created_ = false;
  int link_mask_ = -1;  // 0 if a single link serves all rows
  std::unique_ptr<T[]> elements_;
};

#include "basic/matrix.tcc"  // IWYU pragma: keep

extern template class MATRIX<char>;
extern template class MATRIX<unsigned char>;
extern template class MATRIX<short>;
extern template class MATRIX<int>;
extern template class MATRIX<float>;
extern template class MATRIX<double>;
extern template class MATRIX<STRING>;
extern template class MATRIX<COMPLEX<float>>;
extern template class MATRIX<COMPLEX<double>>;
