#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <memory>
#include <new>
#include <vector>

#include "basic/array.h"
#include "basic/errors.h"
#include "basic/matrix.h"
#include "basic/string.h"
#include "basic/sub_array.h"
#include "basic/vector.h"
#include "basic/vector_3d.h"
#include "tests/support/expect_fails.h"

// With the address sanitizer too, what can not be allocated is null and not the end of the program.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

namespace {

// Counts its live objects and fails on demand: the copy after `copies_left` throws, and while
// `no_memory` there is no storage for arrays of it.
struct Tracked {
  int value = 0;

  Tracked() { ++live; }
  Tracked(int v) : value(v) { ++live; }
  Tracked(const Tracked& other) : value(other.value) {
    CountCopy();
    ++live;
  }
  Tracked& operator=(const Tracked& other) {
    CountCopy();
    value = other.value;
    return *this;
  }
  ~Tracked() { --live; }

  static void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    return no_memory ? nullptr : ::operator new[](size, tag);
  }
  static void operator delete[](void* storage) { ::operator delete[](storage); }

  static void CountCopy() {
    if (copies_left-- == 0) throw 42;
  }
  inline static int live = 0;
  inline static int copies_left = INT_MAX;
  inline static bool no_memory = false;
};

// Two to the 31st of these do not fit into any address space.
struct Huge {
  std::array<char, 1 << 20> bytes;
};

class Containers : public testing::Test {
 protected:
  ~Containers() override {
    EXPECT_EQ(Tracked::live, 0);
    Tracked::copies_left = INT_MAX;
    Tracked::no_memory = false;
  }
};

using RangeInt = RANGE<int>;

std::vector<int> Values(const ARRAY<Tracked>& array) {
  std::vector<int> values;
  for (const Tracked& element : array.Elements()) values.push_back(element.value);
  return values;
}

