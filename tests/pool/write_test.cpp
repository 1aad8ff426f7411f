#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "basic/errors.h"
#include "tests/pool/any_value.h"
#include "tests/support/expect_fails.h"
#include "tests/support/files.h"

namespace {

using quellmark::pool::AnyValue;
using quellmark::pool::TypeName;
using quellmark::pool::ValueType;
using quellmark::test::ReadAny;
using quellmark::test::ReadFile;
using quellmark::test::SameAny;
using quellmark::test::ScopedLog;
using quellmark::test::SetAny;
using quellmark::test::TempDir;

template <ValueType kType>
std::string Written(std::string_view key, const quellmark::pool::PoolValue<kType>& value,
                    const std::vector<std::string>& comments = {}) {
  const ScopedLog log;
  const TempDir dir;
  PARAMETER_POOL_READ_WRITE_CHANGE pool(dir / "p");
  pool.Add<kType>(key, value, comments);
  pool.Close();
  return ReadFile(dir / "p");
}

// The text between the 16 columns of the type and the empty line.
template <ValueType kType>
std::string WrittenValue(const quellmark::pool::PoolValue<kType>& value) {
  const std::string text = Written<kType>("k", value);
  return text.substr(49, text.size() - 51);
}

TEST(PoolWrite, Layout) {
  EXPECT_EQ(Written<ValueType::kFlt15>("first_az_time", 71.75537, {" one", ""}),
            "# one\n#\n"
            "first_az_time                    FLT_15          7.17553699999999992E+01\n\n");
  EXPECT_EQ(Written<ValueType::kStrStrV>("k", ARRAY<TUPLE<STRING>>(-3, {{"a", "b"}})),
            "k                                STR_STR_V       -3\t1\n"
            "                                               {\n"
            "                                                 \"a\"\t\"b\"\n"
            "                                               }\n\n");
  MATRIX<unsigned char> matrix(RANGE<int>(1, 2), RANGE<int>(0, 1));
  matrix(2, 0) = 255;
  EXPECT_EQ(Written<ValueType::kBytM>(std::string(40, 'k'), matrix),
            std::string(40, 'k') + " BYT_M           1\t2\t0\t1\n" + std::string(55, ' ') + "{\n" +
                std::string(57, ' ') + "0\n" + std::string(57, ' ') + "255\n" +
                std::string(55, ' ') + "}\n\n");
}

TEST(PoolWrite, Formats) {
  using enum ValueType;
  EXPECT_EQ(WrittenValue<kBol>(false), "FALSE");
  EXPECT_EQ(WrittenValue<kByt>(200), "200");
  EXPECT_EQ(WrittenValue<kInt8>(-7), "-7");
  EXPECT_EQ(WrittenValue<kInt64>(std::numeric_limits<long long>::min()), "-9223372036854775808");
  EXPECT_EQ(WrittenValue<kFlt6>(-0.1F), "-1.0000000149E-01");
  EXPECT_EQ(WrittenValue<kFlt6>(std::numeric_limits<float>::max()), "3.4028234663E+38");
  EXPECT_EQ(WrittenValue<kFlt15>(1e-300), "1.00000000000000003E-300");
  EXPECT_EQ(WrittenValue<kStr>("a\\b \"c\""), R"("a\\b \"c\"")");
  EXPECT_EQ(WrittenValue<kCpl6>({1.0F, -2.5F}), "1.000000E+00\t-2.500000E+00");
  EXPECT_EQ(WrittenValue<kCpl15>({0.1, std::numeric_limits<double>::max()}),
            "1.000000000000000E-01\t1.797693134862315E+308");
  EXPECT_EQ(WrittenValue<kInt32Int32>({1, -1}), "1\t-1");
  EXPECT_EQ(WrittenValue<kFlt6Flt6>({1.0F, 2.0F}), "1.000000E+00\t2.000000E+00");
  EXPECT_EQ(WrittenValue<kFlt15Flt15>({1.0, 2.0}), "1.000000000000000E+00\t2.000000000000000E+00");
  EXPECT_EQ(WrittenValue<kIdxInt32>({4, 5}), "4\t5");
  EXPECT_EQ(WrittenValue<kIdxFlt6>({4, 0.5F}), "4\t5.000000E-01");
  EXPECT_EQ(WrittenValue<kIdxFlt15>({4, 0.5}), "4\t5.000000000000000E-01");
}

// The values at the limits of each type, and a few within. The argument only names the type.

std::vector<bool> SamplesOf(const bool* /*type*/) { return {true, false}; }

template <class T>
requires std::is_arithmetic_v<T> std::vector<T> SamplesOf(const T* /*type*/) {
  using Limits = std::numeric_limits<T>;
  return {T{},
          T{1},
          static_cast<T>(T{1} / 3),
          Limits::max(),
          Limits::lowest(),
          Limits::min(),
          Limits::denorm_min()};
}

std::vector<STRING> SamplesOf(const STRING* /*type*/) {
  return {"", " ", "\"", "\\", "\\\"", "a\\", "# {", "}", "\t\xB0\x01", std::string(400, '"')};
}

template <class T>
std::vector<COMPLEX<T>> SamplesOf(const COMPLEX<T>* /*type*/) {
  std::vector<COMPLEX<T>> all;
  for (const T part : SamplesOf(static_cast<const T*>(nullptr))) all.push_back({T{1}, part});
  return all;
}

template <class Pair>
requires requires(const Pair& pair) { pair.Second(); }
std::vector<Pair> SamplesOf(const Pair* /*type*/) {
  using Part = std::remove_cvref_t<decltype(std::declval<Pair>().Second())>;
  std::vector<Pair> all;
  for (const Part& part : SamplesOf(static_cast<const Part*>(nullptr))) all.push_back({{}, part});
  return all;
}

template <class T>
std::vector<ARRAY<T>> SamplesOf(const ARRAY<T>* /*type*/) {
  const auto elements = SamplesOf(static_cast<const T*>(nullptr));
  std::vector<ARRAY<T>> all;
  for (const int first :
       {std::numeric_limits<int>::min(), -3, 0, 1,
        std::numeric_limits<int>::max() - static_cast<int>(elements.size()) + 1}) {
    all.emplace_back(RANGE<int>(first, static_cast<int>(elements.size())));
    std::copy(elements.begin(), elements.end(), all.back().Elements().begin());
  }
  all.emplace_back(RANGE<int>(5, 0));
  return all;
}
template <class T>
std::vector<MATRIX<T>> SamplesOf(const MATRIX<T>* /*type*/) {
  const auto elements = SamplesOf(static_cast<const T*>(nullptr));
  const int count = static_cast<int>(elements.size());
  std::vector<MATRIX<T>> all;
  for (const RANGE<int>& rows : {RANGE<int>(-1, 2), RANGE<int>(7, 0)}) {
    all.emplace_back(rows, RANGE<int>(1, count));
    for (std::size_t i = 0; i < all.back().Elements().size(); ++i) {
      all.back().Elements()[i] = elements[i % elements.size()];
    }
  }
  return all;
}

// Adds every sample of every type, updates, reads with a fresh pool and compares; a second update
// with what was read changes no byte.
template <class Value>
void ExpectRoundTrip() {
  constexpr ValueType kType = quellmark::pool::kTypeOf<Value>;
  SCOPED_TRACE(TypeName(kType));
  const ScopedLog log;
  const TempDir dir;
  const std::vector<Value> samples = SamplesOf(static_cast<const Value*>(nullptr));
  const auto key = [](std::size_t i) { return "key_" + std::to_string(i); };
  PARAMETER_POOL_READ_WRITE_CHANGE writer(dir / "p");
  for (std::size_t i = 0; i < samples.size(); ++i) writer.Add<kType>(key(i), samples[i]);
  writer.Close();
  const std::string text = ReadFile(dir / "p");

  PARAMETER_POOL_READ_WRITE_CHANGE again(dir / "p");
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const AnyValue read = ReadAny(again, kType, key(i));
    EXPECT_TRUE(SameAny(AnyValue(samples[i]), read)) << "sample " << i << " of\n" << text;
    SetAny(again, key(i), read);
  }
  again.Close();
  EXPECT_EQ(ReadFile(dir / "p"), text);
}

