#include "dem/mem_mgr.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <cerrno>
#include <limits>
#include <system_error>

#include "basic/errors.h"
#include "dem/raster_file.h"
#include "runtime/log.h"

using namespace quellmark::dem;

namespace {

using quellmark::runtime::Fail;
using quellmark::runtime::LogLevel;
using quellmark::runtime::LogLine;

int ProtectionFor(int open_flag) {
  switch (open_flag) {
    case O_RDONLY:
      return PROT_READ;
    case O_WRONLY:
      return PROT_WRITE;
    case O_RDWR:
      return PROT_READ | PROT_WRITE;
    default:
      return PROT_NONE;
  }
}

[[noreturn]] void FailToMap(int error) {
  LogLine(LogLevel::kAlarm, "MEM_MGR: mmap: mmap failed..\n");
  Fail<ERROR_CAN_NOT_MMAP>("MEM_MGR: ", std::generic_category().message(error));
}

// The size of all pixels in bytes, or `room` + 1 if they need more than `room` bytes.
std::uint64_t PixelBytes(const SrfHeader& header, const PixelType& pixel, std::uint64_t room) {
  const std::uint64_t pixels = std::uint64_t{header.width} * header.height;
  const auto size = static_cast<std::uint64_t>(pixel.size_bytes);
  return pixels > room / size ? room + 1 : pixels * size;
}

}  // namespace

MEM_MGR::~MEM_MGR() {
  try {
    Release();
  } catch (...) {  // the log had no memory for its line; the file is unmapped all the same
  }
}

int MEM_MGR::MapSrf(const std::string& path, int open_flag, short pixel_type) {
  constexpr std::uint32_t kMaxPixels = std::numeric_limits<int>::max();

  Release();
  protection_ = ProtectionFor(open_flag);
  LogLine(LogLevel::kDebug, "map file with access mode ", open_flag);
  LogLine(LogLevel::kDebug, "map file with prot flag ", protection_);
  quellmark::basic::UniqueFd fd = OpenRaster(path, open_flag);
  if (!fd.IsOpen()) Fail<ERROR_CAN_NOT_OPEN_FILE>("MEM_MGR: can not open: ", path);

  const auto file_size = RegularFileSize(fd.Get());
  const auto header = file_size ? ReadSrfHeader(fd.Get()) : std::nullopt;
  if (!header) Fail<ERROR_CAN_NOT_READ_FILE>("MEM_MGR: can not read header from: ", path);

  const PixelType* pixel = FindPixelType(pixel_type);
  if (pixel == nullptr) Fail<ERROR_NOT_SUPPORTED_PIXEL_TYPE>("MEM_MGR: unknown pixeltype\n");

  const auto size = static_cast<std::uint64_t>(*file_size);
  const std::uint64_t header_length = std::uint64_t{kSrfHeaderBytes} + header->colormap_length;
  if (header->width > kMaxPixels || header->height > kMaxPixels || header_length > size ||
      PixelBytes(*header, *pixel, size - header_length) > size - header_length) {
    LogLine(LogLevel::kAlarm, "MEM_MGR: ", path, " holds ", size, " bytes, less than its header (",
            header->width, " x ", header->height, " pixels, colormap ", header->colormap_length,
            ") describes\n");
    FailToMap(EOVERFLOW);
  }

  fd_ = std::move(fd);
  file_size_ = size;
  header_length_ = header_length;
  x_range_ = RANGE<int>(0, static_cast<int>(header->width));
  y_range_ = RANGE<int>(0, static_cast<int>(header->height));
  pixel_ = pixel;
  Map(header_length + PixelBytes(*header, *pixel, size - header_length));
  return Colours().part_length;
}

void MEM_MGR::MapFile(const std::string& path) {
  Release();
  quellmark::basic::UniqueFd fd = OpenRaster(path, O_RDONLY);
  if (!fd.IsOpen()) Fail<ERROR_CAN_NOT_OPEN_FILE>("MEM_MGR: can not open: ", path);
  const auto file_size = RegularFileSize(fd.Get());
  if (!file_size) Fail<ERROR_CAN_NOT_READ_FILE>("MEM_MGR: not a regular file: ", path);
  protection_ = PROT_READ;
  fd_ = std::move(fd);
  file_size_ = static_cast<std::size_t>(*file_size);
  Map(file_size_);
}

void MEM_MGR::Remap(std::size_t length_bytes) {
  if (length_bytes > file_size_) FailToMap(EOVERFLOW);
  Map(length_bytes);
}

void MEM_MGR::Map(std::size_t length_bytes) {
  void* base = ::mmap(nullptr, length_bytes, protection_, MAP_SHARED, fd_.Get(), 0);
  const int error = errno;
  if (base_ != nullptr) static_cast<void>(::munmap(base_, mapped_length_));
  base_ = base == MAP_FAILED ? nullptr : static_cast<unsigned char*>(base);
  mapped_length_ = length_bytes;
  if (base_ != nullptr) return;
  Release();
  FailToMap(error);
}

void MEM_MGR::Release() {
  const bool was_mapped = base_ != nullptr;
  if (was_mapped) static_cast<void>(::munmap(base_, mapped_length_));
  base_ = nullptr;
  header_length_ = mapped_length_ = file_size_ = 0;
  fd_.Reset();
  x_range_ = y_range_ = RANGE<int>(0, 0);
  pixel_ = nullptr;
  if (!was_mapped) return;
  LogLine(LogLevel::kDebug, "MEM_MGR: delete image memory ..\n");
  LogLine(LogLevel::kDebug, "MEM_MGR: delete num. rec. interface ..\n");
}

MEM_MGR::ColourTable MEM_MGR::Colours() const {
  const std::size_t length = header_length_ - (IsMapped() ? kSrfHeaderBytes : 0);
  if (length == 0) return {};
  const std::size_t part = length / 3;
  const unsigned char* red = Data() - length;
  return {red, red + part, red + 2 * length / 3, static_cast<int>(part)};
}
