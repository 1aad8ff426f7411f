#include "geolocation/ellipsoid_type.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/expect_fails.h"

namespace {

template <class T>
class EllipsoidTypeTest : public testing::Test {};
using Widths = testing::Types<float, double, long double>;
TYPED_TEST_SUITE(EllipsoidTypeTest, Widths);

// The numbers that other programs know, in each type; the sentinels around them have none.
TYPED_TEST(EllipsoidTypeTest, AxesAndNames) {
  using Type = EllipsoidType<TypeParam>;
  const struct {
    int id;
    const char* name;
    long double a, b;
  } rows[] = {{1, "Airy", 6377340.189L, 6356034.447L},
              {2, "Bessel", 6377397.155L, 6356078.965L},
              {3, "GRS80", 6378137.0L, 6356752.3141L},
              {4, "WGS84", 6378137.0L, 6356752.315L}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const Type type(row.name);
    EXPECT_EQ(type.Id(), row.id);
    EXPECT_EQ(type.Axes().semi_major_m, static_cast<TypeParam>(row.a));
    EXPECT_EQ(type.Axes().semi_minor_m, static_cast<TypeParam>(row.b));
  }
  EXPECT_EQ(Type::Default().Text(), "WGS84");
  EXPECT_FAILS(Type().Axes(), BASIC::TYPES::ERROR_ENUM_BASE_INVALID_ID,
               "EllipsoidType: no ellipsoid is set\n");
  EXPECT_THROW(Type().SetId(5), BASIC::TYPES::ERROR_ENUM_BASE_INVALID_ID);
}

}  // namespace
