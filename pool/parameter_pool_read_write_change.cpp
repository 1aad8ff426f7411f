#include "pool/parameter_pool_read_write_change.h"

#include <new>

#include "basic/errors.h"
#include "pool/entry_text.h"
#include "pool/pool_update.h"

using namespace quellmark::pool;
using quellmark::runtime::Fail;
using quellmark::runtime::LogLine;

PARAMETER_POOL_READ_WRITE_CHANGE::PARAMETER_POOL_READ_WRITE_CHANGE(const std::string& path) {
  Open(path);
  if (!IsWritable()) Fail<CAN_NOT_OPEN_POOL>("can not open pool file for update ", path, "\n");
  LogLine(LogLevel::kDebug, "construct pool_rwc: ", path, "\n");
}

PARAMETER_POOL_READ_WRITE_CHANGE::~PARAMETER_POOL_READ_WRITE_CHANGE() {
  if (update_failed_) return;  // the caller already knows of the failure
  try {
    PARAMETER_POOL_READ_WRITE_CHANGE::Close();
  } catch (const ERROR_EXCEPTION&) {
    // The failure was logged before it was thrown.
  } catch (...) {
    LogLine(LogLevel::kAlarm, "can not update parameter pool: ", Path(), "\n");
  }
}

void PARAMETER_POOL_READ_WRITE_CHANGE::AddValue(std::string_view key, const AnyValue& value,
                                                const std::vector<std::string>& comments) {
  if (pending_.Find(key) != nullptr) {
    Fail<PARAMETER_KEY_EXISTS>("parameter pool: parameter key >> ", key, " << already exists\n");
  }
  SetValue(key, value, comments);
}

void PARAMETER_POOL_READ_WRITE_CHANGE::SetValue(std::string_view key, const AnyValue& value,
                                                const std::vector<std::string>& comments) try {
  // Without a file, no update could ever write the entry, and it would be lost silently.
  RequireOpen();
  pending_.Set(std::string(key), EntryText(key, value, comments));
  update_failed_ = false;
} catch (const std::bad_alloc&) {
  Fail<ERROR_NO_MEMORY>("parameter pool: parameter key >> ", key, " << not enough memory\n");
}

bool PARAMETER_POOL_READ_WRITE_CHANGE::Remove(std::string_view key) { return pending_.Remove(key); }

void PARAMETER_POOL_READ_WRITE_CHANGE::LockForUpdate() {
  if (!IsOpen() || lock_.IsHeld()) return;
  lock_ = Lock(PoolLock::Kind::kExclusive);
  if (!lock_.IsHeld()) {
    update_failed_ = true;
    Fail<NO_UPDATE_PERMISSION_FOR_POOL>("no permission to change pool file: ", Path(), "\n");
  }
}

void PARAMETER_POOL_READ_WRITE_CHANGE::Update() {
  if (!IsOpen()) return;
  LockForUpdate();
  PoolUpdate update(Descriptor(), Path(), Directory());
  try {
    update.Run(pending_);
    update_failed_ = false;
    lock_.Release();
  } catch (...) {
    update_failed_ = true;
    lock_.Release();
    if (update.HasTouchedPool()) {
      pending_.Clear();
      PARAMETER_POOL::Close();
    }
    throw;
  }
  pending_.Clear();
}

void PARAMETER_POOL_READ_WRITE_CHANGE::Close() {
  try {
    if (!pending_.IsEmpty()) Update();
  } catch (...) {
    CloseFile();
    throw;
  }
  CloseFile();
}

void PARAMETER_POOL_READ_WRITE_CHANGE::CloseFile() {
  lock_.Release();
  PARAMETER_POOL::Close();
}
