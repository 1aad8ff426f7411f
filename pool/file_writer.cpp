#include "pool/file_writer.h"

#include <unistd.h>

#include <cerrno>

#include "pool/line_reader.h"

namespace quellmark::pool {
namespace {

constexpr std::size_t kPiece = 65'536;

}  // namespace

bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written == 0) errno = EIO;  // would loop for ever
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

void FileWriter::Write(std::string_view bytes) {
  if (bytes.empty() || error_ != 0) return;
  at_line_start_ = IsLineEnd(bytes.back());
  pending_ += bytes;
  if (pending_.size() >= kPiece) Flush();
}

bool FileWriter::Flush() {
  if (error_ == 0 && !WriteAll(fd_, pending_)) error_ = errno;
  pending_.clear();
  return error_ == 0;
}

}  // namespace quellmark::pool
