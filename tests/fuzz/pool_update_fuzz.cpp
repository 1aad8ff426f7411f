// Any bytes as a pool that is updated: what is not changed stays byte for byte, and what was read
// and is written back reads as the same value again.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "basic/errors.h"
#include "tests/pool/any_value.h"

namespace {

using quellmark::pool::AnyValue;
using quellmark::pool::ValueType;

void Check(bool holds) {
  if (!holds) std::abort();
}

// In memory where the system has such a place: the update flushes its files.
class Directory {
 public:
  Directory() {
    const std::filesystem::path memory = "/dev/shm";
    path_ = (std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path()) /
            ("pool_update_fuzz." + std::to_string(::getpid()));
    std::filesystem::create_directory(path_);
  }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;
  ~Directory() { std::filesystem::remove_all(path_); }
  [[nodiscard]] std::string Pool() const { return path_ / "pool"; }

 private:
  std::filesystem::path path_;
};

std::string ReadFile(const std::string& path) {
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  return content.str();
}

void AppendOne(PARAMETER_POOL_READ_WRITE_CHANGE& pool, std::string text) {
  const std::string key = "zz_new_key";
  if (pool.Has(key)) return;
  pool.Add<ValueType::kInt32>(key, 1);
  pool.Update();
  if (!text.empty() && text.back() != '\n' && text.back() != '\r') text += '\n';
  Check(ReadFile(pool.Path()) == text + key + std::string(23, ' ') + "INT_32          1\n\n");
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
  static const Directory directory;
  LOG& log = quellmark::runtime::Log();
  log.SetScreenThreshold(LOG::Level::kSilent);
  log.SetFileThreshold(LOG::Level::kSilent);
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::ofstream(directory.Pool(), std::ios::binary) << text;
  PARAMETER_POOL_READ_WRITE_CHANGE pool(directory.Pool());
  AppendOne(pool, text);
  WriteBackAll(pool, quellmark::test::KeysOf(text));
  return 0;
}
