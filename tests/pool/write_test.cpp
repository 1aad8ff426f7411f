#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <string>

#include "basic/errors.h"
#include "pool/entry_scanner.h"
#include "tests/pool/any_value.h"
#include "tests/support/expect_fails.h"
#include "tests/support/files.h"

namespace {

using quellmark::pool::ValueType;
using quellmark::test::KeysOf;
using quellmark::test::ReadAny;
using quellmark::test::ReadFile;
using quellmark::test::ScopedLog;
using quellmark::test::SetAny;
using quellmark::test::TempDir;
using quellmark::test::WriteFile;

// Reads and sets every entry of a pool that was not made by this code. No byte may change.
TEST(PoolWrite, AllTypesComeBackByteForByte) {
  const ScopedLog log;
  const TempDir dir;
  const std::string text = ReadFile(QM_POOL_TEST_DATA "/all_types.pool");
  WriteFile(dir / "p", text);
  PARAMETER_POOL_READ_WRITE_CHANGE pool(dir / "p");
  std::set<ValueType> types;
  for (const std::string& key : KeysOf(text)) {
    if (!pool.Has(key)) continue;
    types.insert(pool.TypeOf(key));
    SetAny(pool, key, ReadAny(pool, pool.TypeOf(key), key));
  }
  EXPECT_EQ(types.size(), 47U);
  pool.Close();
  EXPECT_EQ(ReadFile(dir / "p"), text);

  // The same by one pass over the text in memory.
  PARAMETER_POOL_READ_WRITE_CHANGE again(dir / "p");
  quellmark::pool::EntryScanner scanner(text);
  for (quellmark::pool::PoolEntry entry; scanner.Next(entry); types.erase(entry.Type())) {
    SetAny(again, entry.key, ParseEntry(entry));
  }
  EXPECT_TRUE(types.empty());
  again.Close();
  EXPECT_EQ(ReadFile(dir / "p"), text);
}

TEST(PoolWrite, CommentsAndLargestValues) {
  const ScopedLog log;
  const TempDir dir;
  PARAMETER_POOL_READ_WRITE_CHANGE pool(dir / "p");
  constexpr double kLargest = std::numeric_limits<double>::max();
  constexpr float kLargestFloat = std::numeric_limits<float>::max();
  pool.Add<ValueType::kCpl15>("c", {kLargest, -kLargest}, {" one", ""});
  pool.Add<ValueType::kFlt6>("f", kLargestFloat);
  pool.Close();
  const std::string blanks(32, ' ');
  EXPECT_EQ(ReadFile(dir / "p"),
            "# one\n#\nc" + blanks +
                "CPL_15          1.797693134862315E+308\t-1.797693134862315E+308\n\nf" + blanks +
                "FLT_6           3.4028234663E+38\n\n");
  EXPECT_EQ(PARAMETER_POOL_READ_WRITE_CHANGE(dir / "p").Read<ValueType::kFlt6>("f"), kLargestFloat);
}

TEST(PoolWrite, RoundTripOfALargeVector) {
  constexpr int kLength = 1'000'000;
  const ScopedLog log;
  const TempDir dir;
  ARRAY<double> values(RANGE<int>(1, kLength));
  for (int i = 1; i <= kLength; ++i) values[i] = std::sin(i) * std::pow(10.0, i % 600 - 300);
  PARAMETER_POOL_READ_WRITE_CHANGE pool(dir / "p");
  pool.Add<ValueType::kFlt15V>("v", values);
  pool.Update();
  EXPECT_TRUE(std::ranges::equal(pool.Read<ValueType::kFlt15V>("v").Elements(), values.Elements()));
}

TEST(PoolWrite, RefusesWhatCouldNotBeReadBack) {
  const ScopedLog log;
  const TempDir dir;
  PARAMETER_POOL_READ_WRITE_CHANGE pool(dir / "p");
  const auto refuse = [](const std::string& key, const std::string& said, auto set) {
    EXPECT_FAILS(set(), INVALID_PARAMETER_VALUE,
                 "parameter pool: parameter key >> " + key + " << " + said + "\n");
  };
  using namespace std::string_literals;
  for (const std::string& key : {""s, "#k"s, "a b"s, "a\tb"s, "a\nb"s, "a\rb"s, "a\0b"s}) {
    refuse(key, "no correct key", [&] { pool.Set<ValueType::kBol>(key, true); });
  }
  for (const std::string& text : {"a\nb"s, "\r"s, "\0"s}) {
    refuse("k", "line end in STRING", [&] {
      pool.Set<ValueType::kStrV>("k", ARRAY<STRING>(1, {"", text}));
    });
    refuse("k", "line end in comment", [&] { pool.Set<ValueType::kBol>("k", true, {text}); });
  }
  // The line of the longest text has 1023 characters and its line end.
  const std::string longest(1023 - 49 - 2, 'x');
  pool.Set<ValueType::kStr>("longest", longest);
  refuse("k", "line too long", [&] { pool.Set<ValueType::kStr>("k", longest + "x"); });
  refuse("k", "line too long",
         [&] { pool.Set<ValueType::kBol>("k", true, {std::string(1023, 'x')}); });
  refuse("k", "value is not finite", [&] { pool.Set<ValueType::kCpl6>("k", {0, std::nanf("")}); });
  refuse("k", "value is not finite", [&] {
    pool.Set<ValueType::kIdxFlt15V>("k", {1, {{1, HUGE_VAL}}});
  });
  constexpr int kMax = std::numeric_limits<int>::max();
  for (const auto& columns : {RANGE<int>(kMax, 2), RANGE<int>(-kMax - 1, 0)}) {
    MATRIX<int> matrix;
    EXPECT_EQ(matrix.Create({0, 1}, columns), kArrayOk);
    refuse("k", "no correct range for VECTOR or MATRIX",
           [&] { pool.Set<ValueType::kInt32M>("k", matrix); });
  }
  const std::string long_key(101, 'k');
  EXPECT_FAILS(pool.Set<ValueType::kBol>(long_key, true), PARAMETER_KEY_TOO_LONG,
               "parameter pool: parameter key >> " + long_key + " << key too long\n");
  EXPECT_FAILS(pool.Set<ValueType::kUnknown>("k", {}), WRONG_PARAMETER_TYPE,
               "parameter pool: parameter key >> k << type UNKNOWN can not be written\n");
  pool.Update();
  EXPECT_EQ(pool.Read<ValueType::kStr>("longest"), longest.c_str());
  EXPECT_FALSE(pool.Has("k"));
}

}  // namespace