TEST_F(Containers, ArrayIndicesMayStartAnywhere) {
  for (const int start : {INT_MIN, -3, 0, 1, INT_MAX - 4}) {
    SCOPED_TRACE(start);
    ARRAY<double> array(RangeInt(start, 5));
    EXPECT_EQ(array.First(), start);
    EXPECT_EQ(array.Last(), start + 4);
    EXPECT_EQ(array[start + 2], 0.0);
    array[start + 4] = 7.0;
    EXPECT_EQ(array.Elements()[4], 7.0);
    EXPECT_EQ(array.Data(start)[start + 4], 7.0);
    EXPECT_EQ(array.Data(1)[5], 7.0);
  }
  // Indices on both sides of what an int can tell apart.
  ARRAY<char> wide(RangeInt(-1'500'000'000, 0));
  EXPECT_EQ(wide.Last(), -1'500'000'001);
  ARRAY<Tracked> empty;
  EXPECT_EQ(empty.Create(RangeInt(4, 0)), 0);
  EXPECT_EQ(empty.First(), 4);
  EXPECT_EQ(empty.Last(), 3);
  EXPECT_EQ(empty.Data(), nullptr);
  EXPECT_EQ(empty.Data(17), nullptr);
  EXPECT_TRUE(empty.IsCreated());
}

TEST_F(Containers, ArrayFailsByStatusAndStaysAsItWas) {
  ARRAY<Huge> array(RangeInt(2, 1));
  const Huge* const storage = &array[2];
  const auto allocate = [&](const RangeInt& range) { return array.Allocate(range); };
  const auto create = [&](const RangeInt& range) { return array.Create(range); };
  const auto resize = [&](const RangeInt& range) { return array.Resize(range); };
  const auto check = [&](auto operation) {
    EXPECT_EQ(operation(RangeInt(1, -1)), 3);
    EXPECT_EQ(operation(RangeInt(1, INT_MIN)), 3);
    EXPECT_EQ(operation(RangeInt(1, INT_MAX)), 2);
    EXPECT_EQ(array.Range(), RangeInt(2, 1));
    EXPECT_EQ(&array[2], storage);
  };
  check(allocate);
  check(create);
  check(resize);
}

TEST_F(Containers, ArrayResizesByPosition) {
  ARRAY<Tracked> array(1, {11, 12, 13, 14, 15});
  const Tracked* const storage = &array[1];
  EXPECT_EQ(array.Resize(RangeInt(1, 5)), 0);
  EXPECT_EQ(&array[1], storage);
  EXPECT_TRUE(array.IsCreated());
  EXPECT_EQ(array.Resize(RangeInt(0, 3)), 0);
  EXPECT_EQ(Values(array), (std::vector{11, 12, 13}));
  EXPECT_EQ(array[2].value, 13);
  EXPECT_FALSE(array.IsCreated());
  EXPECT_EQ(array.Resize(RangeInt(-1, 4)), 0);
  EXPECT_EQ(Values(array), (std::vector{11, 12, 13, 0}));
  EXPECT_EQ(array.Resize(RangeInt(9, 0)), 0);
  EXPECT_EQ(array.Data(), nullptr);
}

TEST_F(Containers, ArrayCopiesDeeplyAndMovesItsStorage) {
  ARRAY<ARRAY<double>> nested(RangeInt(-1, 2));
  nested[0] = ARRAY<double>(3, {1.0, 2.0});
  ARRAY<ARRAY<double>> copy = nested;
  copy[0][4] = 9.0;
  EXPECT_EQ(nested[0][4], 2.0);
  const double* const inner = &nested[0][3];
  nested = *&nested;
  nested = std::move(*&nested);
  EXPECT_EQ(&nested[0][3], inner);
  const ARRAY<ARRAY<double>> moved = std::move(nested);
  EXPECT_EQ(&moved[0][3], inner);
  EXPECT_EQ(nested.Length(), 0);  // NOLINT(bugprone-use-after-move): left empty, by contract
}

TEST_F(Containers, ArraySurvivesElementsThatThrow) {
  const ARRAY<Tracked> source(1, {1, 2, 3, 4});
  ARRAY<Tracked> target(7, {5, 6});
  for (int good = 0; good < 2; ++good) {
    SCOPED_TRACE(good);
    Tracked::copies_left = good;
    EXPECT_THROW(target = source, int);
    Tracked::copies_left = good;
    EXPECT_THROW(static_cast<void>(target.Resize(RangeInt(0, 3))), int);
    Tracked::copies_left = good;
    EXPECT_THROW(ARRAY<Tracked>{source}, int);
    EXPECT_EQ(target.Range(), RangeInt(7, 2));
    EXPECT_EQ(Values(target), (std::vector{5, 6}));
  }
  Tracked::copies_left = INT_MAX;
  Tracked::no_memory = true;
  EXPECT_THROWS_TEXT(target = source, "ARRAY : can not copy array");
  EXPECT_THROWS_TEXT(ARRAY<Tracked>{source}, "ARRAY : can not copy array");
  EXPECT_EQ(Values(target), (std::vector{5, 6}));
}

TEST_F(Containers, ArrayResetForgetsAndFreeReleases) {
  ARRAY<Tracked> array(1, {1, 2});
  const std::unique_ptr<Tracked[]> storage(array.Data(0));
  array.Reset();
  EXPECT_EQ(Tracked::live, 2);
  EXPECT_EQ(array.Range(), RangeInt(0, 0));
  EXPECT_FALSE(array.IsCreated());
  EXPECT_EQ(array.Create(RangeInt(1, 3)), 0);
  EXPECT_EQ(array.Allocate(RangeInt(1, 4)), 0);
  EXPECT_EQ(Tracked::live, 2 + 4);
  array.Free();
  EXPECT_EQ(Tracked::live, 2);
  EXPECT_FALSE(array.IsCreated());
}

TEST_F(Containers, VectorArithmeticGoesByPosition) {
  const VECTOR<double> a(1, {1.0, 2.0, 3.0});
  const VECTOR<double> b(-5, {10.0, 20.0, 40.0});
  const VECTOR<double> sum = a + b;
  EXPECT_EQ(sum.First(), 1);
  EXPECT_EQ(sum[3], 43.0);
  VECTOR<double> v = b - a;
  EXPECT_EQ(v[-5], 9.0);
  v += a;
  v -= b;
  EXPECT_EQ(v[-3], 0.0);
  v = b;
  v /= 4.0;
  EXPECT_EQ(v[-4], 5.0);
  // From the first to the last the small term would be lost.
  EXPECT_EQ(DotProduct(VECTOR<double>(1, {1.0, 1e16, -1e16}), VECTOR<double>(0, {1.0, 1.0, 1.0})),
            1.0);
  EXPECT_EQ(DotProduct(VECTOR<double>(), VECTOR<double>()), 0.0);
}

TEST_F(Containers, VectorCrossProductMayWriteOverItsOperands) {
  const VECTOR<double> a(4, {1.0, 2.0, 3.0});
  const VECTOR<double> b(1, {-2.0, 5.0, 7.0});
  const auto expect_product = [](const VECTOR<double>& c) {
    EXPECT_EQ(c.Range(), RangeInt(4, 3));
    EXPECT_EQ(c[4], -1.0);
    EXPECT_EQ(c[5], -13.0);
    EXPECT_EQ(c[6], 9.0);
  };
  VECTOR<double> c;
  c.CrossProduct(a, b);
  expect_product(c);
  c = a;
  c.CrossProduct(c, b);
  expect_product(c);
  c = b;
  c.CrossProduct(a, c);
  expect_product(c);
  const auto free_function =
      Cross(VECTOR_3D<double>{1.0, 2.0, 3.0}, VECTOR_3D<double>{-2.0, 5.0, 7.0});
  EXPECT_EQ(free_function, (VECTOR_3D<double>{-1.0, -13.0, 9.0}));
}

TEST_F(Containers, VectorRefusesInItsOwnWords) {
  VECTOR<double> three(1, {1.0, 2.0, 3.0});
  VECTOR<double> four(1, {1.0, 2.0, 3.0, 4.0});
  EXPECT_THROWS_TEXT(three + four, "VECTOR operator + : vectors have different dimensions");
  EXPECT_THROWS_TEXT(three - four, "VECTOR operator - : vectors have different dimensions");
  EXPECT_THROWS_TEXT(three += four, "VECTOR operator += : vectors have different dimensions");
  EXPECT_THROWS_TEXT(three -= four, "VECTOR operator -= : vectors have different dimensions");
  EXPECT_THROWS_TEXT(three /= -0.0, "VECTOR operator /= : division by 0.0");
  EXPECT_THROWS_TEXT(DotProduct(three, four), "DotProduct: vectors have different dimensions");
  VECTOR<double> c;
  EXPECT_THROWS_TEXT(c.CrossProduct(four, four), "CrossProduct: vector a has not dimension of 3");
  EXPECT_THROWS_TEXT(c.CrossProduct(three, four), "CrossProduct: vector b has not dimension of 3");
  EXPECT_EQ(c.Length(), 0);
  EXPECT_EQ(three[3], 3.0);
}

TEST_F(Containers, MatrixHasIndicesOfItsOwn) {
  MATRIX<int> matrix(RangeInt(-1, 2), RangeInt(5, 3));
  matrix(-1, 5) = 1;
  matrix(0, 7) = 2;
  EXPECT_EQ(matrix.Elements()[0], 1);
  EXPECT_EQ(matrix.Elements()[5], 2);
  MATRIX<int> copy = matrix;
  copy(0, 7) = 3;
  EXPECT_EQ(matrix(0, 7), 2);
  matrix = copy;
  EXPECT_EQ(matrix(0, 7), 3);
  const MATRIX<int> moved = std::move(matrix);
  EXPECT_EQ(moved(0, 7), 3);
  EXPECT_EQ(matrix.Rows(), RangeInt(0, 0));  // NOLINT(bugprone-use-after-move): left empty
  copy.Reset();
  EXPECT_EQ(copy.Columns(), RangeInt(0, 0));
  EXPECT_FALSE(copy.IsCreated());
  EXPECT_TRUE(copy.Elements().empty());
}

TEST_F(Containers, MatrixFailsAndStaysAsItWas) {
  MATRIX<Tracked> matrix(RangeInt(1, 2), RangeInt(1, 2));
  matrix(2, 2) = Tracked(5);
  EXPECT_EQ(matrix.Create(RangeInt(1, -1), RangeInt(1, 1)), 3);
  EXPECT_EQ(matrix.Create(RangeInt(1, 1), RangeInt(1, -1)), 3);
  EXPECT_EQ(matrix.Create(RangeInt(1, INT_MAX), RangeInt(1, INT_MAX)), 2);
  const MATRIX<Tracked> larger(RangeInt(1, 2), RangeInt(1, 3));
  Tracked::copies_left = 4;
  EXPECT_THROW(matrix = larger, int);
  Tracked::copies_left = INT_MAX;
  Tracked::no_memory = true;
  EXPECT_THROWS_TEXT(matrix = larger, "MATRIX : can not copy matrix");
  EXPECT_EQ(matrix.Rows(), RangeInt(1, 2));
  EXPECT_EQ(matrix(2, 2).value, 5);
  // Without elements nothing is allocated, however many the rows.
  EXPECT_EQ(matrix.Create(RangeInt(1, INT_MAX), RangeInt(1, 0)), 0);
  EXPECT_EQ(matrix.Rows().Length(), INT_MAX);
}

TEST_F(Containers, SubArrayShowsElementsUnderTheirOwnIndices) {
  ARRAY<POINT<double>> points(-3, {{0.0, 0.0}, {1.0, 10.0}, {2.0, 20.0}, {3.0, 30.0}});
  SUB_ARRAY<POINT<double>> view(points, -2, -1);
  EXPECT_EQ(view.Length(), 2);
  EXPECT_EQ(&view[-2], &points[-2]);
  const SUB_ARRAY<POINT<double>> same = view;
  EXPECT_EQ(&same[view.Last()], &points[-1]);
  view.Show(points, 0, 0);
  EXPECT_EQ(view[0].Y(), 30.0);
  view.Show(points, 1, 0);
  EXPECT_EQ(view.Length(), 0);
  constexpr std::array<std::array<int, 2>, 4> kOutside = {
      {{-4, 0}, {0, 1}, {0, -2}, {INT_MIN, INT_MAX}}};
  for (const auto& [first, last] : kOutside) {
    EXPECT_THROW(view.Show(points, first, last), ERROR_ARGUMENT) << first << ".." << last;
  }
}

TEST_F(Containers, SubArrayRefusesAssignment) {
  ARRAY<POINT<double>> points(0, {{0.0, 0.0}, {1.0, 10.0}, {2.0, 20.0}, {3.0, 30.0}});
  SUB_ARRAY<POINT<double>> left(points, 0, 2);
  SUB_ARRAY<POINT<double>> right(points, 1, 3);
  EXPECT_FAILS(right = left, ERROR_NOT_IMPLEMENTED,
               "never call: SUB_ARRAY<T>::operator=( const SUB_ARRAY< T >& )\n");
  EXPECT_EQ(right[1].Y(), 0.0);  // the elements have been copied by then, also where views overlap
  EXPECT_EQ(right[3].Y(), 20.0);
  EXPECT_EQ(right.First(), 1);
}

}  // namespace
