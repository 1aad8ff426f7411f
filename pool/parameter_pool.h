// Reads typed values from a parameter pool file by their keys.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "pool/line_reader.h"
#include "pool/pool_file.h"
#include "pool/pool_lock.h"
#include "pool/value_type.h"
#include "runtime/log.h"

/// A pool file that is open for reading. Every access scans the file from its start: the first
/// entry of a key is the one that counts, and what others have written meanwhile is seen. A pool
/// belongs to one thread. Failures are logged, then thrown as the classes below
/// ERROR_PARAMETER_POOL.
class PARAMETER_POOL {
 public:
  using ValueType = quellmark::pool::ValueType;
  using LogLevel = quellmark::runtime::LogLevel;

  PARAMETER_POOL();
  PARAMETER_POOL(const PARAMETER_POOL&) = delete;
  PARAMETER_POOL& operator=(const PARAMETER_POOL&) = delete;
  virtual ~PARAMETER_POOL();

  /// Opens the file for reading and writing, creates it empty if there is none, or opens it for
  /// reading alone. Gives the file descriptor, which stays the pool's. Throws CAN_NOT_OPEN_POOL for
  /// a directory, for anything else that is no regular file, and for what can not be opened.
  int Open(const std::string& path);
  /// As Open(), but strictly for reading: a file that does not exist is not created, and one that
  /// could be opened for update is not.
  int OpenForReading(const std::string& path);
  virtual void Close();

  [[nodiscard]] bool IsOpen() const { return file_.fd.IsOpen(); }
  /// Whether the file could be opened for update.
  [[nodiscard]] bool IsWritable() const { return file_.writable; }
  /// Whether both pools have the same file open, by whatever paths.
  [[nodiscard]] bool IsSameFileAs(const PARAMETER_POOL& other) const;

  /// Keeps updates by others away until the lock ends, so that what is read meanwhile is one state
  /// of the pool. Throws CAN_NOT_OPEN_POOL when the wait is used up, ERROR_ALGORITHM for a closed
  /// pool. Must not be called while the file is locked for update.
  [[nodiscard]] quellmark::pool::PoolLock LockForReading();
  /// Replaces the pool's own wait by one that several pools share.
  void ShareWait(std::shared_ptr<quellmark::pool::LockWait> wait) { wait_ = std::move(wait); }
  /// "xxx.dat" until a file is opened.
  [[nodiscard]] const std::string& Path() const { return path_; }
  /// The directory part of the path.
  [[nodiscard]] const std::string& Directory() const { return directory_; }

  /// Whether the file has an entry of this key; logs nothing about it.
  [[nodiscard]] bool Has(std::string_view key);
  /// The type of the entry, kUnknown for a type name that is none. Throws PARAMETER_KEY_NOT_FOUND,
  /// or ERROR_PARAMETER_POOL for an entry without a type.
  [[nodiscard]] ValueType TypeOf(std::string_view key);
  /// The value of the entry. Throws also WRONG_PARAMETER_TYPE, and what is wrong with the value:
  /// INVALID_PARAMETER_VALUE, PARAMETER_OUT_OF_BOUNDS, ERROR_PARAMETER_POOL (the structure of a
  /// body), ERROR_NO_MEMORY. Asking for kUnknown always fails as a wrong type.
  template <ValueType kType>
  [[nodiscard]] quellmark::pool::PoolValue<kType> Read(std::string_view key);

  /// The level at which a missing key is reported; kAlarm unless lowered.
  [[nodiscard]] LogLevel NotFoundLevel() const { return not_found_level_; }
  void SetNotFoundLevel(LogLevel level) { not_found_level_ = level; }

  /// Kept for the caller; the pool itself makes no use of it.
  [[nodiscard]] int CallerSetting() const { return caller_setting_; }
  void SetCallerSetting(int setting) { caller_setting_ = setting; }

 protected:
  /// Throws ERROR_ALGORITHM for a closed pool.
  void RequireOpen() const;
  [[nodiscard]] int Descriptor() const { return file_.fd.Get(); }
  /// Waits for the lock, which is not held afterwards if the wait is used up.
  [[nodiscard]] quellmark::pool::PoolLock Lock(quellmark::pool::PoolLock::Kind kind);

 private:
  int OpenAs(const std::string& path,
             quellmark::pool::PoolFile (*open_file)(const std::string& path));
  // Scans the file for the key line; afterwards the reader stands behind it.
  [[nodiscard]] bool Find(std::string_view key, std::string_view& line);
  // The same from where the reader stands.
  [[nodiscard]] bool FindNext(std::string_view key, std::string_view& line);
  // Warns of what is wrong with the file as a whole and may be why an entry can not be read.
  void ExplainFailure();
  // Finds the entry and gives its type name, with the cursor behind it.
  [[nodiscard]] std::string_view FindType(std::string_view key,
                                          quellmark::pool::TokenCursor& cursor);

  std::string path_ = "xxx.dat";
  std::string directory_;
  quellmark::pool::PoolFile file_;
  std::shared_ptr<quellmark::pool::LockWait> wait_;
  quellmark::pool::LineReader lines_;
  LogLevel not_found_level_ = LogLevel::kAlarm;
  int caller_setting_ = 1;
};
