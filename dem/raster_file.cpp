#include "dem/raster_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quellmark::dem {

SrfHeader DecodeSrfHeader(const std::array<unsigned char, kSrfHeaderBytes>& bytes) {
  std::array<std::uint32_t, 8> words{};
  for (std::size_t i = 0; i < bytes.size(); ++i) words[i / 4] = words[i / 4] << 8 | bytes[i];
  return {words[0], words[1], words[2], words[3], words[4], words[5], words[6], words[7]};
}

std::optional<SrfHeader> ReadSrfHeader(int fd) {
  std::array<unsigned char, kSrfHeaderBytes> bytes;
  if (::pread(fd, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) return {};
  return DecodeSrfHeader(bytes);
}

basic::UniqueFd OpenRaster(const std::string& path, int access_mode) {
  return basic::UniqueFd(
      ::open(path.c_str(), (access_mode & O_ACCMODE) | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

std::optional<std::int64_t> RegularFileSize(int fd) {
  struct stat status {};
  if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) return {};
  return status.st_size;
}

}  // namespace quellmark::dem
