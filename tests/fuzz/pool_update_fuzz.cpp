// Any bytes as a pool that is updated: what is not changed stays byte for byte, and what was read
// and is written back reads as the same value again.
#include <cstdint>
#include <map>
#include <string>

#include "basic/errors.h"
#include "tests/fuzz/fuzz.h"
#include "tests/pool/any_value.h"
#include "tests/support/files.h"

namespace {

using quellmark::pool::AnyValue;
using quellmark::pool::ValueType;
using quellmark::test::Check;
using quellmark::test::TempDir;

void AppendOne(PARAMETER_POOL_READ_WRITE_CHANGE& pool, std::string text) {
  const std::string key = "zz_new_key";
  if (pool.Has(key)) return;
  pool.Add<ValueType::kInt32>(key, 1);
  pool.Update();
  if (!text.empty() && text.back() != '\n' && text.back() != '\r') text += '\n';
  Check(quellmark::test::ReadFile(pool.Path()) ==
        text + key + std::string(23, ' ') + "INT_32          1\n\n");
}

void WriteBackAll(PARAMETER_POOL_READ_WRITE_CHANGE& pool, const std::vector<std::string>& keys) {
  std::map<std::string, AnyValue> written;
  for (const std::string& key : keys) {
    try {
      const AnyValue value = quellmark::test::ReadAny(pool, pool.TypeOf(key), key);
      quellmark::test::SetAny(pool, key, value);
      written[key] = value;
    } catch (const ERROR_EXCEPTION&) {  // neither readable nor, sometimes, writable
    }
  }
  pool.Update();
  for (const auto& [key, value] : written) {
    Check(quellmark::test::SameAny(
        value, quellmark::test::ReadAny(pool, static_cast<ValueType>(value.index()), key)));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const TempDir directory;
  const std::string text(quellmark::test::TextOf(data, size));
  quellmark::test::WriteFile(directory / "pool", text);
  PARAMETER_POOL_READ_WRITE_CHANGE pool(directory / "pool");
  AppendOne(pool, text);
  WriteBackAll(pool, quellmark::test::KeysOf(text));
  return 0;
}
