// Reads typed values from a parameter pool file by their keys.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pool/line_reader.h"
#include "pool/pool_file.h"
#include "pool/pool_lock.h"
#include "pool/value_type.h"
#include "runtime/log.h"

namespace quellmark::pool {
class DoubleKeyCheck;
}  // namespace quellmark::pool

/// A pool file that is open for reading. Every access scans the file from its start, so it sees
/// what others have written meanwhile. If a key occurs twice, the first entry counts. A pool
/// belongs to one thread. Failures are logged, then thrown as classes derived from
/// ERROR_PARAMETER_POOL.
class PARAMETER_POOL {
 public:
  using ValueType = quellmark::pool::ValueType;
  using LogLevel = quellmark::runtime::LogLevel;

  PARAMETER_POOL();
  PARAMETER_POOL(const PARAMETER_POOL&) = delete;
  PARAMETER_POOL& operator=(const PARAMETER_POOL&) = delete;
  virtual ~PARAMETER_POOL();

  /// Opens the file for reading and writing, and creates it empty if there is none. A file that
  /// cannot be written is opened for reading only. Returns the file descriptor, which the pool
  /// keeps and closes. Throws CAN_NOT_OPEN_POOL if the path is not a regular file or cannot be
  /// opened.
  int Open(const std::string& path);
  /// Opens the file for reading only, even if it could be written. Does not create a file.
  int OpenForReading(const std::string& path);
  virtual void Close();

  [[nodiscard]] bool IsOpen() const { return file_.fd.IsOpen(); }
  /// Whether the file could be opened for update.
  [[nodiscard]] bool IsWritable() const { return file_.writable; }
  /// Whether both pools have the same file open, even by different paths.
  [[nodiscard]] bool IsSameFileAs(const PARAMETER_POOL& other) const;

  /// Prevents updates by other programs while the lock exists, so that all reads meanwhile see one
  /// state of the pool. Throws CAN_NOT_OPEN_POOL when the waiting time is used up, ERROR_ALGORITHM
  /// for a closed pool. Must not be called while the file is locked for update.
  [[nodiscard]] quellmark::pool::PoolLock LockForReading();
  /// Replaces the pool's own waiting time by one that several pools share.
  void ShareWait(std::shared_ptr<quellmark::pool::LockWait> wait) { wait_ = std::move(wait); }
  /// "xxx.dat" until a file is opened.
  [[nodiscard]] const std::string& Path() const { return path_; }
  /// The directory part of the path.
  [[nodiscard]] const std::string& Directory() const { return directory_; }

  /// Whether the file has an entry of this key; logs nothing about it.
  [[nodiscard]] bool Has(std::string_view key);
  /// The type of the entry, or kUnknown if its type name is unknown. Throws
  /// PARAMETER_KEY_NOT_FOUND, or ERROR_PARAMETER_POOL for an entry without a type.
  [[nodiscard]] ValueType TypeOf(std::string_view key);
  /// The value of the entry. Throws PARAMETER_KEY_NOT_FOUND, WRONG_PARAMETER_TYPE and, for faulty
  /// values, INVALID_PARAMETER_VALUE, PARAMETER_OUT_OF_BOUNDS, ERROR_PARAMETER_POOL (the structure
  /// of a body) or ERROR_NO_MEMORY. Reading kUnknown always throws WRONG_PARAMETER_TYPE.
  template <ValueType kType>
  [[nodiscard]] quellmark::pool::PoolValue<kType> Read(std::string_view key);

  /// The log level for a missing key, by default kAlarm.
  [[nodiscard]] LogLevel NotFoundLevel() const { return not_found_level_; }
  void SetNotFoundLevel(LogLevel level) { not_found_level_ = level; }

  /// A number that is stored for the caller. The pool itself does not use it.
  [[nodiscard]] int CallerSetting() const { return caller_setting_; }
  void SetCallerSetting(int setting) { caller_setting_ = setting; }

 protected:
  /// Throws ERROR_ALGORITHM for a closed pool.
  void RequireOpen() const;
  [[nodiscard]] int Descriptor() const { return file_.fd.Get(); }
  /// Waits for the lock. The result is not held if the waiting time is used up.
  [[nodiscard]] quellmark::pool::PoolLock Lock(quellmark::pool::PoolLock::Kind kind);

 private:
  friend class quellmark::pool::DoubleKeyCheck;

  int OpenAs(const std::string& path,
             quellmark::pool::PoolFile (*open_file)(const std::string& path));
  // Scans the file for the key line, and leaves the reader after it.
  [[nodiscard]] bool Find(std::string_view key, std::string_view& line);
  // Records that a key was read, for the present DoubleKeyCheck.
  void Remember(std::string_view key);
  // Logs a warning for each of the keys that occurs more than once.
  void WarnOfDoubleKeys(std::vector<std::string> keys);
  // Logs a warning if a fault of the file as a whole may be the reason that an entry cannot be
  // read.
  void ExplainFailure();
  // Finds the entry and returns its type name, with the cursor after it.
  [[nodiscard]] std::string_view FindType(std::string_view key,
                                          quellmark::pool::TokenCursor& cursor);

  std::string path_ = "xxx.dat";
  std::string directory_;
  quellmark::pool::PoolFile file_;
  std::shared_ptr<quellmark::pool::LockWait> wait_;
  quellmark::pool::LineReader lines_;
  LogLevel not_found_level_ = LogLevel::kAlarm;
  int caller_setting_ = 1;
  std::vector<std::string>* keys_read_ = nullptr;  ///< of the present DoubleKeyCheck, if any
};

namespace quellmark::pool {

/// Remembers the keys that are read from a pool while it exists. At its end it logs a warning for
/// each of them that occurs twice in the file. One scan checks all keys: if every look-up scanned
/// the file to its end, pools with very many state vectors would take twice the time.
class DoubleKeyCheck {
 public:
  /// The pool must outlive it. A pool has at most one check at a time.
  explicit DoubleKeyCheck(PARAMETER_POOL& pool);
  DoubleKeyCheck(const DoubleKeyCheck&) = delete;
  DoubleKeyCheck& operator=(const DoubleKeyCheck&) = delete;
  ~DoubleKeyCheck();

 private:
  PARAMETER_POOL& pool_;
  std::vector<std::string> keys_;
};

}  // namespace quellmark::pool