TEST(PoolWrite, RoundTripOfAllTypes) {
  using quellmark::pool::NoValue;
  const auto expect = []<class Value>(const Value* /*type*/) {
    if constexpr (!std::is_same_v<Value, NoValue>) ExpectRoundTrip<Value>();
  };
#define QM_VALUE_TYPE(id, name, ...) expect(static_cast<const __VA_ARGS__*>(nullptr));
#include "pool/value_types.inc"
#undef QM_VALUE_TYPE
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
  EXPECT_TRUE(SameAny(AnyValue(values), ReadAny(pool, ValueType::kFlt15V, "v")));
}

TEST(PoolWrite, RefusesWhatCouldNotBeReadBack) {
  const ScopedLog log;
  const TempDir dir;
  PARAMETER_POOL_READ_WRITE_CHANGE pool(dir / "p");
  const auto prefix = [](const std::string& key) {
    return "parameter pool: parameter key >> " + key;
  };
  for (const std::string& key :
       {std::string(), std::string("#k"), std::string("a b"), std::string("a\tb"),
        std::string("a\nb"), std::string("a\rb"), std::string("a\0b", 3)}) {
    EXPECT_FAILS(pool.Set<ValueType::kBol>(key, true), INVALID_PARAMETER_VALUE,
                 prefix(key) + " << no correct key\n");
  }
  const std::string long_key(101, 'k');
  EXPECT_FAILS(pool.Set<ValueType::kBol>(long_key, true), PARAMETER_KEY_TOO_LONG,
               prefix(long_key) + " << key too long\n");
  for (const std::string& text : {std::string("a\nb"), std::string("\r"), std::string(1, '\0')}) {
    EXPECT_FAILS(pool.Set<ValueType::kStrV>("k", ARRAY<STRING>(1, {"", text})),
                 INVALID_PARAMETER_VALUE, prefix("k") + " << line end in STRING\n");
    EXPECT_FAILS(pool.Set<ValueType::kBol>("k", true, {text}), INVALID_PARAMETER_VALUE,
                 prefix("k") + " << line end in comment\n");
  }
  // The line of the longest text takes 1023 characters and its end.
  pool.Set<ValueType::kStr>("longest", std::string(1023 - 49 - 2, 'x'));
  EXPECT_FAILS(pool.Set<ValueType::kStr>("k", std::string(1024 - 49 - 2, 'x')),
               INVALID_PARAMETER_VALUE, prefix("k") + " << line too long\n");
  EXPECT_FAILS(pool.Set<ValueType::kBol>("k", true, {std::string(1023, 'x')}),
               INVALID_PARAMETER_VALUE, prefix("k") + " << line too long\n");
  const float nan = std::nanf("");
  EXPECT_FAILS(pool.Set<ValueType::kFlt6>("k", nan), INVALID_PARAMETER_VALUE,
               prefix("k") + " << value is not finite\n");
  EXPECT_FAILS(pool.Set<ValueType::kCpl6>("k", {0.0F, nan}), INVALID_PARAMETER_VALUE,
               prefix("k") + " << value is not finite\n");
  EXPECT_FAILS(pool.Set<ValueType::kIdxFlt15V>("k", {1, {{1, HUGE_VAL}}}), INVALID_PARAMETER_VALUE,
               prefix("k") + " << value is not finite\n");
  EXPECT_FAILS(pool.Set<ValueType::kUnknown>("k", {}), WRONG_PARAMETER_TYPE,
               prefix("k") + " << type UNKNOWN can not be written\n");
  pool.Update();
  EXPECT_EQ(pool.Read<ValueType::kStr>("longest").Length(), 1023U - 49 - 2);
  EXPECT_FALSE(pool.Has("k"));
}

}  // namespace
