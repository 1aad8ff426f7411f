// A pool whose entries can be added and changed.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "pool/parameter_pool.h"
#include "pool/pool_item.h"

/// Reads from the pool file as PARAMETER_POOL does. New entries are pending, and invisible to the
/// reading operations, until an update writes them into the file.
class PARAMETER_POOL_READ_WRITE_CHANGE : public PARAMETER_POOL {
 public:
  /// Opens the pool as Open() does, but throws CAN_NOT_OPEN_POOL also if the file cannot be
  /// written.
  explicit PARAMETER_POOL_READ_WRITE_CHANGE(const std::string& path);
  /// Does what Close() does, but logs instead of throwing. If the last update failed, it is
  /// repeated only if an entry was added since.
  ~PARAMETER_POOL_READ_WRITE_CHANGE() override;

  /// Adds a pending entry. The update puts it in the place of the entry of the same key in the
  /// file, or appends it. `comments` are written above it, one line each. Throws
  /// PARAMETER_KEY_EXISTS if the key is already pending, PARAMETER_KEY_TOO_LONG for a key over 100
  /// characters, INVALID_PARAMETER_VALUE for an entry that could not be read back, ERROR_ALGORITHM
  /// for a closed pool.
  template <ValueType kType>
  void Add(std::string_view key, quellmark::pool::PoolValue<kType> value,
           const std::vector<std::string>& comments = {}) {
    AddValue(key, AnyValueOf<kType>(std::move(value)), comments);
  }

  /// Does what Add() does, but replaces a pending entry of the same key.
  template <ValueType kType>
  void Set(std::string_view key, quellmark::pool::PoolValue<kType> value,
           const std::vector<std::string>& comments = {}) {
    SetValue(key, AnyValueOf<kType>(std::move(value)), comments);
  }

  /// Drops a pending entry; the file does not change. Returns false if the key is not pending.
  bool Remove(std::string_view key);

  /// Locks the file against other programs until Update() or Close(), so that it cannot change
  /// between reading and updating. Does nothing if it is already locked or not open. Throws
  /// NO_UPDATE_PERMISSION_FOR_POOL when the waiting time is used up; this counts as a failed
  /// update.
  void LockForUpdate();

  /// Writes the pending entries into the file, after which none is pending. Does nothing without an
  /// open file. After a failure before the file was touched, the entries are still pending and
  /// another try is possible. A failure that may leave the file incomplete closes the pool, because
  /// another update would start from the incomplete file; the log names the complete copy. Throws
  /// NO_UPDATE_PERMISSION_FOR_POOL, CORRUPTED_PARAMETER_POOL, ERROR_I_O or ERROR_PARAMETER_POOL.
  void Update();

  /// Updates if entries are pending, then closes the file, even if the update throws.
  void Close() override;

 private:
  using PARAMETER_POOL::Open;  // private: pending entries must not get into another file

  template <ValueType kType>
  static quellmark::pool::AnyValue AnyValueOf(quellmark::pool::PoolValue<kType> value) {
    return quellmark::pool::AnyValue(std::in_place_index<static_cast<std::size_t>(kType)>,
                                     std::move(value));
  }
  void AddValue(std::string_view key, const quellmark::pool::AnyValue& value,
                const std::vector<std::string>& comments);
  void SetValue(std::string_view key, const quellmark::pool::AnyValue& value,
                const std::vector<std::string>& comments);
  void CloseFile();

  PARAMETER_POOL_LIST pending_;
  quellmark::pool::PoolLock lock_;
  bool update_failed_ = false;  ///< the last update failed, and nothing was added since
};
