#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "basic/errors.h"
#include "pool/parameter_pool_read_write_change.h"
#include "tests/support/allocation_counter.h"
#include "tests/support/expect_fails.h"
#include "tests/support/files.h"

namespace {

using quellmark::pool::ValueType;
using quellmark::test::ReadFile;
using quellmark::test::ScopedLog;
using quellmark::test::TempDir;
using quellmark::test::WriteFile;

// The text of an INT_32 entry.
std::string Entry(const std::string& key, int value) {
  return key + std::string(33 - key.size(), ' ') + "INT_32          " + std::to_string(value) +
         "\n\n";
}

TEST(PoolUpdate, MergesInPlace) {
  const std::string a = Entry("a", 1);
  const std::string b = Entry("b", 2);
  const std::string nul_and_long = std::string("x\0y\n", 4) + "#" + std::string(5000, '-') + "\r\n";
  const struct {
    const char* what;
    std::string before;
    std::string after;
  } rows[] = {
      {"an empty pool", "", a + b},
      {"keys at their places", "# top\n\nb INT_8 7\n\n# x\n c\na STR \"q\"\n",
       "# top\n\n" + b + "# x\n c\n" + a},
      {"no line end at the end", "# c", "# c\n" + a + b},
      {"a replaced entry without line end", "c BOL TRUE\na INT_32 7", "c BOL TRUE\n" + a + b},
      {"a CR at the end", "# c\r", "# c\r" + a + b},
      {"the body goes, the comment of the next entry stays",
       "a FLT_15_V 0 1\n {\n 1\n }\n\n# of c\nc BOL TRUE\n", a + "# of c\nc BOL TRUE\n" + b},
      {"the body ends with the next key line", "a STR_V 0 0\n {\n }\n\r\nc BOL TRUE\n",
       a + "c BOL TRUE\n" + b},
      {"of two entries the first", "a INT_8 3\na INT_8 4\n", a + "a INT_8 4\n" + b},
      {"an indented key is none", " a INT_8 3\n", " a INT_8 3\n" + a + b},
      {"bytes of all kinds", nul_and_long, nul_and_long + a + b},
      {"a key line behind a line that breaks", "#" + std::string(1023, '-') + "a INT_8 3\n",
       "#" + std::string(1023, '-') + "\n" + a + b},
  };
  const ScopedLog log;
  const TempDir dir;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    WriteFile(dir / "p", row.before);
    // The second run replaces its own entries and changes nothing.
    for (int run = 1; run <= 2; ++run) {
      PARAMETER_POOL_READ_WRITE_CHANGE pool(dir / "p");
      pool.Set<ValueType::kInt32>("a", 1);
      pool.Set<ValueType::kInt32>("b", 2);
      pool.Close();
      EXPECT_EQ(ReadFile(dir / "p"), row.after) << "run " << run;
    }
    PARAMETER_POOL_READ_WRITE_CHANGE(dir / "p").Update();
    EXPECT_EQ(ReadFile(dir / "p"), row.after) << "nothing was pending";
  }
}

TEST(PoolUpdate, PendingList) {
  const ScopedLog log;
  const TempDir dir;
  PARAMETER_POOL_READ_WRITE_CHANGE pool(dir / "p");
  pool.Add<ValueType::kInt32>("a", 1);
  EXPECT_FAILS(pool.Add<ValueType::kBol>("a", true), PARAMETER_KEY_EXISTS,
               "parameter pool: parameter key >> a << already exists\n");
  pool.Add<ValueType::kInt32>("b", 2);
  pool.Add<ValueType::kInt32>("c", 3);
  pool.Set<ValueType::kInt32>("a", 4);
  EXPECT_TRUE(pool.Remove("b"));
  EXPECT_FALSE(pool.Has("a")) << "pending entries are not in the file yet";
  pool.Update();
  EXPECT_EQ(ReadFile(dir / "p"), Entry("a", 4) + Entry("c", 3));
  pool.Add<ValueType::kInt32>("a", 5);  // no longer pending
  pool.Close();
  pool.Update();  // no open file, nothing to do
  EXPECT_FAILS(pool.Set<ValueType::kBol>("a", true), ERROR_ALGORITHM,
               "No file pointer given for parameter pool\n");
  EXPECT_EQ(ReadFile(dir / "p"), Entry("a", 5) + Entry("c", 3));
}

