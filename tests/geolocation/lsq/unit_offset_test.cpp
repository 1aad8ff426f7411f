#include "geolocation/lsq/unit_offset.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <functional>
#include <string>

// Even with the address sanitizer, memory that cannot be allocated is a null pointer (after a
// warning, before our lines) and does not end the program.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

namespace {

// Writes every element between the bounds; the sanitizer detects what is outside or not freed.
template <class T>
void Exercise(T* (*allocate)(long, long), void (*release)(T*, long, long)) {
  for (const auto& [low, high] : {std::pair{1L, 5L}, {-3L, 3L}, {1L, 0L}, {100L, 101L}}) {
    T* const v = allocate(low, high);
    for (long i = low; i <= high; ++i) v[i] = static_cast<T>(i);
    for (long i = low; i <= high; ++i) EXPECT_EQ(v[i], static_cast<T>(i));
    release(v, low, high);
  }
  release(allocate(LONG_MIN, LONG_MIN + 1), LONG_MIN, LONG_MIN + 1);
}

template <class T>
void Exercise(T** (*allocate)(long, long, long, long),
              void (*release)(T**, long, long, long, long)) {
  for (const auto& [rows, columns] : {std::pair{3L, 2L}, {1L, 1L}, {0L, 2L}, {2L, 0L}}) {
    T** const m = allocate(1, rows, -2, columns - 3);
    for (long i = 1; i <= rows; ++i) {
      for (long j = -2; j <= columns - 3; ++j) m[i][j] = static_cast<T>(10 * i + j);
    }
    if (rows == 3) {
      EXPECT_EQ(&m[2][-2], &m[1][-1] + 1) << "not one block";
    }
    release(m, 1, rows, -2, columns - 3);
  }
  // Storage with bounds at the limits of the numbers can be freed as well.
  release(allocate(LONG_MIN, LONG_MIN + 1, LONG_MIN, LONG_MIN), LONG_MIN, LONG_MIN + 1, LONG_MIN,
          LONG_MIN);
}

TEST(UnitOffset, EveryElementBetweenTheBoundsIsThere) {
  Exercise(vector, free_vector);
  Exercise(ivector, free_ivector);
  Exercise(cvector, free_cvector);
  Exercise(lvector, free_lvector);
  Exercise(dvector, free_dvector);
  Exercise(matrix, free_matrix);
  Exercise(dmatrix, free_dmatrix);
  Exercise(imatrix, free_imatrix);
}

TEST(UnitOffset, ViewsShareTheirElements) {
  std::array<float, 6> flat = {1, 2, 3, 4, 5, 6};
  float** const rows = convert_matrix(flat.data(), 1, 2, 1, 3);
  EXPECT_EQ(rows[2][1], 4.0F);
  float** const part = submatrix(rows, 1, 2, 2, 3, 0, 7);
  EXPECT_EQ(&part[1][8], &flat[5]);
  EXPECT_EQ(&part[0][7], &flat[1]);
  free_submatrix(part, 0, 1, 7, 8);
  free_submatrix(submatrix(rows, 1, 2, 2, 3, LONG_MIN, LONG_MIN), LONG_MIN, LONG_MIN + 1, 0, 0);
  free_convert_matrix(rows, 1, 2, 1, 3);
}

TEST(UnitOffset, TensorHasThreeIndices) {
  float*** const t = f3tensor(1, 2, -1, 1, 5, 8);
  float next = 0;
  for (long i = 1; i <= 2; ++i) {
    for (long j = -1; j <= 1; ++j) {
      for (long k = 5; k <= 8; ++k) t[i][j][k] = next++;
    }
  }
  EXPECT_EQ((&t[1][-1][5])[23], 23.0F);
  free_f3tensor(t, 1, 2, -1, 1, 5, 8);
  free_f3tensor(f3tensor(1, 0, 1, 0, 1, 0), 1, 0, 1, 0, 1, 0);
}

TEST(UnitOffset, WhatCanNotBeHadEndsTheProcess) {
  constexpr long kHuge = LONG_MAX / 64;
  const std::pair<const char*, std::function<const void*()>> rows[] = {
      {" in vector()", [] { return vector(1, kHuge); }},
      {" in vector()", [] { return vector(1, -1); }},
      {" in ivector()", [] { return ivector(1, kHuge); }},
      {" in cvector()", [] { return cvector(LONG_MIN, LONG_MAX); }},
      {" in lvector()", [] { return lvector(1, kHuge); }},
      {" in dvector()", [] { return dvector(1, LONG_MAX); }},
      {" 1 in matrix()", [] { return matrix(1, kHuge, 1, 1); }},
      {" 2 in matrix()", [] { return dmatrix(1, 2, 1, kHuge); }},
      {" 2 in matrix()", [] { return imatrix(1, 1000, 1, LONG_MAX - 1); }},
      {" in submatrix()", [] { return submatrix(nullptr, 1, kHuge, 1, 1, 1, 1); }},
      {" in convert_matrix()", [] { return convert_matrix(nullptr, 1, kHuge, 1, 1); }},
      {" 1 in f3tensor()", [] { return f3tensor(1, kHuge, 1, 1, 1, 1); }},
      {" 2 in f3tensor()", [] { return f3tensor(1, 1, 1, kHuge, 1, 1); }},
      {" 3 in f3tensor()", [] { return f3tensor(1, 1, 1, 1, 1, kHuge); }}};
  for (const auto& [place, allocate] : rows) {
    EXPECT_EXIT(
        static_cast<void>(allocate()), testing::ExitedWithCode(1),
        testing::EndsWith(std::string("Numerical Recipes run-time error...\n") +
                          "allocation failure" + place + "\n...now exiting to system...\n"));
  }
}

}  // namespace
