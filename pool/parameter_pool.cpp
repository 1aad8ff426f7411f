#include "pool/parameter_pool.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "basic/errors.h"
#include "pool/value_reader.h"

using namespace quellmark::pool;
using quellmark::runtime::Fail;
using quellmark::runtime::LogLine;

namespace {

template <class Error, class... Pieces>
[[noreturn]] void FailFor(std::string_view key, const Pieces&... pieces) {
  Fail<Error>("parameter pool: parameter key >> ", key, pieces...);
}

bool IsDirectory(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

PARAMETER_POOL::PARAMETER_POOL() : wait_(std::make_shared<LockWait>()) {
  LogLine(LogLevel::kTrace, "init pool\n");
}

PARAMETER_POOL::~PARAMETER_POOL() = default;

int PARAMETER_POOL::Open(const std::string& path) { return OpenAs(path, OpenPoolFile); }

int PARAMETER_POOL::OpenForReading(const std::string& path) {
  return OpenAs(path, OpenPoolFileForReading);
}

int PARAMETER_POOL::OpenAs(const std::string& path, PoolFile (*open_file)(const std::string&)) {
  Close();
  if (IsDirectory(path)) {
    Fail<CAN_NOT_OPEN_POOL>("parameter file ", path, " is a directory!\n");
  }
  path_ = path;
  directory_ = DirectoryOf(path);
  file_ = open_file(path);
  if (!IsOpen()) Fail<CAN_NOT_OPEN_POOL>("can not open parameter file ", path, "\n");
  return Descriptor();
}

void PARAMETER_POOL::Close() { file_.fd.Reset(); }

bool PARAMETER_POOL::IsSameFileAs(const PARAMETER_POOL& other) const {
  struct stat mine {};
  struct stat others {};
  return ::fstat(Descriptor(), &mine) == 0 && ::fstat(other.Descriptor(), &others) == 0 &&
         mine.st_dev == others.st_dev && mine.st_ino == others.st_ino;
}

void PARAMETER_POOL::RequireOpen() const {
  if (!IsOpen()) Fail<ERROR_ALGORITHM>("No file pointer given for parameter pool\n");
}

PoolLock PARAMETER_POOL::Lock(PoolLock::Kind kind) {
  RequireOpen();
  return {Descriptor(), path_, kind, *wait_};
}

PoolLock PARAMETER_POOL::LockForReading() {
  PoolLock lock = Lock(PoolLock::Kind::kShared);
  if (!lock.IsHeld()) Fail<CAN_NOT_OPEN_POOL>("can not open parameter file ", path_, "\n");
  return lock;
}

bool PARAMETER_POOL::Find(std::string_view key, std::string_view& line) {
  RequireOpen();
  if (key.empty() || key.size() > kKeyLimit) return false;
  try {
    lines_.Rewind(Descriptor());
  } catch (const std::bad_alloc&) {
    FailFor<ERROR_NO_MEMORY>(key, " << not enough memory\n");
  }
  while (lines_.SkipTo(key) && lines_.Next(line)) {
    if (IsKeyLine(line) && KeyOf(line).size() == key.size()) return true;
  }
  if (lines_.Error() != 0) {
    FailFor<ERROR_CAN_NOT_READ_FILE>(key, " << ", std::strerror(lines_.Error()), "\n");
  }
  return false;
}

void PARAMETER_POOL::ExplainFailure() {
  const auto warn = [this](std::string_view fault) {
    LogLine(LogLevel::kWarning, "parameter file ", path_, fault);
  };
  if (file_.created) warn(" did not exist and was created empty\n");
  lines_.Rewind(Descriptor());
  std::string_view line;
  bool has_line = lines_.Next(line);
  if (has_line && line.starts_with("\xEF\xBB\xBF")) {
    warn(" begins with a byte-order mark, which belongs to its first word: save it without\n");
  }
  bool is_behind_cr = false;
  for (; has_line; has_line = lines_.Next(line)) {
    if (is_behind_cr && line == "\n") {
      warn(" has line ends CR LF, with which no vector or matrix can be read: save it with LF\n");
      return;
    }
    is_behind_cr = line.back() == '\r';
  }
}

void PARAMETER_POOL::Remember(std::string_view key) {
  if (keys_read_ == nullptr) return;
  try {
    keys_read_->emplace_back(key);
  } catch (const std::bad_alloc&) {  // only a warning may be lost
  }
}

void PARAMETER_POOL::WarnOfDoubleKeys(std::vector<std::string> keys) {
  if (!IsOpen()) return;
  std::sort(keys.begin(), keys.end());
  keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
  std::vector<int> counts(keys.size());
  lines_.Rewind(Descriptor());
  for (std::string_view line; lines_.Next(line);) {
    if (!IsKeyLine(line)) continue;
    const auto key = std::lower_bound(keys.begin(), keys.end(), KeyOf(line));
    if (key == keys.end() || *key != KeyOf(line)) continue;
    if (++counts[static_cast<std::size_t>(key - keys.begin())] == 2) {
      LogLine(LogLevel::kWarning, "parameter pool: parameter key >> ", *key,
              " << stands twice, the first entry counts\n");
    }
  }
}

std::string_view PARAMETER_POOL::FindType(std::string_view key, TokenCursor& cursor) {
  std::string_view line;
  if (!Find(key, line)) {
    LogLine(not_found_level_, "parameter pool: parameter key >> ", key, " << not found\n");
    if (not_found_level_ == LogLevel::kAlarm) ExplainFailure();  // else a missing key is expected
    throw PARAMETER_KEY_NOT_FOUND();
  }
  Remember(key);
  cursor = TokenCursor(line);
  static_cast<void>(cursor.Next());  // skips the whole key; KeyOf() may have cut it short
  const std::string_view name = cursor.Next();
  if (name.empty()) FailFor<ERROR_PARAMETER_POOL>(key, " << no type information found\n");
  return name;
}

bool PARAMETER_POOL::Has(std::string_view key) {
  std::string_view line;
  return Find(key, line);
}

ValueType PARAMETER_POOL::TypeOf(std::string_view key) {
  TokenCursor cursor{""};
  return TypeFromName(FindType(key, cursor));
}

template <quellmark::pool::ValueType kType>
PoolValue<kType> PARAMETER_POOL::Read(std::string_view key) {
  TokenCursor cursor{""};
  if (FindType(key, cursor) != TypeName(kType)) {
    FailFor<WRONG_PARAMETER_TYPE>(key, " << type ", TypeName(kType), " expected\n");
  }
  try {
    return ReadValue<PoolValue<kType>>(key, cursor, lines_);
  } catch (const ERROR_PARAMETER_POOL&) {
    ExplainFailure();
    throw;
  }
}

#define QM_VALUE_TYPE(id, name, ...) \
  template __VA_ARGS__ PARAMETER_POOL::Read<PARAMETER_POOL::ValueType::id>(std::string_view);
#include "pool/value_types.inc"
#undef QM_VALUE_TYPE

namespace quellmark::pool {

DoubleKeyCheck::DoubleKeyCheck(PARAMETER_POOL& pool) : pool_(pool) { pool.keys_read_ = &keys_; }

DoubleKeyCheck::~DoubleKeyCheck() {
  pool_.keys_read_ = nullptr;
  try {
    pool_.WarnOfDoubleKeys(std::move(keys_));
  } catch (...) {  // only a warning is lost
  }
}

}  // namespace quellmark::pool
