// The table of a batch run, with one row for each scene that has ended.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace quellmark::batch {

enum class SceneStatus {
  kLocated,     ///< its pool has the results
  kFailed,      ///< because of its content, so it would fail again
  kUnfinished,  ///< killed from outside, or the disk was full
};

/// The row of a scene that has ended.
struct SummaryRow {
  std::string scene;  ///< absolute path of its pool
  SceneStatus status = SceneStatus::kUnfinished;
  double seconds = 0.0;               ///< duration of its last attempt
  std::string first_error;            ///< empty if it was located
  int attempts = 0;                   ///< 0 if the step was not started for it
  std::int64_t pool_bytes = 0;        ///< size of its pool after the run
  std::int64_t pool_modified_ns = 0;  ///< time of its pool's last change, since 1970
  std::string software;               ///< what the step recorded in its log pool, one name per line
};

/// The size of a pool and the time of its last change.
struct PoolState {
  std::int64_t bytes = -1;  ///< -1 if there is no such regular file
  std::int64_t modified_ns = 0;
};
[[nodiscard]] PoolState StateOf(const std::string& path);

/// Flushes the written file `beside` to the disk and renames it to `path`. Throws
/// std::runtime_error.
void PutInPlace(const std::string& beside, const std::string& path);

using TakeRow = std::function<void(const SummaryRow&)>;

/// Passes the rows of a summary to `take`. Ignores a last row without line end, which a kill may
/// leave. Throws std::runtime_error for a file that is no summary.
void ForEachRow(const std::string& path, const TakeRow& take);

/// A lock on a file, which it creates and removes.
class FileLock {
 public:
  /// Waits for the lock for at most `patience`. Throws std::runtime_error, with the text `held` if
  /// another process still has the lock then.
  FileLock(std::string path, std::chrono::seconds patience, const std::string& held);
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock();

  /// A process that inherits this descriptor also has the lock until it ends.
  [[nodiscard]] int Descriptor() const { return fd_; }

 private:
  void Lock(std::chrono::seconds patience, const std::string& held) const;

  std::string path_;
  int fd_ = -1;
};

/// A summary file that is written row by row. While it is open, no other process can open it.
class Summary {
 public:
  /// Creates the file if it is missing, and locks it. Throws std::runtime_error if another process
  /// has the lock or the file cannot be opened.
  explicit Summary(std::string path);
  Summary(const Summary&) = delete;
  Summary& operator=(const Summary&) = delete;
  ~Summary();

  [[nodiscard]] const std::string& Path() const { return path_; }
  /// Replaces all rows by those that `fill` passes on. The new rows appear in one step, so every
  /// reader, including `fill`, sees the old rows until then. This is also true after a power cut.
  void Replace(const std::function<void(const TakeRow&)>& fill);
  /// Adds a row with one write; throws std::runtime_error if that fails.
  void Append(const SummaryRow& row);

 private:
  void Open();
  void WriteAll(std::string_view text) const;

  std::string path_;
  FileLock lock_;
  int fd_ = -1;
};

}  // namespace quellmark::batch
