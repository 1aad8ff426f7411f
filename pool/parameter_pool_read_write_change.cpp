#include "pool/parameter_pool_read_write_change.h"

#include <utility>

#include "basic/errors.h"
#include "pool/item_writer.h"
#include "pool/pool_update.h"

using quellmark::pool::PoolLock;
using quellmark::runtime::Fail;
using quellmark::runtime::LogLine;

PARAMETER_POOL_READ_WRITE_CHANGE::PARAMETER_POOL_READ_WRITE_CHANGE(const std::string& path) {
  Open(path);
  if (!IsWritable()) Fail<CAN_NOT_OPEN_POOL>("can not open pool file for update ", path, "\n");
  LogLine(LogLevel::kDebug, "construct pool_rwc: ", path, "\n");
}

PARAMETER_POOL_READ_WRITE_CHANGE::~PARAMETER_POOL_READ_WRITE_CHANGE() {
  if (update_failed_) return;  // the caller was told that the file has not changed
  try {
    PARAMETER_POOL_READ_WRITE_CHANGE::Close();
  } catch (const ERROR_EXCEPTION&) {
    // The log has said what happened.
  } catch (...) {
    LogLine(LogLevel::kAlarm, "can not update parameter pool: ", Path(), "\n");
  }
}

void PARAMETER_POOL_READ_WRITE_CHANGE::AddItem(PARAMETER_POOL_ITEM item) {
  if (pending_.Find(item.key) != pending_.end()) {
    Fail<PARAMETER_KEY_EXISTS>("parameter pool: parameter key >> ", item.key,
                               " << already exists\n");
  }
  SetItem(std::move(item));
}

void PARAMETER_POOL_READ_WRITE_CHANGE::SetItem(PARAMETER_POOL_ITEM item) {
  // What no update could write would be lost in silence.
  if (!IsOpen()) Fail<ERROR_ALGORITHM>("No file pointer given for parameter pool\n");
  quellmark::pool::CheckItem(item);
  const auto found = pending_.Find(item.key);
  if (found != pending_.end()) {
    *found = std::move(item);
  } else {
    pending_.Append(std::move(item));
  }
  update_failed_ = false;
}

bool PARAMETER_POOL_READ_WRITE_CHANGE::Remove(std::string_view key) {
  const auto found = pending_.Find(key);
  if (found == pending_.end()) return false;
  pending_.Remove(found);
  return true;
}

void PARAMETER_POOL_READ_WRITE_CHANGE::LockForUpdate() {
  if (!IsOpen() || lock_.IsHeld()) return;
  lock_ = Lock(PoolLock::Kind::kExclusive);
  update_failed_ = !lock_.IsHeld();
  if (update_failed_) {
    Fail<NO_UPDATE_PERMISSION_FOR_POOL>("no permission to change pool file: ", Path(), "\n");
  }
}

void PARAMETER_POOL_READ_WRITE_CHANGE::Update() {
  if (!IsOpen()) return;
  LockForUpdate();
  quellmark::pool::PoolUpdate update(Descriptor(), Path(), Directory());
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
