#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <limits>
#include <string>
#include <vector>

#include "basic/errors.h"
#include "pool/parameter_pool.h"
#include "tests/pool/any_value.h"
#include "tests/support/expect_fails.h"
#include "tests/support/files.h"

namespace {

using quellmark::pool::PoolValue;
using quellmark::pool::TypeName;
using quellmark::pool::ValueType;
using quellmark::test::ScopedLog;
using quellmark::test::TempDir;
using quellmark::test::WriteFile;

// The pool of a text.
class TextPool : public PARAMETER_POOL {
 public:
  explicit TextPool(std::string_view text) { SetText(text), Open(dir_ / "p"); }
  void SetText(std::string_view text) { WriteFile(dir_ / "p", text); }

 private:
  ScopedLog log_;
  TempDir dir_;
};

template <ValueType kType>
PoolValue<kType> ReadK(const std::string& value) {
  return TextPool("k " + std::string(TypeName(kType)) + " " + value).Read<kType>("k");
}

// What a failing read throws (its message) and says behind the key.
struct Failure {
  std::string thrown = "nothing";
  std::string said;
};

Failure FailureOf(const std::string& text, ValueType type) {
  TextPool pool(text);
  ScopedLog log;
  Failure failure;
  try {
    static_cast<void>(quellmark::test::ReadAny(pool, type, "k"));
  } catch (const ERROR_EXCEPTION& error) {
    failure.thrown = error.Message();
  }
  const std::string prefix = "ALARM : parameter pool: parameter key >> k";
  failure.said = log.Text();
  if (failure.said.starts_with(prefix)) failure.said.erase(0, prefix.size());
  return failure;
}

struct FailureRow {
  ValueType type;
  const char* value;  // what follows "k TYPE "
  const char* said;
};

// The messages, typed here a second time on purpose: other programs match them.
template <class Error>
void ExpectFailures(const std::vector<FailureRow>& rows) {
  for (const FailureRow& row : rows) {
    const std::string text = "k " + std::string(TypeName(row.type)) + " " + row.value;
    SCOPED_TRACE(text);
    const Failure failure = FailureOf(text, row.type);
    EXPECT_EQ(failure.thrown, Error().Message());
    EXPECT_EQ(failure.said, row.said);
  }
}

TEST(PoolRead, MalformedScalars) {
  using enum ValueType;
  ExpectFailures<INVALID_PARAMETER_VALUE>({
      {kFlt15, "\n 1.0\n", " << no parameter value in file\n"},
      {kStrStr, " \t\r", " << no parameter value in file\n"},
      {kBol, "true", " << read value is : true but TRUE or FALSE are expected\n"},
      {kByt, "1.5E3-", " << read value is : 1.5E3- BYT (no floating) value expected\n"},
      {kInt8, "1.5E3", " << read value is : 1.5E3 BYT (no floating) value expected\n"},
      {kInt16, "1.5E3", " << read value is : 1.5E3 INT_8 (no floating) value expected\n"},
      {kInt32, "1.5E3", " << read value is : 1.5E3 INT_16 (no floating) value expected\n"},
      {kInt64, "1.5E3", " << read value is : 1.5E3 INT_32 (no floating) value expected\n"},
      {kByt, "-0", " << read value is : -0 BYT (unsigned) value expected\n"},
      {kByt, "1.5", " << read value is : 1.5 BYT (no additional character) value expected\n"},
      {kInt8, "1E3", " << read value is : 1E3 INT_8 (no additional character) value expected\n"},
      {kInt16, "0x1", " << read value is : 0x1 INT_8 (no additional character) value expected\n"},
      {kInt32, "1.5e3",
       " << read value is : 1.5e3 INT_32 (no additional character) value expected\n"},
      {kInt64, "7L", " << read value is : 7L INT_64 (no additional character) value expected\n"},
      {kInt32, "+", " << read value is : + INT_32 (no additional character) value expected\n"},
      {kInt32, "+-3", " << read value is : +-3 INT_32 (no additional character) value expected\n"},
      {kFlt15, "abc", " << read value is : abc FLT_15 value expected\n"},
      {kFlt6, "0x", " << read value is : 0x FLT_6 value expected\n"},
      {kCpl6, "1.0", " << no imaginary part in CPL_6\n"},
      {kCpl15, "1.0\n2.0", " << no imaginary part in CPL_6\n"},
      {kInt32Int32, "1", " << no second coordinate\n"},
      {kStr, "word", " << no correct string tuple format (missing >>\"<< ?)\n"},
      {kStrStr, "\"a\" b", " << no correct string tuple format (missing >>\"<< ?)\n"},
      {kStr, "\"open\n\"", "ALARM : parameter pool:  >> k error in STRING processing\n"},
      {kStr, "\"open\\\"", "ALARM : parameter pool:  >> k error in STRING processing\n"},
      {kBolV, "1", " << no correct range for VECTOR or MATRIX\n"},
      {kFlt15V, "1\t-1", " << no correct range for VECTOR or MATRIX\n"},
      {kStrV, "a 1", " << no correct range for VECTOR or MATRIX\n"},
      {kInt32V, "2147483647 2", " << no correct range for VECTOR or MATRIX\n"},
      {kInt32V, "0 99999999999", " << no correct range for VECTOR or MATRIX\n"},
      {kFlt15V, "1 2000000000\n {\n 1\n }\n", " << read value is : } FLT_15 value expected\n"},
      {kInt32M, "1 2 3", " << no correct range for MATRIX\n"},
      {kInt32M, "1 2 3 -4", " << no correct range for MATRIX\n"},
  });
}

TEST(PoolRead, OutOfRange) {
  using enum ValueType;
  ExpectFailures<PARAMETER_OUT_OF_BOUNDS>({
      {kByt, "256", " << read value is : 256 (value is out of range) BYT expected\n"},
      {kInt8, "128", " << read value is : 128 (value is out of range) INT_8 expected\n"},
      {kInt8, "-129", " << read value is : -129 (value is out of range) INT_8 expected\n"},
      {kInt16, "32768", " << read value is : 32768 (value is out of range) INT_16 expected\n"},
      {kByt, "99999999999999999999",
       " << read value is : 99999999999999999999 (value is out of range) BYT expected\n"},
      {kFlt6, "3.4028235e38",
       " << read value is : 3.4028235e38 (value is out of range) FLT_6 expected\n"},
      {kFlt15, "-1e309", " << read value is : -1e309 (value is out of range) FLT_15 expected\n"},
      {kFlt15, "nan", " << read value is : nan (value is out of range) FLT_15 expected\n"},
      {kCpl6, "0 inf", " << read value is : inf (value is out of range) FLT_6 expected\n"},
      {kFlt15V, "1 1\n {\n NaN\n }\n",
       " << read value is : NaN (value is out of range) FLT_15 expected\n"},
  });
}

TEST(PoolRead, MalformedBodies) {
  using enum ValueType;
  ExpectFailures<ERROR_PARAMETER_POOL>({
      {kBolV, "0 1", " << no { due to end of file\n"},
      {kBolV, "0 1\n\n", " << { expected for BOL_V\n"},
      {kBolV, "0 1\n {{\n", " << { expected instead of {{ for BOL_V\n"},
      {kFlt15V, "0 1\r\n{\r\n", " << { expected for FLT_8_V\n"},
      {kFlt6V, "0 1\n \n", " << { expected for FLT_4_V\n"},
      {kFlt6V, "0 1\n 1\n", " << { expected instead of 1 for FLT_6_V\n"},
      {kFlt6V, "0 0\n {\n\n", " << no } at end of FLT_4_V\n"},
      {kFlt15V, "0 0\n {\n\n", " << no } at end of FLT_8_V\n"},
      {kFlt15V, "0 1\n 1\n", " << { expected instead of 1 for FLT_15_V\n"},
      {kInt16V, "5 2\n {\n 1\n", " << no value for index 6 due to end of file\n"},
      {kInt16V, "-5 2\n {\n \n", " << no value for index -5\n"},
      {kInt16V, "0 0\n {", " << no } due to end of file\n"},
      {kFlt6Flt6V, "0 0\n\n", " << { expected for INT_FLT_6_FLT_6_V\n"},
      {kFlt6Flt6V, "0 0\n x\n", " << { expected instead of x for INT_FLT_6_FLT_6_V\n"},
      {kFlt6Flt6V, "0 0\n {\n x\n", " << } expected instead of x for FLT_6_FLT_6_V\n"},
      {kFlt15Flt15V, "0 0\n\n", " << { expected for INT_FLT_15_FLT_15_V\n"},
      {kFlt15Flt15V, "0 0\n x\n", " << { expected instead of x for INT_FLT_15_FLT__V\n"},
      {kFlt15Flt15V, "0 0\n {\n x\n", " << } expected instead of x for FLT_15_FLT_15_V\n"},
      {kFlt15Flt15V, "0 0\n {\n\n", " << no } at end of FLT_15_FLT_15_V\n"},
      {kIdxFlt15V, "0 0\n {\n x\n", " << } expected instead of x for IDX_FLT_15_V\n"},
      {kIdxInt32V, "0 1\n {\n\n", " << no value\n"},
      {kIdxInt32V, "0 1\n {\n 1\n", " << no second coordinate\n"},
      {kStrV, "0 2\n {\n \"a\"\n }\n", " << STR_V length does not match entry count\n"},
      {kStrV, "0 1\n {\n \"a\" \"b\"\n }\n", " << STR_V length does not match entry count\n"},
      {kStrV, "0 1\n {\n \"a\"\n \"b\"\n }\n", " << STR_V length does not match entry count\n"},
      {kStrStrV, "0 1\n {\n }\n", " << STR_STR_V length does not match entry count\n"},
      {kStrV, "0 1\n {\n a\n }\n", " << no correct string tuple format (missing >>\"<< ?)\n"},
      {kStrV, "0 1\n {\n \"a\n }\n", "ALARM : parameter pool:  >> k error in STRING processing\n"},
      {kBytM, "0 1 0 1\n\n", " << { expected for BYT_M\n"},
      {kFlt6M, "0 0 0 0\n {\n\n", " << no } at end of FLT_6_M\n"},
      {kStrM, "0 1 0 1\n x\n", " << { expected instead of x for STR_15_M\n"},
      {kStrM, "0 1 0 1\n\n", " << { expected for STR_M\n"},
      {kInt32M, "1 2 -1 2\n {\n 1\n 2\n 3\n", " << no value for index 2,0 due to end of file\n"},
      // A count is no promise: these end at once and without the memory they speak of.
      {kInt64V, "1 2000000000\n {\n 1\n", " << no value for index 2 due to end of file\n"},
      {kCpl15M, "1 2000000000 1 2000000000\n {\n",
       " << no value for index 1,1 due to end of file\n"},
  });
}

TEST(PoolRead, KeysAndTypes) {
  const auto check = [](const std::string& text, ValueType type, const ERROR_EXCEPTION& error,
                        const std::string& said) {
    SCOPED_TRACE(text);
    const Failure failure = FailureOf(text, type);
    EXPECT_EQ(failure.thrown, error.Message());
    EXPECT_EQ(failure.said, said);
  };
  for (const char* invisible : {"", "kk INT_32 1\n", "K INT_32 1\n", " k INT_32 1\n",
                                "\tk INT_32 1", "#k INT_32 1\n", "\"k\" INT_32 1\n"}) {
    check(invisible, ValueType::kInt32, PARAMETER_KEY_NOT_FOUND(), " << not found\n");
  }
  check("k\n", ValueType::kInt32, ERROR_PARAMETER_POOL(), " << no type information found\n");
  check("k INT_64 1\n", ValueType::kInt32, WRONG_PARAMETER_TYPE(), " << type INT_32 expected\n");
  check("k int_32 1\n", ValueType::kInt32, WRONG_PARAMETER_TYPE(), " << type INT_32 expected\n");
  check("k UNKNOWN 1\n", ValueType::kUnknown, WRONG_PARAMETER_TYPE(),
        " << type UNKNOWN expected\n");

  TextPool pool("# k INT_8 1\nother FOO\nk INT_32 1\nk INT_32 2\n");
  EXPECT_EQ(pool.Read<ValueType::kInt32>("k"), 1) << "the first entry counts";
  EXPECT_EQ(pool.TypeOf("k"), ValueType::kInt32);
  EXPECT_EQ(pool.TypeOf("other"), ValueType::kUnknown);
  ScopedLog log;
  EXPECT_TRUE(pool.Has("other"));
  EXPECT_FALSE(pool.Has("#"));
  EXPECT_FALSE(pool.Has(""));
  EXPECT_EQ(log.Text(), "");
  pool.SetNotFoundLevel(LOG::Level::kDebug);
  EXPECT_THROW(static_cast<void>(pool.TypeOf("none")), PARAMETER_KEY_NOT_FOUND);
  EXPECT_EQ(log.Text(), "DEBUG : parameter pool: parameter key >> none << not found\n");
  pool.SetText("k INT_32 3");
  EXPECT_EQ(pool.Read<ValueType::kInt32>("k"), 3) << "what another writer put there is seen";
}

TEST(PoolRead, AcceptedValues) {
  using enum ValueType;
  EXPECT_TRUE(ReadK<kBol>("TRUE "));
  EXPECT_EQ(ReadK<kByt>("+255"), 255);
  EXPECT_EQ(ReadK<kInt8>("-128"), -128);
  EXPECT_EQ(ReadK<kInt32>("1-2"), 1) << "the conversion takes the longest prefix";
  EXPECT_EQ(ReadK<kInt32>("99999999999"), std::numeric_limits<int>::max());
  EXPECT_EQ(ReadK<kInt64>("-99999999999999999999"), std::numeric_limits<long long>::min());
  EXPECT_EQ(ReadK<kFlt15>("+1.5e3rest"), 1500.0);
  EXPECT_EQ(ReadK<kFlt15>("-0x1.8p3"), -12.0);
  EXPECT_EQ(ReadK<kFlt15>("1e-999"), 0.0);
  EXPECT_EQ(ReadK<kFlt6>("3.4028234663852886e38"), std::numeric_limits<float>::max());
  EXPECT_EQ(ReadK<kCpl6>("\t1\t-2 x"), (COMPLEX<float>{1.0F, -2.0F}));
  EXPECT_EQ(ReadK<kIdxFlt15>("3 0.25"), (INDEX<int, double>(3, 0.25)));
  EXPECT_EQ(ReadK<kStr>("\"a \\\"b\\\" \\\\ \\n\"tail"), "a \"b\" \\ \\n");
  EXPECT_EQ(ReadK<kStrStr>("\"\"\t\"# \""), TUPLE<STRING>("", "# "));
  const ARRAY<int> vector = ReadK<kInt32V>("-1 2 rest\n{\n7 tail\n8\nany token closes");
  EXPECT_EQ(vector.First(), -1);
  EXPECT_EQ(vector[0], 8);
  const MATRIX<short> matrix = ReadK<kInt16M>("0 2 5 2\n {\n 1\n 2\n 3\n 4\n }");
  EXPECT_EQ(matrix(1, 5), 3);
}

TEST(PoolRead, PhysicalLines) {
  // A CR ends a line as an LF does; the LF of the pair is an empty line of its own.
  TextPool pool("a INT_32 1\rb INT_32_V 0 1\r {\r 5\r }\rc INT_32 3\r\nd INT_32 4");
  EXPECT_EQ(pool.Read<ValueType::kInt32>("a"), 1);
  EXPECT_EQ(pool.Read<ValueType::kInt32V>("b")[0], 5);
  EXPECT_EQ(pool.Read<ValueType::kInt32>("c"), 3);
  EXPECT_EQ(pool.Read<ValueType::kInt32>("d"), 4);

  // NUL is a character as any other.
  pool.SetText(std::string("a\0 INT_32 1\nb STR \"x\0y\"\n", 25));
  EXPECT_FALSE(pool.Has("a"));
  EXPECT_EQ(pool.Read<ValueType::kInt32>(std::string_view("a\0", 2)), 1);
  EXPECT_EQ(pool.Read<ValueType::kStr>("b").Length(), 3U);

  // A line breaks after 1024 characters, wherever that is, and what follows may be a key line.
  for (const std::size_t length : {1023U, 1024U, 1025U, 70000U, 70656U}) {
    SCOPED_TRACE(length);
    pool.SetText("#" + std::string(length - 1, '-') + "k INT_32 7\nlast INT_32 8");
    EXPECT_EQ(pool.Has("k"), length % 1024 == 0);
    EXPECT_EQ(pool.Read<ValueType::kInt32>("last"), 8);
  }

  // Of a key 100 characters count.
  const std::string key(100, 'k');
  pool.SetText(key + "kk INT_32 1\n" + key + " INT_32 2\n");
  EXPECT_EQ(pool.Read<ValueType::kInt32>(key), 1);
  EXPECT_FALSE(pool.Has(key + "kk"));

  std::string comments;
  for (int i = 0; i < 1'000'000; ++i) comments += "# k\n\r";
  pool.SetText(comments + "k INT_32 9\n");
  EXPECT_EQ(pool.Read<ValueType::kInt32>("k"), 9);
}

TEST(PoolOpen, RefusesWhatIsNoRegularFile) {
  TempDir dir;
  const std::string fifo = dir / "fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_FAILS(PARAMETER_POOL().Open(dir.Path()), CAN_NOT_OPEN_POOL,
               "parameter file " + dir.Path().string() + " is a directory!\n");
  for (const std::string& path : {fifo, std::string("/dev/null"), std::string(), dir / "no/p"}) {
    EXPECT_FAILS(PARAMETER_POOL().Open(path), CAN_NOT_OPEN_POOL,
                 "can not open parameter file " + path + "\n");
  }
  PARAMETER_POOL closed;
  EXPECT_EQ(closed.Path(), "xxx.dat");
  EXPECT_FAILS(closed.Has("k"), ERROR_ALGORITHM, "No file pointer given for parameter pool\n");
}

TEST(PoolOpen, NeverTruncatesAndNeverTakesAStandardStream) {
  const ScopedLog log;
  const TempDir dir;
  WriteFile(dir / "p", "k INT_32 1");
  PARAMETER_POOL pool;
  const int saved = ::dup(STDIN_FILENO);
  ::close(STDIN_FILENO);
  const int fd = pool.Open(dir / "p");
  ::dup2(saved, STDIN_FILENO);
  ::close(saved);
  EXPECT_GT(fd, STDERR_FILENO);
  EXPECT_TRUE(pool.IsWritable());
  EXPECT_EQ(pool.Directory(), dir.Path());
  EXPECT_EQ(pool.Read<ValueType::kInt32>("k"), 1);
  pool.Open(dir / "new");
  EXPECT_EQ(quellmark::test::ReadFile(dir / "new"), "");
  // A program that runs can not be opened for writing, not even by root.
  pool.Open("/proc/self/exe");
  EXPECT_FALSE(pool.IsWritable());
  EXPECT_FAILS(PARAMETER_POOL_READ_WRITE_CHANGE("/proc/self/exe"), CAN_NOT_OPEN_POOL,
               "can not open pool file for update /proc/self/exe\n");
}

}  // namespace
