#include "pool/pool_update.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

#include "basic/errors.h"
#include "basic/unique_fd.h"
#include "pool/file_writer.h"
#include "pool/item_writer.h"
#include "pool/line_reader.h"
#include "pool/pool_file.h"
#include "runtime/log.h"
#include "runtime/signal_hold.h"
#include "runtime/streams.h"

namespace quellmark::pool {
namespace {

using basic::UniqueFd;
using runtime::Fail;
using runtime::LogLevel;
using runtime::LogLine;

// Copies the pool line by line; an entry whose key is pending gives way to the pending one, and
// what has no place in the pool follows at the end. Gives whether all was read and written.
bool Merge(int pool_fd, const PARAMETER_POOL_LIST& pending, int copy_fd) {
  std::vector<const PARAMETER_POOL_ITEM*> left;
  for (const PARAMETER_POOL_ITEM& item : pending) left.push_back(&item);
  LineReader lines;
  lines.Rewind(pool_fd);
  FileWriter copy(copy_fd);
  bool dropping = false;  // within an entry that was replaced
  std::string_view line;
  while (copy.Error() == 0 && lines.Next(line)) {
    if (IsKeyLine(line)) {
      const auto found =
          std::find_if(left.begin(), left.end(),
                       [key = KeyOf(line)](const auto* item) { return item->key == key; });
      dropping = found != left.end();
      if (dropping) {
        WriteItem(**found, copy);
        left.erase(found);
      }
    } else if (line.front() == '#') {
      dropping = false;  // a comment belongs to the entry below it
    }
    if (!dropping) copy.Write(line);
  }
  for (const PARAMETER_POOL_ITEM* item : left) WriteItem(*item, copy);
  return copy.Flush() && lines.Error() == 0;
}

// To empty the pool frees no more than it holds: without room for what it grows by, it would end
// cut off on a full disk. The copy takes that room while the pool is still whole, and gives it
// back.
bool HasRoomToGrow(int pool_fd, int copy_fd) {
  struct stat pool {};
  struct stat copy {};
  if (::fstat(pool_fd, &pool) != 0 || ::fstat(copy_fd, &copy) != 0) return false;
  if (copy.st_size <= pool.st_size) return true;
  static constexpr std::array<char, 4096> kFiller{};
  off_t growth = copy.st_size - pool.st_size + 2 * copy.st_blksize;
  for (; growth > 0; growth -= static_cast<off_t>(kFiller.size())) {
    const auto size = std::min(static_cast<std::size_t>(growth), kFiller.size());
    if (!runtime::WriteAll(copy_fd, {kFiller.data(), size})) return false;
  }
  return ::ftruncate(copy_fd, copy.st_size) == 0;
}

// The name of a new file is on the disk only when its directory is. Where directories can not be
// flushed the copy's own flush must do.
void FlushDirectory(const std::string& directory) {
  const UniqueFd fd(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (fd.IsOpen()) static_cast<void>(::fsync(fd.Get()));
}

bool CopyAll(int from, int to) {
  std::array<char, 65'536> block;
  for (;;) {
    const ssize_t got = ::read(from, block.data(), block.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return got == 0;
    if (!runtime::WriteAll(to, {block.data(), static_cast<std::size_t>(got)})) return false;
  }
}

}  // namespace

void PoolUpdate::Run(const PARAMETER_POOL_LIST& pending) {
  // A signal would leave a cut-off pool behind, or a copy that nobody needs.
  const runtime::SignalHold hold;
  MakeCopy(pending);
  WriteBack();
}

void PoolUpdate::MakeCopy(const PARAMETER_POOL_LIST& pending) {
  UniqueFd copy = CreateTemporary(directory_, copy_path_);
  if (!copy.IsOpen()) {
    LogLine(LogLevel::kAlarm, std::strerror(errno), "\n");
    Fail<NO_UPDATE_PERMISSION_FOR_POOL>("no permission to change pool file: ", path_, "\n");
  }
  const bool merged =
      Merge(fd_, pending, copy.Get()) && HasRoomToGrow(fd_, copy.Get()) && ::fsync(copy.Get()) == 0;
  if (copy.Close() != 0 || !merged) {
    LogLine(LogLevel::kAlarm, "can not update parameter pool: ", path_, "\n");
    LogLine(LogLevel::kAlarm, "the corrupted parameter pool is:", copy_path_, "\n");
    Fail<CORRUPTED_PARAMETER_POOL>("the original parameter pool is NOT CHANGED !!\n");
  }
  FlushDirectory(directory_);
}

void PoolUpdate::WriteBack() {
  LogLine(LogLevel::kDebug, "copy ", copy_path_, " to ", path_, "\n");
  const UniqueFd copy(::open(copy_path_.c_str(), O_RDONLY | O_CLOEXEC));
  if (!copy.IsOpen()) {
    LogLine(LogLevel::kAlarm, std::strerror(errno), "\n");
    Fail<ERROR_I_O>("Error opening file ", copy_path_, "\n");
  }
  if (::lseek(fd_, 0, SEEK_SET) != 0 || ::ftruncate(fd_, 0) != 0) FailWritingBack();
  touched_pool_ = true;
  if (!CopyAll(copy.Get(), fd_) || ::fsync(fd_) != 0) FailWritingBack();
  if (::unlink(copy_path_.c_str()) != 0) {
    LogLine(LogLevel::kWarning, "can not remove ", copy_path_, ": ", std::strerror(errno), "\n");
  }
}

void PoolUpdate::FailWritingBack() {
  const int error = errno;
  LogLine(LogLevel::kAlarm, "can not update pool ", path_, "\n");
  LogLine(LogLevel::kAlarm, std::strerror(error), "\n");
  Fail<ERROR_PARAMETER_POOL>("the complete parameter pool is:", copy_path_, "\n");
}

}  // namespace quellmark::pool
