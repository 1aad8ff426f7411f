#pragma once

#include <string>

namespace quellmark::pool {

/// Holds a pool file locked against the updates of other processes. Steps that share a pool, as
/// parallel scenes may share the log pool, must not merge their entries into what one of them has
/// just emptied. The lock is advisory. After ten seconds of waiting, and on a file system without
/// locks, it does without: what hangs elsewhere must not keep an update from being made.
class PoolTurn {
 public:
  /// `fd` is open for writing; `path` is for the log.
  PoolTurn(int fd, const std::string& path);
  PoolTurn(const PoolTurn&) = delete;
  PoolTurn& operator=(const PoolTurn&) = delete;
  ~PoolTurn();

 private:
  int fd_;
};

}  // namespace quellmark::pool
