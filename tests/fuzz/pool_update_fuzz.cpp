// Takes any bytes as a pool and updates it. Unchanged parts must stay byte for byte, and values
// that are written back must read as the same again.
#include <cstdint>
#include <string>
#include <vector>

#include "basic/errors.h"
#include "tests/fuzz/fuzz.h"
#include "tests/pool/any_value.h"
#include "tests/support/files.h"

namespace {

using quellmark::pool::ValueType;
using quellmark::test::Check;
using quellmark::test::ReadAny;
using quellmark::test::ReadFile;
using quellmark::test::SetAny;
using quellmark::test::TempDir;

void AppendOne(PARAMETER_POOL_READ_WRITE_CHANGE& pool, std::string text) {
  const std::string key = "zz_new_key";
  if (pool.Has(key)) return;
  pool.Add<ValueType::kInt32>(key, 1);
  pool.Update();
  if (!text.empty() && text.back() != '\n' && text.back() != '\r') text += '\n';
  Check(ReadFile(pool.Path()) == text + key + std::string(23, ' ') + "INT_32          1\n\n");
}

// Sets every entry that can be read to its own value and returns the new text of the pool.
std::string WriteBackAll(PARAMETER_POOL_READ_WRITE_CHANGE& pool,
                         const std::vector<std::string>& keys) {
  for (const std::string& key : keys) {
    try {
      SetAny(pool, key, ReadAny(pool, pool.TypeOf(key), key));
    } catch (const ERROR_EXCEPTION&) {  // some entries cannot be read, some cannot be written
    }
  }
  pool.Update();
  return ReadFile(pool.Path());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const TempDir directory;
  const std::string text(quellmark::test::TextOf(data, size));
  quellmark::test::WriteFile(directory / "pool", text);
  PARAMETER_POOL_READ_WRITE_CHANGE pool(directory / "pool");
  AppendOne(pool, text);
  // Written values read as the same values, so writing them a second time changes nothing.
  const std::vector<std::string> keys = quellmark::test::KeysOf(text);
  const std::string written = WriteBackAll(pool, keys);
  Check(WriteBackAll(pool, keys) == written);
  return 0;
}
