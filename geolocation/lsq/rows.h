// Lets one body serve both flavours of the solvers: the plain one on row pointers and the fast one
// on the caller's MATRIX.
#pragma once

#include "basic/matrix.h"
#include "geolocation/lsq/unit_offset.h"

namespace quellmark::lsq {

/// A MATRIX in the notation of row pointers, `rows[i][j]`.
template <class T>
struct MatrixRows {
  MATRIX<T>& matrix;
  T* operator[](int row) const { return matrix.Row(row); }
};

/// The allocation routines of an element type.
template <class T>
struct Routines;
template <>
struct Routines<int> {
  static constexpr auto kVector = ivector;
  static constexpr auto kFreeVector = free_ivector;
};
template <>
struct Routines<float> {
  static constexpr auto kVector = vector;
  static constexpr auto kFreeVector = free_vector;
  static constexpr auto kMatrix = matrix;
  static constexpr auto kFreeMatrix = free_matrix;
};
template <>
struct Routines<double> {
  static constexpr auto kVector = dvector;
  static constexpr auto kFreeVector = free_dvector;
  static constexpr auto kMatrix = dmatrix;
  static constexpr auto kFreeMatrix = free_dmatrix;
};

/// A vector with the indices 1..length that lives for one call; T is int, float or double.
template <class T>
class WorkVector {
 public:
  explicit WorkVector(int length) : length_(length), data_(Routines<T>::kVector(1, length)) {}
  WorkVector(const WorkVector&) = delete;
  WorkVector& operator=(const WorkVector&) = delete;
  ~WorkVector() { Routines<T>::kFreeVector(data_, 1, length_); }

  [[nodiscard]] T* Data() const { return data_; }

 private:
  int length_;
  T* data_;
};

/// A matrix with the indices 1..rows, 1..1 that lives for one call; T is float or double.
template <class T>
class WorkColumn {
 public:
  explicit WorkColumn(int rows) : rows_(rows), data_(Routines<T>::kMatrix(1, rows, 1, 1)) {}
  WorkColumn(const WorkColumn&) = delete;
  WorkColumn& operator=(const WorkColumn&) = delete;
  ~WorkColumn() { Routines<T>::kFreeMatrix(data_, 1, rows_, 1, 1); }

  [[nodiscard]] T** Rows() const { return data_; }

 private:
  int rows_;
  T** data_;
};

}  // namespace quellmark::lsq
