// A pool whose entries can be added and changed.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "pool/parameter_pool.h"
#include "pool/pool_item.h"

/// Reads from the pool file as PARAMETER_POOL does; what is added waits in a list, invisible to the
/// reading operations, until an update writes it into the file.
class PARAMETER_POOL_READ_WRITE_CHANGE : public PARAMETER_POOL {
 public:
  /// Opens the pool. Throws CAN_NOT_OPEN_POOL also when the file can not be opened for update.
  explicit PARAMETER_POOL_READ_WRITE_CHANGE(const std::string& path);
  /// Writes back as Close() does, but logs instead of throwing. An update that has failed is not
  /// tried again unless something was added since.
  ~PARAMETER_POOL_READ_WRITE_CHANGE() override;

  /// Puts an entry on the list: at the update it replaces the entry of the same key in the file, or
  /// is appended. `comments` are written above it, one line each. Throws PARAMETER_KEY_EXISTS when
  /// the key is pending already, PARAMETER_KEY_TOO_LONG for a key over 100 characters,
  /// INVALID_PARAMETER_VALUE for what could not be read back, ERROR_ALGORITHM for a closed pool.
  template <ValueType kType>
  void Add(std::string_view key, quellmark::pool::PoolValue<kType> value,
           const std::vector<std::string>& comments = {}) {
    AddValue(key, AnyValueOf<kType>(std::move(value)), comments);
  }

  /// As Add(), but a pending entry of the same key is replaced where it stands in the list.
  template <ValueType kType>
  void Set(std::string_view key, quellmark::pool::PoolValue<kType> value,
           const std::vector<std::string>& comments = {}) {
    SetValue(key, AnyValueOf<kType>(std::move(value)), comments);
  }

  /// Takes a pending entry off the list; the file is not touched. False if the key is not pending.
  bool Remove(std::string_view key);

  /// Keeps other programs that take turns away from the file until Update() or Close(), so that
  /// what is read from now on is what the update meets. Does nothing if that is so already, or
  /// without an open file. Throws NO_UPDATE_PERMISSION_FOR_POOL when the wait is used up; the pool
  /// then counts as one whose update has failed.
  void LockForUpdate();

  /// Writes the list into the file and empties it; does nothing without an open file. A failure
  /// before the file is touched keeps the list for another try; one that may leave the file
  /// incomplete closes the pool, so that the complete copy named in the log stays the last word.
  /// Throws NO_UPDATE_PERMISSION_FOR_POOL, CORRUPTED_PARAMETER_POOL, ERROR_I_O or
  /// ERROR_PARAMETER_POOL.
  void Update();

  /// Updates if anything is pending, and closes the file, also when the update throws.
  void Close() override;

 private:
  using PARAMETER_POOL::Open;  // another file would get what is pending for this one

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
  bool update_failed_ = false;  ///< the last one, and nothing was added since
};
