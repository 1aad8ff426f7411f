#include "pool/pool_file.h"

#include <fcntl.h>
#include <libgen.h>
#include <sys/stat.h>

#include <cstdlib>
#include <utility>

namespace quellmark::pool {
namespace {

constexpr mode_t kNewFileMode = 0666;

bool Exists(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0;
}

basic::UniqueFd OpenRegular(const std::string& path, int flags) {
  // The kind of the file is checked before it is opened, because opening a device may have effects.
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) return {};
  // The name may stand for another file by now. O_NONBLOCK keeps the opening of a pipe from
  // blocking, and the kind of the opened file is checked again.
  basic::UniqueFd fd(::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, kNewFileMode));
  if (fd.IsOpen() && (::fstat(fd.Get(), &status) != 0 || !S_ISREG(status.st_mode))) fd.Reset();
  return fd;
}

}  // namespace

PoolFile OpenPoolFile(const std::string& path) {
  PoolFile file{.fd = OpenRegular(path, O_RDWR), .writable = true};
  if (!file.fd.IsOpen() && !Exists(path)) {
    file.fd = OpenRegular(path, O_RDWR | O_CREAT);
    file.created = true;
  }
  return file.fd.IsOpen() ? std::move(file) : OpenPoolFileForReading(path);
}

PoolFile OpenPoolFileForReading(const std::string& path) {
  return {.fd = OpenRegular(path, O_RDONLY)};
}

std::string TemporaryTemplate(const std::string& directory) { return directory + "/pool_XXXXXX"; }

basic::UniqueFd CreateTemporary(std::string& path) noexcept {
  return basic::UniqueFd(::mkostemp(path.data(), O_CLOEXEC));
}

std::string DirectoryOf(const std::string& path) {
  constexpr std::size_t kPathLimit = 1000;
  std::string head = path.substr(0, kPathLimit);
  return ::dirname(head.data());
}

}  // namespace quellmark::pool
