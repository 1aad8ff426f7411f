#include "pool/file_writer.h"

#include <cerrno>

#include "pool/line_reader.h"
#include "runtime/streams.h"

namespace quellmark::pool {
namespace {

constexpr std::size_t kPiece = 65'536;

}  // namespace

FileWriter::FileWriter() { pending_.reserve(kPiece); }

void FileWriter::Put(std::string_view bytes) {
  if (error_ == 0 && !runtime::WriteAll(fd_, bytes)) error_ = errno;
}

void FileWriter::Write(std::string_view bytes) {
  if (bytes.empty()) return;
  at_line_start_ = IsLineEnd(bytes.back());
  if (pending_.size() + bytes.size() > kPiece) {
    Put(pending_);
    pending_.clear();
  }
  if (bytes.size() > kPiece) {
    Put(bytes);
  } else {
    pending_ += bytes;
  }
}

bool FileWriter::Flush() {
  Put(pending_);
  pending_.clear();
  errno = error_;
  return error_ == 0;
}

}  // namespace quellmark::pool