TEST(PoolUpdate, KeepsTheFileAndLeavesNoCopy) {
  ScopedLog log;
  const TempDir dir;
  WriteFile(dir / "p", "# c\n");
  std::filesystem::create_hard_link(dir / "p", dir / "link");
  try {
    PARAMETER_POOL_READ_WRITE_CHANGE pool(dir / "p");
    pool.Set<ValueType::kInt32>("a", 1);
    throw std::runtime_error("past the pool");
  } catch (const std::runtime_error&) {
  }
  EXPECT_EQ(ReadFile(dir / "link"), "# c\n" + Entry("a", 1)) << "written back by the destructor";
  const auto files = std::filesystem::directory_iterator(dir.Path());
  EXPECT_EQ(std::distance(begin(files), end(files)), 2);
  EXPECT_THAT(log.Text(), ::testing::StartsWith("TRACE : init pool\nDEBUG : construct pool_rwc: " +
                                                (dir / "p") + "\nDEBUG : copy " + (dir / "pool_")));
}

TEST(PoolUpdate, WithoutAPlaceForTheCopy) {
  const ScopedLog log;
  const TempDir dir;
  std::filesystem::create_directory(dir / "d");
  WriteFile(dir / "d/p", "# c\n");
  {
    PARAMETER_POOL_READ_WRITE_CHANGE pool(dir / "d/p");
    std::filesystem::rename(dir / "d", dir / "e");  // now not even root can create the copy
    pool.Set<ValueType::kInt32>("a", 1);
    EXPECT_FAILS(pool.Update(), NO_UPDATE_PERMISSION_FOR_POOL,
                 "No such file or directory\nALARM : no permission to change pool file: " +
                     (dir / "d/p") + "\n");
    EXPECT_EQ(ReadFile(dir / "e/p"), "# c\n");
    std::filesystem::rename(dir / "e", dir / "d");
    pool.Set<ValueType::kInt32>("b", 2);
  }  // the destructor writes, because an entry was added after the failed update
  EXPECT_EQ(ReadFile(dir / "d/p"), "# c\n" + Entry("a", 1) + Entry("b", 2));
}

// Allows ever more allocations until there are enough. Each failure must leave the pool unchanged,
// no copy beside it, and the entries pending.
TEST(PoolUpdate, OutOfMemory) {
  const ScopedLog log;
  const TempDir dir;
  const std::string key(20, 'k');
  std::string text = "# c\nv INT_32_V 1 1\n {\n 3\n }\n";
  WriteFile(dir / "p", text);
  PARAMETER_POOL_READ_WRITE_CHANGE pool(dir / "p");
  const auto count_failures = [&](auto operation) {
    for (int count = 0;; ++count) {
      try {
        const quellmark::test::AllocationLimit limit(static_cast<std::size_t>(count));
        operation();
        return count;
      } catch (const ERROR_NO_MEMORY&) {
      }
      EXPECT_THAT(log.Text(), ::testing::ContainsRegex("not enough memory( to create ARRAY)?\n$"));
      EXPECT_EQ(ReadFile(dir / "p"), text);
      EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), 1);
    }
  };
  EXPECT_GE(count_failures([&] { static_cast<void>(pool.Read<ValueType::kInt32V>("v")); }), 2);
  EXPECT_GE(count_failures([&] { pool.Set<ValueType::kInt32>(key, 1); }), 3);
  EXPECT_GE(count_failures([&] { pool.Update(); }), 3);
  EXPECT_EQ(ReadFile(dir / "p"), text + Entry(key, 1));
}

TEST(PoolUpdate, NewPoolsAreForEverybody) {
  const ScopedLog log;
  const TempDir dir;
  const mode_t saved = ::umask(0);
  PARAMETER_POOL().Open(dir / "p");
  ::umask(saved);
  using std::filesystem::perms;
  EXPECT_EQ(std::filesystem::status(dir / "p").permissions(),
            perms::all & ~(perms::owner_exec | perms::group_exec | perms::others_exec));
}

TEST(PoolUpdate, CloseClosesAlsoWhenTheUpdateFails) {
  const ScopedLog log;
  const TempDir dir;
  std::filesystem::create_directory(dir / "d");
  PARAMETER_POOL_READ_WRITE_CHANGE pool(dir / "d/p");
  pool.Set<ValueType::kInt32>("a", 1);
  std::filesystem::rename(dir / "d", dir / "e");
  EXPECT_THROW(pool.Close(), NO_UPDATE_PERMISSION_FOR_POOL);
  EXPECT_FALSE(pool.IsOpen());
}

}  // namespace
