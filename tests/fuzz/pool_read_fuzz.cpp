// Takes any bytes as a pool, and reads every entry as its own type.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "basic/errors.h"
#include "tests/fuzz/fuzz.h"
#include "tests/pool/any_value.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = quellmark::test::TextOf(data, size);
  const quellmark::basic::UniqueFd memory(::memfd_create("pool", MFD_CLOEXEC));
  if (::write(memory.Get(), data, size) != static_cast<ssize_t>(size)) return 0;
  PARAMETER_POOL pool;
  pool.Open("/proc/self/fd/" + std::to_string(memory.Get()));
  for (const std::string& key : quellmark::test::KeysOf(text)) {
    try {
      static_cast<void>(quellmark::test::ReadAny(pool, pool.TypeOf(key), key));
    } catch (const ERROR_EXCEPTION&) {  // refused, with the reason in the log
    }
  }
  return 0;
}
