// The pass that writes pending entries into a pool file.
#pragma once

#include <string>

#include "basic/unique_fd.h"
#include "pool/pool_item.h"

namespace quellmark::pool {

/// Merges pending entries into a fresh copy of the pool, writes the copy back into the pool's file
/// (same inode, owner and permissions) and deletes it. The caller keeps other updates away.
///
/// At every moment the pool has its complete old content, or the pool has its complete new content,
/// or the copy beside it has the complete new content. A failure leaves such a copy in place and
/// names it in the log. The same is true of the disk after a crash of the machine. This requires
/// three flushes:
/// - of the copy, before the pool is touched: otherwise the disk may have the emptied pool, but not
///   yet the bytes of the copy;
/// - of the directory, before the pool is touched: otherwise those bytes may belong to a file
///   without a name, which is gone after the crash;
/// - of the pool, before the copy is deleted: otherwise the disk may have lost the name of the
///   copy, but not yet got the bytes of the pool.
/// The deletion is not flushed, because a copy that comes back after a crash does no harm.
///
/// Signals are held back during the update. Otherwise one could leave an incomplete pool, or a copy
/// that nobody needs.
class PoolUpdate {
 public:
  /// `fd` is open for reading and writing; the references must outlive the update.
  PoolUpdate(int fd, const std::string& path, const std::string& directory)
      : fd_(fd), path_(path), directory_(directory) {}

  /// Throws NO_UPDATE_PERMISSION_FOR_POOL, CORRUPTED_PARAMETER_POOL, ERROR_I_O,
  /// ERROR_PARAMETER_POOL or, before anything is done, ERROR_NO_MEMORY.
  void Run(PARAMETER_POOL_LIST& pending);

  /// Whether the pool's file was touched. If so, it may be incomplete after a failure.
  [[nodiscard]] bool HasTouchedPool() const { return touched_pool_; }

 private:
  void MakeCopy(PARAMETER_POOL_LIST& pending);
  void WriteBack();
  [[nodiscard]] bool Refill(int copy_fd);

  int fd_;
  const std::string& path_;
  const std::string& directory_;
  std::string copy_path_;
  bool touched_pool_ = false;
};

}  // namespace quellmark::pool
