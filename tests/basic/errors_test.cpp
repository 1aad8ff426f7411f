#include "basic/errors.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>

#include "runtime/log.h"
#include "tests/support/expect_fails.h"

namespace {

using quellmark::runtime::Fail;

// Every class of the tree with its base and its text, typed here a second time on purpose: the
// texts are what other programs match.
template <class Error, class Base>
void ExpectErrorClass(const std::string& text) {
  SCOPED_TRACE(text);
  try {
    throw Error();
  } catch (const Base& caught) {
    EXPECT_EQ(caught.Message(), text);
    EXPECT_NE(caught.Message(), Base().Message());
  }
}

TEST(Errors, TextsAndBases) {
  EXPECT_STREQ(ERROR_EXCEPTION().Message(), "error occurred");
  ExpectErrorClass<ERROR_NO_MEMORY, ERROR_MEMORY>("not enough memory");
  ExpectErrorClass<ERROR_UNHANDLED_CASE, ERROR_ALGORITHM>("case not handled in if or switch block");
  ExpectErrorClass<ERROR_PARAMETER, ERROR_DATA>("parameter error");
  ExpectErrorClass<ERROR_NO_SUBDOC, ERROR_DATA>(
      "no given subtile document (e.g SRF) for given DEM location. Possibly DEM tile too small");
  ExpectErrorClass<ERROR_CANNOT_OPEN_SUBDOC, ERROR_I_O>("cannot open DEM subdocument");
  ExpectErrorClass<INVALID_PARAMETER_VALUE, ERROR_PARAMETER_POOL>(
      "pool error - no or invalid parameter value in file");
  ExpectErrorClass<PARAMETER_KEY_NOT_FOUND, ERROR_PARAMETER_POOL>("pool error - key not found");
  ExpectErrorClass<BASIC::TYPES::ERROR_ENUM_BASE_LIMIT_OF_ENUMERATION_EXPIRED,
                   BASIC::TYPES::ERROR_ENUM_BASE>(
      "enumeration data type - limit of enumeration expired");
  static_assert(!std::is_base_of_v<ERROR_PARAMETER_POOL, ERROR_PARAMETER>);
  static_assert(sizeof(ERROR_NO_SUBDOC) == sizeof(void*), "errors carry their class alone");
}

TEST(Errors, InvalidValueHandsItsTextOver) {
  const BASIC::TYPES::ERROR_ENUM_BASE_INVALID_VALUE error("OrbitDirection", "sideways");
  const std::unique_ptr<const char[]> text(error.Message());
  EXPECT_STREQ(text.get(),
               "enumeration data type - invalid value of class OrbitDirection: sideways");
}

TEST(Errors, FailLogsBeforeItThrows) {
  EXPECT_FAILS((Fail<ERROR_DATA>("no line end: ", 7)), ERROR_DATA, "no line end: 7\n");
}

}  // namespace
