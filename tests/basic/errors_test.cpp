#include "basic/errors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

#include "tests/support/rows.h"

namespace {

using quellmark::test::ReadRows;
using quellmark::test::Row;

template <class Error, class Base>
Row Described(const char* name, const char* base) {
  static_assert(sizeof(Error) == sizeof(void*), "errors carry their class alone");
  try {
    throw Error();
  } catch (const Base& caught) {
    return {name, base, caught.Message()};
  }
}

TEST(Errors, NamesBasesAndTexts) {
  using namespace BASIC::TYPES;
#define QM_ERROR(name, base, text) Described<name, base>(#name, #base),
  const std::vector<Row> tree = {
#include "basic/enum_error_table.inc"
#include "basic/error_table.inc"
  };
#undef QM_ERROR
  EXPECT_THAT(tree, testing::UnorderedElementsAreArray(ReadRows(QM_BASIC_TEST_DATA "/errors.txt")));
  EXPECT_STREQ(ERROR_EXCEPTION().Message(), "error occurred");
}

}  // namespace
