#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <memory>
#include <new>
#include <string>

#include "basic/array.h"
#include "basic/errors.h"
#include "basic/matrix.h"
#include "basic/string.h"
#include "basic/sub_array.h"
#include "basic/vector.h"
#include "tests/support/allocation_counter.h"
#include "tests/support/expect_fails.h"

namespace {

// Counts its live objects and fails on demand: after `copies_left` copies the next one throws, and
// while `no_memory` is set, arrays of it get no memory.
struct Tracked {
  int value;

  Tracked(int v = 0) : value(v) { ++live; }
  Tracked(const Tracked& other) : Tracked(other.value) { CountCopy(); }
  Tracked& operator=(const Tracked& other) {
    CountCopy();
    value = other.value;
    return *this;
  }
  ~Tracked() { --live; }

  bool operator==(const Tracked& other) const { return value == other.value; }

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

class Containers : public testing::Test {
 protected:
  ~Containers() override {
    EXPECT_EQ(Tracked::live, 0);
    Tracked::copies_left = INT_MAX;
    Tracked::no_memory = false;
  }
};

using RangeInt = RANGE<int>;

// Whether the ranges and the elements of two arrays are equal.
template <class T>
bool Same(const ARRAY<T>& a, const ARRAY<T>& b) {
  return a.Range() == b.Range() && std::ranges::equal(a.Elements(), b.Elements());
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
  ARRAY<Tracked> empty;
  EXPECT_EQ(empty.Create(RangeInt(4, 0)), 0);
  EXPECT_EQ(empty.Last(), 3);
  EXPECT_EQ(empty.Data(), nullptr);
  EXPECT_EQ(empty.Data(17), nullptr);
  EXPECT_TRUE(empty.IsCreated());
}

TEST_F(Containers, ArrayFailsByStatusAndStaysAsItWas) {
  using Array = ARRAY<Tracked>;
  Array array(2, {7});
  const Tracked* const storage = &array[2];
  Tracked::no_memory = true;
  for (const auto operation : {&Array::Allocate, &Array::Create, &Array::Resize}) {
    EXPECT_EQ((array.*operation)(RangeInt(1, -1)), 3);
    EXPECT_EQ((array.*operation)(RangeInt(1, INT_MIN)), 3);
    EXPECT_EQ((array.*operation)(RangeInt(1, 1)), 2);
    EXPECT_EQ(array.Range(), RangeInt(2, 1));
    EXPECT_EQ(&array[2], storage);
  }
}

TEST_F(Containers, ArrayResizesByPosition) {
  ARRAY<Tracked> array(1, {11, 12, 13, 14, 15});
  const Tracked* const storage = &array[1];
  EXPECT_EQ(array.Resize(RangeInt(1, 5)), 0);
  EXPECT_EQ(&array[1], storage);
  EXPECT_TRUE(array.IsCreated());
  EXPECT_EQ(array.Resize(RangeInt(0, 3)), 0);
  EXPECT_TRUE(Same(array, ARRAY<Tracked>(0, {11, 12, 13})));
  EXPECT_FALSE(array.IsCreated());
  EXPECT_EQ(array.Resize(RangeInt(-1, 4)), 0);
  EXPECT_TRUE(Same(array, ARRAY<Tracked>(-1, {11, 12, 13, 0})));
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
  }
  Tracked::copies_left = INT_MAX;
  Tracked::no_memory = true;
  EXPECT_THROWS_TEXT(target = source, "ARRAY : can not copy array");
  EXPECT_THROWS_TEXT(ARRAY<Tracked>{source}, "ARRAY : can not copy array");
  Tracked::no_memory = false;
  EXPECT_TRUE(Same(target, ARRAY<Tracked>(7, {5, 6})));
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

using Vector = VECTOR<double>;

TEST_F(Containers, VectorArithmeticGoesByPosition) {
  const Vector a(1, {1.0, 2.0, 3.0});
  const Vector b(-5, {10.0, 20.0, 40.0});
  EXPECT_TRUE(Same(a + b, Vector(1, {11.0, 22.0, 43.0})));
  EXPECT_TRUE(Same(b - a, Vector(-5, {9.0, 18.0, 37.0})));
  Vector v = a;
  v += b;
  EXPECT_TRUE(Same(v, a + b));
  v -= b;
  v /= 4.0;
  EXPECT_TRUE(Same(v, Vector(1, {0.25, 0.5, 0.75})));
  // Summed from the first to the last, the small term would be lost.
  EXPECT_EQ(DotProduct(Vector(1, {1.0, 1e16, -1e16}), Vector(0, {1.0, 1.0, 1.0})), 1.0);
  EXPECT_EQ(DotProduct(Vector(), Vector()), 0.0);
}

TEST_F(Containers, VectorCrossProductMayWriteOverItsOperands) {
  const Vector a(4, {1.0, 2.0, 3.0});
  const Vector b(1, {-2.0, 5.0, 7.0});
  const Vector product(4, {-1.0, -13.0, 9.0});
  Vector c;
  c.CrossProduct(a, b);
  EXPECT_TRUE(Same(c, product));
  c = a;
  c.CrossProduct(c, b);
  EXPECT_TRUE(Same(c, product));
  c = b;
  c.CrossProduct(a, c);
  EXPECT_TRUE(Same(c, product));
}

TEST_F(Containers, VectorRefusesInItsOwnWords) {
  Vector three(1, {1.0, 2.0, 3.0});
  const Vector four(1, {1.0, 2.0, 3.0, 4.0});
  EXPECT_THROWS_TEXT(three + four, "VECTOR operator + : vectors have different dimensions");
  EXPECT_THROWS_TEXT(three - four, "VECTOR operator - : vectors have different dimensions");
  EXPECT_THROWS_TEXT(three += four, "VECTOR operator += : vectors have different dimensions");
  EXPECT_THROWS_TEXT(three -= four, "VECTOR operator -= : vectors have different dimensions");
  EXPECT_THROWS_TEXT(three /= -0.0, "VECTOR operator /= : division by 0.0");
  EXPECT_THROWS_TEXT(DotProduct(three, four), "DotProduct: vectors have different dimensions");
  Vector c;
  EXPECT_THROWS_TEXT(c.CrossProduct(four, four), "CrossProduct: vector a has not dimension of 3");
  EXPECT_THROWS_TEXT(c.CrossProduct(three, four), "CrossProduct: vector b has not dimension of 3");
  const auto without_memory = [&] {
    const quellmark::test::AllocationLimit none(0);
    c.CrossProduct(three, three);
  };
  EXPECT_THROWS_TEXT(without_memory(), "CrossProduct: can not allocate vector memory");
  EXPECT_EQ(c.Length(), 0);
  EXPECT_EQ(three[3], 3.0);
}

TEST_F(Containers, MatrixHasIndicesOfItsOwn) {
  MATRIX<int> matrix(RangeInt(-1, 2), RangeInt(5, 3));
  matrix(-1, 5) = 1;
  MATRIX<int> copy = matrix;
  copy(0, 7) = 2;
  EXPECT_EQ(matrix(0, 7), 0);
  EXPECT_TRUE(std::ranges::equal(copy.Elements(), std::array{1, 0, 0, 0, 0, 2}));
  matrix = copy;
  const MATRIX<int> moved = std::move(matrix);
  EXPECT_EQ(moved(0, 7), 2);
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
  Tracked::no_memory = true;
  EXPECT_THROWS_TEXT(matrix = larger, "MATRIX : can not copy matrix");
  EXPECT_EQ(matrix.Rows(), RangeInt(1, 2));
  EXPECT_EQ(matrix(2, 2).value, 5);
  // Without columns every row is null, and any number of rows takes no memory.
  EXPECT_EQ(matrix.Create(RangeInt(1, INT_MAX), RangeInt(5, 0)), 0);
  EXPECT_EQ(matrix.Row(INT_MAX), nullptr);
}

using Points = ARRAY<POINT<double>>;
using View = SUB_ARRAY<POINT<double>>;

TEST_F(Containers, SubArrayShowsElementsUnderTheirOwnIndices) {
  Points points(-3, {{0.0, 0.0}, {1.0, 10.0}, {2.0, 20.0}, {3.0, 30.0}});
  View view(points, -2, -1);
  const View same = view;
  EXPECT_EQ(same.Length(), 2);
  EXPECT_EQ(&same[-2], &points[-2]);
  EXPECT_EQ(&same[view.Last()], &points[-1]);
  view.Show(points, 1, 0);
  EXPECT_EQ(view.Length(), 0);
  for (const auto& part : {std::array{-4, 0}, {0, 1}, {0, -2}, {INT_MIN, INT_MAX}}) {
    EXPECT_FAILS(view.Show(points, part[0], part[1]), ERROR_ARGUMENT,
                 "SUB_ARRAY: " + std::to_string(part[0]) + ".." + std::to_string(part[1]) +
                     " is not within -3..0\n");
  }
}

TEST_F(Containers, SubArrayRefusesAssignment) {
  Points points(0, {{0.0, 0.0}, {1.0, 10.0}, {2.0, 20.0}, {3.0, 30.0}});
  const View left(points, 0, 2);
  View right(points, 1, 3);
  EXPECT_FAILS(right = left, ERROR_NOT_IMPLEMENTED,
               "never call: SUB_ARRAY<T>::operator=( const SUB_ARRAY< T >& )\n");
  EXPECT_EQ(right[1].Y(), 0.0);  // copied before the throw, though the views overlap
  EXPECT_EQ(right[3].Y(), 20.0);
  // If the lengths differ, the shorter one counts.
  View shorter(points, 2, 2);
  EXPECT_THROW(shorter = left, ERROR_NOT_IMPLEMENTED);
  EXPECT_EQ(shorter[2].Y(), 0.0);
  EXPECT_EQ(points[3].Y(), 20.0);
  EXPECT_THROW(right = View(points, 3, 3), ERROR_NOT_IMPLEMENTED);
  EXPECT_EQ(points[1].Y(), 20.0);
  EXPECT_EQ(points[2].Y(), 0.0);
}

}  // namespace
