#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <limits>
#include <random>
#include <string>

#include "basic/errors.h"
#include "pool/entry_scanner.h"
#include "pool/parameter_pool.h"
#include "tests/pool/any_value.h"
#include "tests/support/expect_fails.h"
#include "tests/support/files.h"
#include "tests/support/rows.h"

namespace {

using quellmark::pool::PoolValue;
using quellmark::pool::TypeName;
using quellmark::pool::ValueType;
using quellmark::test::ReadRows;
using quellmark::test::Row;
using quellmark::test::ScopedLog;
using quellmark::test::TempDir;
using quellmark::test::WriteFile;

// A pool that is made from a text.
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

// The message of the exception that a failing read throws, and its log text after the key.
Row FailureOf(const std::string& text, ValueType type) {
  TextPool pool(text);
  ScopedLog log(LOG::Level::kAlarm);  // without the warnings about the whole file
  try {
    static_cast<void>(quellmark::test::ReadAny(pool, type, "k"));
  } catch (const ERROR_EXCEPTION& error) {
    const std::string prefix = "ALARM : parameter pool: parameter key >> k";
    const std::string said = log.Text();
    return {error.Message(), said.substr(said.starts_with(prefix) ? prefix.size() : 0)};
  }
  return {"nothing"};
}

// The table repeats the messages on purpose, because other programs match them.
TEST(PoolRead, Failures) {
  std::string thrown;
  int count = 0;
  for (const Row& row : ReadRows(QM_POOL_TEST_DATA "/failures.txt")) {
    if (row.size() == 1) {
      thrown = row[0].substr(3);  // after "== "
      continue;
    }
    SCOPED_TRACE(row[0] + " " + row[1]);
    const ValueType type = quellmark::pool::TypeFromName(row[0]);
    EXPECT_EQ(FailureOf("k " + row[0] + " " + row[1], type), (Row{thrown, row[2]}));
    ++count;
  }
  EXPECT_GT(count, 70);
}

TEST(PoolRead, KeysAndTypes) {
  const auto check = [](const std::string& text, ValueType type, const ERROR_EXCEPTION& error,
                        const std::string& said) {
    EXPECT_EQ(FailureOf(text, type), (Row{error.Message(), said})) << text;
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
  EXPECT_EQ(ReadK<kInt32>("1-2"), 1) << "the conversion takes the longest prefix";
  EXPECT_EQ(ReadK<kInt32>("99999999999"), std::numeric_limits<int>::max());
  EXPECT_EQ(ReadK<kFlt15>("+1.5e3rest"), 1500.0);
  EXPECT_EQ(ReadK<kFlt15>("-0x1.8p3"), -12.0);
  EXPECT_EQ(ReadK<kFlt15>("1e-999"), 0.0);
  EXPECT_EQ(ReadK<kFlt6>("3.4028234663852886e38"), std::numeric_limits<float>::max());
  EXPECT_EQ(ReadK<kCpl6>("\t1\t-2 x"), (COMPLEX<float>{1.0F, -2.0F}));
  EXPECT_EQ(ReadK<kStr>("\"a \\\"b\\\" \\\\ \\n\"tail"), "a \"b\" \\ \\n");
  EXPECT_EQ(ReadK<kStrStr>("\"\"\t\"# \""), TUPLE<STRING>("", "# "));
  const ARRAY<int> vector = ReadK<kInt32V>("-1 2 rest\n{\n7 tail\n8\nany token closes");
  EXPECT_EQ(vector.First(), -1);
  EXPECT_EQ(vector[0], 8);
  const MATRIX<short> matrix = ReadK<kInt16M>("0 2 5 2\n {\n 1\n 2\n 3\n 4\n }");
  EXPECT_EQ(matrix(1, 5), 3);
}

TEST(PoolRead, PhysicalLines) {
  // A CR ends a line as an LF does. The LF of a pair CR LF is an empty line.
  TextPool pool("a INT_32 1\rb INT_32_V 0 1\r {\r 5\r }\rc INT_32 3\r\nd INT_32 4");
  EXPECT_EQ(pool.Read<ValueType::kInt32>("a"), 1);
  EXPECT_EQ(pool.Read<ValueType::kInt32V>("b")[0], 5);
  EXPECT_EQ(pool.Read<ValueType::kInt32>("c"), 3);
  EXPECT_EQ(pool.Read<ValueType::kInt32>("d"), 4);

  // NUL is a character like any other.
  pool.SetText(std::string("a\0 INT_32 1\nb STR \"x\0y\"\n", 25));
  EXPECT_FALSE(pool.Has("a"));
  EXPECT_EQ(pool.Read<ValueType::kInt32>(std::string_view("a\0", 2)), 1);
  EXPECT_EQ(pool.Read<ValueType::kStr>("b").Length(), 3U);

  // A line breaks after 1024 characters, wherever that is. The rest may be a key line.
  for (const std::size_t length : {1023U, 1024U, 1025U, 70000U, 70656U}) {
    SCOPED_TRACE(length);
    pool.SetText("#" + std::string(length - 1, '-') + "k INT_32 7\nlast INT_32 8");
    EXPECT_EQ(pool.Has("k"), length % 1024 == 0);
    EXPECT_EQ(pool.Read<ValueType::kInt32>("last"), 8);
  }

  // Only 100 characters of a key count.
  const std::string key(100, 'k');
  pool.SetText(key + "kk INT_32 1\n" + key + " INT_32 2\n");
  EXPECT_EQ(pool.Read<ValueType::kInt32>(key), 1);
  EXPECT_FALSE(pool.Has(key + "kk"));
}

// The look-up skips most lines without examining them. Here it is compared with a search that
// applies the rules for lines to each character. The lines have all kinds of ends and lengths
// around the limits.
TEST(PoolRead, LookUpKeepsToTheLines) {
  std::mt19937 random(1);
  const auto pick = [&](std::size_t count) { return random() % count; };
  int found = 0;
  TextPool pool("");
  for (int run = 0; run < 300; ++run) {
    std::string text;
    for (std::size_t line = pick(100); line > 0; --line) {
      text.append(pick(4) == 0 ? 1020 + pick(8) : pick(4), 'k');
      text += std::array{"\n", "\r", "\r\n", "", " \n", "#\n"}[pick(6)];
    }
    bool expected = false;
    std::string line;
    for (std::size_t at = 0; at < text.size(); ++at) {
      line += text[at];
      const bool has_end = line.back() == '\n' || line.back() == '\r';
      if (!has_end && line.size() < 1024 && at + 1 < text.size()) continue;
      expected |= line.substr(0, line.find_first_of(" \r\n")) == "kkk";
      line.clear();
    }
    pool.SetText(text);
    EXPECT_EQ(pool.Has("kkk"), expected) << "run " << run;
    found += expected ? 1 : 0;
  }
  EXPECT_GT(found, 50);
  EXPECT_LT(found, 290);
}

TEST(PoolRead, WarnsOfWhatIsWrongWithTheFile) {
  const TempDir dir;
  const struct {
    const char* text;  // null: no such file
    const char* said;
  } rows[] = {
      {"", ""},
      {nullptr, " did not exist and was created empty\n"},
      {"\xEF\xBB\xBFk BOL TRUE\n",
       " begins with a byte-order mark, which belongs to its first word: save it without\n"},
      {"a BOL TRUE\r\n",
       " has line ends CR LF, with which no vector or matrix can be read: save it with LF\n"},
      {"a BOL TRUE\rb BOL TRUE\n\r", ""}};
  const std::string missing = "parameter pool: parameter key >> k << not found\n";
  for (const auto& row : rows) {
    std::filesystem::remove(dir / "p");
    if (row.text != nullptr) WriteFile(dir / "p", row.text);
    const ScopedLog log(LOG::Level::kWarning);
    PARAMETER_POOL pool;
    pool.Open(dir / "p");
    EXPECT_THROW(static_cast<void>(pool.Read<ValueType::kBol>("k")), PARAMETER_KEY_NOT_FOUND);
    const std::string said =
        *row.said == '\0' ? "" : "WARN  : parameter file " + (dir / "p") + row.said;
    EXPECT_EQ(log.Text(), "ALARM : " + missing + said);
    pool.SetNotFoundLevel(LOG::Level::kInfo);
    EXPECT_THROW(static_cast<void>(pool.Read<ValueType::kBol>("k")), PARAMETER_KEY_NOT_FOUND);
    EXPECT_EQ(log.Text(), "ALARM : " + missing + said) << "an optional key may well be missing";
  }
  TextPool twice("k INT_32_V 1 1\n{\n1\n}\nkk BOL TRUE\nk BOL FALSE\n");
  const ScopedLog log;
  {
    const quellmark::pool::DoubleKeyCheck check(twice);
    EXPECT_EQ(twice.Read<ValueType::kInt32V>("k")[1], 1);
    EXPECT_EQ(twice.Read<ValueType::kInt32V>("k")[1], 1);
    EXPECT_TRUE(twice.Read<ValueType::kBol>("kk"));
    EXPECT_EQ(log.Text(), "");
  }
  EXPECT_EQ(log.Text(),
            "WARN  : parameter pool: parameter key >> k << stands twice, the first entry "
            "counts\n");
}

TEST(PoolOpen, ForReadingCreatesAndLocksNothing) {
  const TempDir dir;
  EXPECT_FAILS(PARAMETER_POOL().OpenForReading(dir / "p"), CAN_NOT_OPEN_POOL,
               "can not open parameter file " + (dir / "p") + "\n");
  EXPECT_FALSE(std::filesystem::exists(dir / "p"));
  WriteFile(dir / "p", "k INT_32 1");
  ScopedLog log;
  PARAMETER_POOL pool;
  pool.OpenForReading(dir / "p");
  EXPECT_FALSE(pool.IsWritable());
  PARAMETER_POOL second;
  second.Open(dir / "p");
  EXPECT_TRUE(pool.LockForReading().IsHeld() && second.LockForReading().IsHeld());
  EXPECT_TRUE(pool.IsSameFileAs(second));
  EXPECT_FALSE(pool.IsSameFileAs(PARAMETER_POOL()));
}

TEST(PoolRead, ScansTheEntriesOfAText) {
  const std::string text =
      "# lost\n\n#1\r\n#2\r\nno\n#a\n#b\nk INT_32_V 1 2 \r\n{\n 3\n\n#c\n \nk\tBOL\r" +
      std::string(1024, 'x') + "z FLT_6 \t1";
  std::string seen;
  quellmark::pool::EntryScanner scanner(text);
  for (quellmark::pool::PoolEntry entry; scanner.Next(entry);) {
    for (const std::string_view field :
         {entry.comments, entry.key.substr(0, 3), entry.type, entry.value, entry.body}) {
      seen.append(field).append("|");
    }
    seen += std::to_string(entry.line) + ";";
  }
  EXPECT_EQ(seen,
            "#1\r\n#2\r\n|no||||5;#a\n#b\n|k|INT_32_V|1 2|\n|8;|{||| 3\n\n|9;"
            "|k|BOL|||14;|xxx||||14;|z|FLT_6|1||14;");
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

TEST(PoolOpen, NeverTruncates) {
  const ScopedLog log;
  const TempDir dir;
  WriteFile(dir / "p", "k INT_32 1");
  PARAMETER_POOL pool;
  pool.Open(dir / "p");
  EXPECT_EQ(pool.Read<ValueType::kInt32>("k"), 1);
  // A running program cannot be opened for writing, not even by root.
  pool.Open("/proc/self/exe");
  EXPECT_FALSE(pool.IsWritable());
  EXPECT_FAILS(PARAMETER_POOL_READ_WRITE_CHANGE("/proc/self/exe"), CAN_NOT_OPEN_POOL,
               "can not open pool file for update /proc/self/exe\n");
}

}  // namespace
