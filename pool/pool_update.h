// The pass that writes pending entries into a pool file.
#pragma once

#include <string>

#include "basic/unique_fd.h"
#include "pool/pool_item.h"

namespace quellmark::pool {

/// Merges pending entries into a fresh copy of the pool, writes the copy back into the pool's file
/// (same inode, owner and permissions) and deletes it. The caller keeps other updates away.
///
/// At every moment either the pool holds its old or its new content whole, or the copy beside it
/// holds the new content whole; a failure leaves such a copy in place and names it in the log. That
/// also holds for what a crash of the machine leaves on the disk, for which three flushes are
/// needed:
/// - the copy's, before the pool is touched: otherwise the disk may have the emptied pool, but not
///   yet the bytes of the copy;
/// - its directory's, before the pool is touched: otherwise those bytes may belong to a file
/// without
///   a name, which is gone after the crash;
/// - the pool's, before the copy is deleted: otherwise the disk may have lost the copy's name, but
///   not yet got the bytes of the pool.
/// The deletion itself is not flushed: a copy that comes back does no harm.
///
/// Signals are held back meanwhile: one would leave a pool behind that is cut off, or a copy that
/// nobody needs.
class PoolUpdate {
 public:
  /// `fd` is open for reading and writing; the references must outlive the update.
  PoolUpdate(int fd, const std::string& path, const std::string& directory)
      : fd_(fd), path_(path), directory_(directory) {}

  /// Throws NO_UPDATE_PERMISSION_FOR_POOL, CORRUPTED_PARAMETER_POOL, ERROR_I_O,
  /// ERROR_PARAMETER_POOL or, before anything is done, ERROR_NO_MEMORY.
  void Run(PARAMETER_POOL_LIST& pending);

  /// Whether the pool's file was touched: after a failure it may then be incomplete.
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
