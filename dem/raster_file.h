// Opens raster files and reads their Sun raster (SRF) headers.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "basic/unique_fd.h"

namespace quellmark::dem {

/// The eight words of the header, in file order.
struct SrfHeader {
  std::uint32_t magic;
  std::uint32_t width;
  std::uint32_t height;
  std::uint32_t depth;
  std::uint32_t length;
  std::uint32_t type;
  std::uint32_t colormap_type;
  std::uint32_t colormap_length;  ///< [bytes]
};

inline constexpr std::size_t kSrfHeaderBytes = 32;
inline constexpr std::uint32_t kSrfMagic = 0x59A66A95;

/// Decodes the words of a header as it stands in a file, most significant byte first.
[[nodiscard]] SrfHeader DecodeSrfHeader(const std::array<unsigned char, kSrfHeaderBytes>& bytes);

/// Reads the header at the start of an open file. Returns nothing if the file is shorter than 32
/// bytes or cannot be read.
[[nodiscard]] std::optional<SrfHeader> ReadSrfHeader(int fd);

/// Opens `path` with an access mode of open(). Does not wait for the other end of a FIFO. If
/// opening fails, the result is not open and errno is set.
[[nodiscard]] basic::UniqueFd OpenRaster(const std::string& path, int access_mode);

/// The size of an open regular file [bytes]. Returns nothing for all other kinds (directory, FIFO,
/// device) and if the status cannot be read.
[[nodiscard]] std::optional<std::int64_t> RegularFileSize(int fd);

}  // namespace quellmark::dem
