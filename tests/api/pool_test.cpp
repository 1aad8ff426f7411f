// Compares the reading of pools in one pass with the core's look-up by key.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "api/call.h"
#include "api/pool_values.h"
#include "pool/parameter_pool.h"
#include "tests/support/files.h"
#include <quellmark/error.h>
#include <quellmark/pool.h>

namespace quellmark {
namespace {

using test::ReadFile;
using test::TempDir;
using test::WriteFile;
using testing::ElementsAre;

TEST(Pool, EntriesShowWhatStandsInTheFile) {
  const Pool pool = Pool::FromText(
      "# first\r\n# second\r\na FLT_15 1.5Hz\r\n\r\n#not b's\n\nb INT_32_V 3 1\n {\n 7\n }\n"
      "#again\na BOL TRUE\n\tc STR \"indented\"\nd\nlast QUARK 1",
      "name");
  EXPECT_EQ(pool.Path(), "name");
  const auto entries = pool.Entries();
  ASSERT_EQ(entries.size(), 5U);
  struct Row {
    const char* key;
    const char* type_name;
    ValueType type;
    std::size_t line;
    bool is_repeated;
    std::vector<std::string> comments;
  };
  const Row rows[] = {{"a", "FLT_15", ValueType::kDouble, 3, false, {" first", " second"}},
                      {"b", "INT_32_V", ValueType::kInt32Vector, 7, false, {}},
                      {"a", "BOL", ValueType::kBool, 12, true, {"again"}},
                      {"d", "", ValueType::kUnknown, 14, false, {}},
                      {"last", "QUARK", ValueType::kUnknown, 15, false, {}}};
  for (std::size_t i = 0; i < entries.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(entries[i].key, rows[i].key);
    EXPECT_EQ(entries[i].type_name, rows[i].type_name);
    EXPECT_EQ(entries[i].type, rows[i].type);
    EXPECT_EQ(entries[i].line, rows[i].line);
    EXPECT_EQ(entries[i].is_repeated, rows[i].is_repeated);
    EXPECT_EQ(pool.CommentsOf(entries[i]), rows[i].comments);
  }
  EXPECT_EQ(entries[1].text, "b INT_32_V 3 1\n {\n 7\n }\n");
  EXPECT_EQ(pool.Find("a"), &entries[0]);
  EXPECT_EQ(pool.Get<double>("a"), 1.5);
  EXPECT_EQ(std::get<bool>(pool.Parse(entries[2])), true);
  EXPECT_EQ(pool.Get<Vector<std::int32_t>>("b"), (Vector<std::int32_t>{3, {7}}));
  EXPECT_FALSE(pool.Has("c"));
}

TEST(Pool, FailuresNameFileKeyAndLine) {
  const Pool pool = Pool::FromText(
      "\nok INT_32 1\nword FLT_15 x\nbig BYT 256\nopen INT_32_V 1 2\n {\n 1\nnone\nodd QUARK 1\n",
      "some.pool");
  struct Row {
    const char* key;
    ValueType type;
    ErrorClass error_class;
    std::size_t line;
  };
  for (const Row& row : {Row{"ok", ValueType::kDouble, ErrorClass::kPoolWrongType, 2},
                         Row{"word", ValueType::kDouble, ErrorClass::kPoolInvalidValue, 3},
                         Row{"big", ValueType::kUint8, ErrorClass::kPoolOutOfBounds, 4},
                         Row{"open", ValueType::kInt32Vector, ErrorClass::kPoolInvalidValue, 5},
                         Row{"none", ValueType::kBool, ErrorClass::kPoolWrongType, 8},
                         Row{"odd", ValueType::kUnknown, ErrorClass::kPoolWrongType, 9},
                         Row{"lost", ValueType::kBool, ErrorClass::kPoolKeyNotFound, 0}}) {
    SCOPED_TRACE(row.key);
    try {
      static_cast<void>(pool.Get(row.key, row.type));
      ADD_FAILURE() << "nothing was thrown";
    } catch (const PoolError& error) {
      EXPECT_EQ(error.Class(), row.error_class) << error.what();
      EXPECT_EQ(error.File(), "some.pool");
      EXPECT_EQ(error.Key(), row.key);
      EXPECT_EQ(error.Line(), row.line);
      EXPECT_THAT(error.what(), testing::StartsWith("some.pool:"));
      EXPECT_THAT(error.what(), testing::HasSubstr(row.key));
    }
  }
}

TEST(Pool, OpensRegularFilesAloneAndMakesNone) {
  const TempDir directory;
  const auto expect_refused = [&](const char* name) {
    const std::string path = directory / name;
    try {
      static_cast<void>(Pool::Open(path));
      ADD_FAILURE() << path;
    } catch (const PoolError& error) {
      EXPECT_EQ(error.Class(), ErrorClass::kPoolCanNotOpen);
      EXPECT_EQ(error.File(), path);
    }
  };
  expect_refused("missing");
  EXPECT_FALSE(std::filesystem::exists(directory / "missing"));
  std::filesystem::create_directory(directory / "directory");
  expect_refused("directory");
  ASSERT_EQ(::mkfifo((directory / "fifo").c_str(), 0600), 0);
  expect_refused("fifo");
  WriteFile(directory / "empty", "");
  EXPECT_TRUE(Pool::Open(directory / "empty").Entries().empty());
  EXPECT_TRUE(Pool().Entries().empty());
}

// Returns what the core reads for a key, or the class of its failure.
template <ValueType kType>
std::variant<Value, ErrorClass> ReadByCore(PARAMETER_POOL& pool, std::string_view key) {
  constexpr auto kCoreType = static_cast<pool::ValueType>(kType);
  try {
    return api::Call({}, [&] {
      return api::FromCore(pool::AnyValue(std::in_place_index<static_cast<std::size_t>(kType)>,
                                          pool.Read<kCoreType>(key)));
    });
  } catch (const Error& error) {
    return error.Class();
  }
}

template <std::size_t... kTypes>
auto CoreReaders(std::index_sequence<kTypes...> /*types*/) {
  return std::array{&ReadByCore<static_cast<ValueType>(kTypes)>...};
}

TEST(Pool, ReadsWhatALookUpByKeyReads) {
  const auto readers = CoreReaders(std::make_index_sequence<std::variant_size_v<Value>>());
  int entries = 0;
  for (const char* folder :
       {"tests/fuzz/corpus/pool_read", "tests/fuzz/corpus/pool_update", "examples/scenes"}) {
    for (const auto& file :
         std::filesystem::directory_iterator(std::filesystem::path(QM_SOURCES) / folder)) {
      const std::string path = file.path();
      SCOPED_TRACE(path);
      const Pool pool = Pool::Open(path);
      PARAMETER_POOL core;
      core.OpenForReading(path);
      for (const Entry& entry : pool.Entries()) {
        if (entry.is_repeated) continue;  // look-ups find the first entry only
        SCOPED_TRACE(entry.key);
        ++entries;
        std::variant<Value, ErrorClass> ours;
        try {
          ours = pool.Get(entry.key);
        } catch (const Error& error) {
          ours = error.Class();
        }
        auto expected = readers[static_cast<std::size_t>(entry.type)](core, entry.key);
        // An entry of unknown type cannot be read as any type.
        if (entry.type == ValueType::kUnknown && !entry.type_name.empty()) {
          expected = ErrorClass::kPoolWrongType;
        }
        EXPECT_TRUE(ours == expected);
      }
    }
  }
  EXPECT_GT(entries, 200);
}

}  // namespace
}  // namespace quellmark
