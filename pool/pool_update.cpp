#include "pool/pool_update.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <initializer_list>
#include <new>
#include <string_view>

#include "basic/errors.h"
#include "pool/file_writer.h"
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

// Merges pending entries into a copy of a pool. Only the constructor allocates, so once the copy
// exists only the disk can fail.
class Merger {
 public:
  Merger(int pool_fd, PARAMETER_POOL_LIST& pending) : pending_(pending) {
    lines_.Rewind(pool_fd);
    for (PARAMETER_POOL_ITEM& item : pending_) item.is_placed = false;
  }

  // Copies the pool line by line. A pending entry replaces the entry of the same key; pending
  // entries with new keys follow at the end. Returns false and sets errno if reading or writing
  // fails.
  bool Run(int copy_fd) {
    copy_.Open(copy_fd);
    bool dropping = false;  // the line belongs to an entry that was replaced
    std::string_view line;
    while (copy_.IsGood() && lines_.Next(line)) {
      if (IsKeyLine(line)) {
        dropping = Place(pending_.Find(KeyOf(line)));
      } else if (line.front() == '#') {
        dropping = false;  // a comment belongs to the entry below it
      }
      if (!dropping) copy_.Write(line);
    }
    for (PARAMETER_POOL_ITEM& item : pending_) Place(&item);
    if (!copy_.Flush()) return false;
    errno = lines_.Error();
    return errno == 0;
  }

 private:
  bool Place(PARAMETER_POOL_ITEM* item) {
    if (item == nullptr || item->is_placed) return false;
    // If the line before has no line end, gives it one, so that the entry starts a new line.
    if (!copy_.IsAtLineStart()) copy_.Write("\n");
    copy_.Write(item->text);
    item->is_placed = true;
    return true;
  }

  PARAMETER_POOL_LIST& pending_;
  LineReader lines_;
  FileWriter copy_;
};

// Truncating the pool frees only its current size. If the new content needs more blocks, a full
// disk could cut it off, so the difference is reserved after the copy's end and released again at
// once. If the file system cannot reserve space, the answer is true.
bool HasRoomToGrow(int pool_fd, int copy_fd) {
  struct stat pool {};
  struct stat copy {};
  if (::fstat(pool_fd, &pool) != 0 || ::fstat(copy_fd, &copy) != 0) return false;
  const off_t block = copy.st_blksize;
  const auto blocks = [block](off_t size) { return (size + block - 1) / block; };
  const off_t growth = (blocks(copy.st_size) - blocks(pool.st_size)) * block;
  if (growth <= 0) return true;
  if (::fallocate(copy_fd, FALLOC_FL_KEEP_SIZE, blocks(copy.st_size) * block, growth) != 0) {
    return errno != ENOSPC && errno != EDQUOT;
  }
  return ::ftruncate(copy_fd, copy.st_size) == 0;
}

