// What lets one body serve both flavours of the solvers: the plain one on row pointers and the fast
// one on the caller's MATRIX.
#pragma once

#include <type_traits>

#include "basic/matrix.h"
#include "geolocation/lsq/unit_offset.h"

namespace quellmark::lsq {

/// A MATRIX in the notation of row pointers, `rows[i][j]`.
template <class T>
struct MatrixRows {
  MATRIX<T>& matrix;
  T* operator[](int row) const { return matrix.Row(row); }
};

/// A vector with the indices 1..length for the time of one call; T is int, float or double.
template <class T>
class WorkVector {
 public:
  explicit WorkVector(int length) : length_(length) {
    if constexpr (std::is_same_v<T, int>) {
      data_ = ivector(1, length);
    } else if constexpr (std::is_same_v<T, float>) {
      data_ = vector(1, length);
    } else {
      data_ = dvector(1, length);
    }
  }
  WorkVector(const WorkVector&) = delete;
  WorkVector& operator=(const WorkVector&) = delete;
  ~WorkVector() {
    if constexpr (std::is_same_v<T, int>) {
      free_ivector(data_, 1, length_);
    } else if constexpr (std::is_same_v<T, float>) {
      free_vector(data_, 1, length_);
    } else {
      free_dvector(data_, 1, length_);
    }
  }

  [[nodiscard]] T* Data() const { return data_; }

 private:
  int length_;
  T* data_;
};

/// A matrix with the indices 1..rows, 1..columns for the time of one call; T is float or double.
template <class T>
class WorkMatrix {
 public:
  WorkMatrix(int rows, int columns) : rows_(rows), columns_(columns) {
    if constexpr (std::is_same_v<T, float>) {
      data_ = matrix(1, rows, 1, columns);
    } else {
      data_ = dmatrix(1, rows, 1, columns);
    }
  }
  WorkMatrix(const WorkMatrix&) = delete;
  WorkMatrix& operator=(const WorkMatrix&) = delete;
  ~WorkMatrix() {
    if constexpr (std::is_same_v<T, float>) {
      free_matrix(data_, 1, rows_, 1, columns_);
    } else {
      free_dmatrix(data_, 1, rows_, 1, columns_);
    }
  }

  [[nodiscard]] T** Rows() const { return data_; }

 private:
  int rows_;
  int columns_;
  T** data_;
};

}  // namespace quellmark::lsq
