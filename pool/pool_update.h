// The pass that writes pending entries into a pool file.
#pragma once

#include <string>

#include "pool/pool_item.h"

namespace quellmark::pool {

/// Merges `pending` into a fresh copy of the pool, flushes the copy to the disk, writes it back
/// into the pool's file (same inode, owner and permissions), flushes that and deletes the copy. At
/// every moment either the pool holds its old or its new content whole, or the copy beside it holds
/// the new content whole; a failure leaves such a copy in place and names it in the log. The caller
/// keeps other updates away.
class PoolUpdate {
 public:
  /// `fd` is open for reading and writing; the references must outlive the update.
  PoolUpdate(int fd, const std::string& path, const std::string& directory)
      : fd_(fd), path_(path), directory_(directory) {}

  /// Throws NO_UPDATE_PERMISSION_FOR_POOL, CORRUPTED_PARAMETER_POOL, ERROR_I_O or
  /// ERROR_PARAMETER_POOL.
  void Run(const PARAMETER_POOL_LIST& pending);

  /// Whether the pool's file was touched: after a failure it may then be incomplete.
  [[nodiscard]] bool HasTouchedPool() const { return touched_pool_; }

 private:
  void MakeCopy(const PARAMETER_POOL_LIST& pending);
  void WriteBack();
  [[noreturn]] void FailWritingBack();

  int fd_;
  const std::string& path_;
  const std::string& directory_;
  std::string copy_path_;
  bool touched_pool_ = false;
};

}  // namespace quellmark::pool
