// Compares the failures of the library with the core's table of failures and with its own headers.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "api/call.h"
#include "basic/errors.h"
#include "tests/support/files.h"
#include <quellmark/error.h>
#include <quellmark/log.h>
#include <quellmark/pool.h>

namespace quellmark {
namespace {

using test::ReadFile;

// The texts in the comments of a header's enumerators, in their order.
std::vector<std::string> TextsIn(const std::string& header) {
  const std::string wrapped = ReadFile(std::string(QM_SOURCES "/api/quellmark/") + header);
  const std::string text = std::regex_replace(wrapped, std::regex("\n +///< (?!\")"), " ");
  const std::regex line("\n  k[A-Za-z0-9]+,\\s*///< \"([^\"]*)\"");
  std::vector<std::string> texts;
  for (std::sregex_iterator i(text.begin(), text.end(), line), end; i != end; ++i) {
    texts.push_back((*i)[1]);
  }
  return texts;
}

TEST(ErrorClass, HeaderShowsTheTextsOfTheCore) {
  const std::vector<std::string> texts = TextsIn("error.h");
  ASSERT_EQ(texts.size(), static_cast<std::size_t>(ErrorClass::kCancelled) + 1);
  for (std::size_t i = 0; i < texts.size(); ++i) {
    EXPECT_EQ(MessageOf(static_cast<ErrorClass>(i)), texts[i]);
  }
}

TEST(ValueType, HeaderShowsTheNamesOfTheFormat) {
  const std::vector<std::string> names = TextsIn("pool.h");
  ASSERT_EQ(names.size(), std::variant_size_v<Value>);
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(NameOf(static_cast<ValueType>(i)), names[i]);
    EXPECT_EQ(TypeFromName(names[i]), static_cast<ValueType>(i));
  }
}

// Checks the exception that a call throws for a failure of the core.
template <class Thrown, class Expected>
ErrorDetails Translated(const Thrown& thrown, api::Concern concern) {
  try {
    api::Call({.concern = concern, .file = "file", .key = "key", .line = 3}, [&] {
      runtime::LogLine(LOG::Level::kAlarm, "the reason\n");
      throw thrown;
    });
  } catch (const Error& error) {
    EXPECT_NE(dynamic_cast<const Expected*>(&error), nullptr) << error.what();
    EXPECT_EQ(std::string(error.what()).substr(0, 18), "file:3: the reason");
    return {error.Class(), error.File(), error.Key(), error.Line(), error.LogLines()};
  }
  return {};
}

TEST(Error, EveryClassOfTheCoreIsToldApart) {
  using namespace BASIC::TYPES;
#define QM_ERROR(name, base, text)                                                             \
  {                                                                                            \
    const ErrorDetails details = Translated<name, Error>(name(), api::Concern::kScene);        \
    EXPECT_EQ(MessageOf(details.error_class), text) << #name;                                  \
    EXPECT_EQ(MessageOf(BaseOf(details.error_class)), std::string(base().Message())) << #name; \
    EXPECT_TRUE(IsA(details.error_class, ErrorClass::kError)) << #name;                        \
  }
#include "basic/enum_error_table.inc"
#include "basic/error_table.inc"
#undef QM_ERROR
  EXPECT_FALSE(IsA(ErrorClass::kPoolKeyNotFound, ErrorClass::kIo));
  EXPECT_FALSE(IsA(ErrorClass::kCancelled, ErrorClass::kError));
}

TEST(Error, ItsTypeSaysWhatItIsAbout) {
  using api::Concern;
  Translated<ERROR_DATA, OrbitError>(ERROR_DATA(), Concern::kOrbit);
  Translated<ERROR_DATA, SceneError>(ERROR_DATA(), Concern::kScene);
  Translated<PARAMETER_KEY_NOT_FOUND, PoolError>(PARAMETER_KEY_NOT_FOUND(), Concern::kScene);
  Translated<ERROR_NO_SUBDOC, DemError>(ERROR_NO_SUBDOC(), Concern::kScene);
  const ErrorDetails text = Translated<const char*, ArgumentError>("text", Concern::kArgument);
  EXPECT_EQ(text.error_class, ErrorClass::kText);
  EXPECT_EQ(text.log_lines, std::vector<std::string>{"the reason"});
  EXPECT_EQ((Translated<std::bad_alloc, Error>(std::bad_alloc(), Concern::kPool)).error_class,
            ErrorClass::kNoMemory);
  EXPECT_EQ(
      (Translated<std::out_of_range, Error>(std::out_of_range("x"), Concern::kPool)).error_class,
      ErrorClass::kStandard);
  const BASIC::TYPES::ERROR_ENUM_BASE_INVALID_VALUE refused("Colour", "blue");
  EXPECT_EQ(
      (Translated<BASIC::TYPES::ERROR_ENUM_BASE_INVALID_VALUE, Error>(refused, Concern::kPool))
          .error_class,
      ErrorClass::kEnumInvalidValue);
}

TEST(Log, NothingIsPrintedAndASinkGetsTheLines) {
  const auto fail = [] { static_cast<void>(Pool::FromText("a FLT_15\n").Get<double>("a")); };
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  std::vector<std::string> lines;
  EXPECT_THROW(fail(), PoolError);
  SetLogSink([&lines](LogLevel level, std::string_view line) {
    lines.push_back(std::to_string(static_cast<int>(level)) + std::string(line));
  });
  EXPECT_THROW(fail(), PoolError);
  SetLogSink({});
  EXPECT_THROW(fail(), PoolError);
  EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(lines, std::vector<std::string>{
                       "8parameter pool: parameter key >> a << no parameter value in file"});
}

}  // namespace
}  // namespace quellmark
