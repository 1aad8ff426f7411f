#include "pool/file_writer.h"

#include <cerrno>

#include "pool/line_reader.h"
#include "runtime/streams.h"

namespace quellmark::pool {
namespace {

constexpr std::size_t kPiece = 65'536;

}  // namespace

void FileWriter::Write(std::string_view bytes) {
  if (bytes.empty() || error_ != 0) return;
  at_line_start_ = IsLineEnd(bytes.back());
  pending_ += bytes;
  if (pending_.size() >= kPiece) Flush();
}

bool FileWriter::Flush() {
  if (error_ == 0 && !runtime::WriteAll(fd_, pending_)) error_ = errno;
  pending_.clear();
  return error_ == 0;
}

}  // namespace quellmark::pool
