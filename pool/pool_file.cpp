#include "pool/pool_file.h"

#include <fcntl.h>
#include <libgen.h>
#include <sys/stat.h>

#include <cstdlib>

namespace quellmark::pool {
namespace {

constexpr mode_t kNewFileMode = 0666;

basic::UniqueFd OpenRegular(const std::string& path, int flags) {
  // The file may change between a look at its name and the opening: O_NONBLOCK keeps a pipe from
  // blocking, and the kind is checked on what was opened.
  basic::UniqueFd fd(::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, kNewFileMode));
  struct stat status {};
  if (fd.IsOpen() && (::fstat(fd.Get(), &status) != 0 || !S_ISREG(status.st_mode))) fd.Reset();
  return fd;
}

}  // namespace

basic::UniqueFd OpenPoolFile(const std::string& path, bool& writable) {
  struct stat status {};
  const bool exists = ::stat(path.c_str(), &status) == 0;
  // To open a device may already do something: ask first.
  if (exists && !S_ISREG(status.st_mode)) return {};
  writable = true;
  basic::UniqueFd fd = OpenRegular(path, O_RDWR);
  if (!fd.IsOpen() && !exists) fd = OpenRegular(path, O_RDWR | O_CREAT);
  if (!fd.IsOpen()) {
    writable = false;
    fd = OpenRegular(path, O_RDONLY);
  }
  return fd;
}

basic::UniqueFd CreateTemporary(const std::string& directory, std::string& path) {
  path = directory + "/pool_XXXXXX";
  return basic::UniqueFd(::mkostemp(path.data(), O_CLOEXEC));
}

std::string DirectoryOf(const std::string& path) {
  constexpr std::size_t kPathLimit = 1000;
  std::string head = path.substr(0, kPathLimit);
  return ::dirname(head.data());
}

}  // namespace quellmark::pool
