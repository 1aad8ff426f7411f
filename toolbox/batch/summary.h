// The table of a batch run: one row for each scene that has ended.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace quellmark::batch {

enum class SceneStatus {
  kLocated,     ///< the results stand in its pool
  kFailed,      ///< by its content: it would fail again
  kUnfinished,  ///< killed from outside, or without room on the disk
};

/// What is known of a scene that has ended.
struct SummaryRow {
  std::string scene;  ///< absolute path of its pool
  SceneStatus status = SceneStatus::kUnfinished;
  double seconds = 0.0;               ///< of its last attempt
  std::string first_error;            ///< empty if it was located
  int attempts = 0;                   ///< 0 if the step was not started for it
  std::int64_t pool_bytes = 0;        ///< of its pool, when it had ended
  std::int64_t pool_modified_ns = 0;  ///< since 1970
  std::string software;  ///< what the step recorded in the scene's log pool, one name a line
};

/// Size and time of a pool's last change.
struct PoolState {
  std::int64_t bytes = -1;  ///< -1: there is no such regular file
  std::int64_t modified_ns = 0;
};
[[nodiscard]] PoolState StateOf(const std::string& path);

/// Flushes a written file to its disk and gives it the name `path`. Throws std::runtime_error.
void PutInPlace(const std::string& beside, const std::string& path);

using TakeRow = std::function<void(const SummaryRow&)>;

/// Hands on the rows of a summary, one after the other. A last row without its line end, as a kill
/// leaves it, is left out. Throws std::runtime_error for a file that is no summary.
void ForEachRow(const std::string& path, const TakeRow& take);

/// A summary file that is written row by row. As long as it is open no other process opens it.
class Summary {
 public:
  /// Creates the file if it is missing and takes the lock on it. Throws std::runtime_error if
  /// another process has it, or it can not be opened.
  explicit Summary(std::string path);
  Summary(const Summary&) = delete;
  Summary& operator=(const Summary&) = delete;
  ~Summary();

  [[nodiscard]] const std::string& Path() const { return path_; }
  /// Replaces all rows by those that `fill` hands on, at once: whoever reads, `fill` too, sees the
  /// old ones until then, and so does a reader after a power cut.
  void Replace(const std::function<void(const TakeRow&)>& fill);
  /// Adds a row with one write; throws std::runtime_error if that fails.
  void Append(const SummaryRow& row);

 private:
  void Lock() const;
  void Open();
  void WriteAll(std::string_view text) const;

  std::string path_;
  int fd_ = -1;
  int lock_fd_ = -1;
};

}  // namespace quellmark::batch