// The name of a new file is on the disk only after its directory was flushed. If the directory
// cannot be flushed, the flush of the copy alone must do.
void FlushDirectory(const std::string& directory) {
  const UniqueFd fd(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (fd.IsOpen()) static_cast<void>(::fsync(fd.Get()));
}

// A write beyond the limit of file sizes fails and also raises SIGXFSZ. The failure is reported, so
// the signal, which is still held back, is dropped: it would end the program after the update.
void DropSizeSignal() {
  sigset_t size_signal;
  ::sigemptyset(&size_signal);
  ::sigaddset(&size_signal, SIGXFSZ);
  const timespec no_wait{};
  static_cast<void>(::sigtimedwait(&size_signal, nullptr, &no_wait));
}

// A line in the log file that names the copy while the pool is incomplete. It is written whatever
// the threshold is, so that it is there if the program is killed. When the pool is complete again,
// the line is removed, unless others have written after it.
class CopyNote {
 public:
  CopyNote(const std::string& copy_path, const std::string& path) {
    const LOG& log = runtime::Log();
    if (log.FileThreshold() <= LogLevel::kDebug || log.FilePath().empty()) return;
    struct stat status {};
    fd_.Reset(::open(log.FilePath().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NONBLOCK));
    if (!fd_.IsOpen() || ::fstat(fd_.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return;
    begin_ = end_ = status.st_size;
    for (const std::string_view piece :
         {std::string_view("WARN  : the complete parameter pool is:"), std::string_view(copy_path),
          std::string_view(" until it is copied to "), std::string_view(path),
          std::string_view("\n")}) {
      if (runtime::WriteQuietly(fd_.Get(), piece)) end_ += static_cast<off_t>(piece.size());
    }
  }
  CopyNote(const CopyNote&) = delete;
  CopyNote& operator=(const CopyNote&) = delete;

  void TakeBack() {
    struct stat status {};
    if (end_ > begin_ && ::fstat(fd_.Get(), &status) == 0 && status.st_size == end_) {
      static_cast<void>(::ftruncate(fd_.Get(), begin_));
    }
  }

 private:
  UniqueFd fd_;
  off_t begin_ = 0;
  off_t end_ = 0;
};

}  // namespace

void PoolUpdate::Run(PARAMETER_POOL_LIST& pending) {
  const runtime::SignalHold hold;
  MakeCopy(pending);
  WriteBack();
}

void PoolUpdate::MakeCopy(PARAMETER_POOL_LIST& pending) try {
  Merger merger(fd_, pending);
  copy_path_ = TemporaryTemplate(directory_);
  UniqueFd copy = CreateTemporary(copy_path_);
  if (!copy.IsOpen()) {
    LogLine(LogLevel::kAlarm, std::strerror(errno), "\n");
    Fail<NO_UPDATE_PERMISSION_FOR_POOL>("no permission to change pool file: ", path_, "\n");
  }
  bool is_complete =
      merger.Run(copy.Get()) && HasRoomToGrow(fd_, copy.Get()) && ::fsync(copy.Get()) == 0;
  const int error = errno;
  if (!is_complete) DropSizeSignal();
  is_complete = copy.Close() == 0 && is_complete;
  if (!is_complete) {
    LogLine(LogLevel::kWarning, "can not write ", copy_path_, ": ",
            std::strerror(error != 0 ? error : errno), "\n");
    LogLine(LogLevel::kAlarm, "can not update parameter pool: ", path_, "\n");
    LogLine(LogLevel::kAlarm, "the corrupted parameter pool is:", copy_path_, "\n");
    Fail<CORRUPTED_PARAMETER_POOL>("the original parameter pool is NOT CHANGED !!\n");
  }
  FlushDirectory(directory_);
} catch (const std::bad_alloc&) {
  LogLine(LogLevel::kAlarm, "can not update parameter pool: ", path_, "\n");
  Fail<ERROR_NO_MEMORY>("not enough memory\n");
}

void PoolUpdate::WriteBack() {
  LogLine(LogLevel::kDebug, "copy ", copy_path_, " to ", path_, "\n");
  const UniqueFd copy(::open(copy_path_.c_str(), O_RDONLY | O_CLOEXEC));
  if (!copy.IsOpen()) {
    LogLine(LogLevel::kAlarm, std::strerror(errno), "\n");
    Fail<ERROR_I_O>("Error opening file ", copy_path_, "\n");
  }
  CopyNote note(copy_path_, path_);
  if (!Refill(copy.Get())) {
    const int error = errno;
    DropSizeSignal();
    LogLine(LogLevel::kAlarm, "can not update pool ", path_, "\n");
    LogLine(LogLevel::kAlarm, std::strerror(error), "\n");
    Fail<ERROR_PARAMETER_POOL>("the complete parameter pool is:", copy_path_, "\n");
  }
  note.TakeBack();
  if (::unlink(copy_path_.c_str()) != 0) {
    LogLine(LogLevel::kWarning, "can not remove ", copy_path_, ": ", std::strerror(errno), "\n");
  }
}

bool PoolUpdate::Refill(int copy_fd) {
  if (::lseek(fd_, 0, SEEK_SET) != 0 || ::ftruncate(fd_, 0) != 0) return false;
  touched_pool_ = true;
  return runtime::CopyAll(copy_fd, fd_) && ::fsync(fd_) == 0;
}

}  // namespace quellmark::pool
