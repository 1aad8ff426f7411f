// A raster image whose memory is a shared mapping of its file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "basic/index.h"
#include "basic/unique_fd.h"
#include "dem/pixel_type.h"

/// Maps an existing image file and knows its geometry. Any number of threads may read a read-only
/// mapping; mapping and releasing must not run beside readers. All sizes are settled against the
/// file when it is mapped; a file that another process cuts short later can still not be read
/// safely.
class MEM_MGR {
 public:
  /// The three parts of the colour table; they lie inside the mapping, in front of the pixels.
  struct ColourTable {
    const unsigned char* red = nullptr;
    const unsigned char* green = nullptr;
    const unsigned char* blue = nullptr;
    int part_length = 0;  ///< entries of each part
  };

  MEM_MGR() = default;
  MEM_MGR(const MEM_MGR&) = delete;
  MEM_MGR& operator=(const MEM_MGR&) = delete;
  virtual ~MEM_MGR();

  /// Maps the SRF file `path` from its first byte to the last pixel that its header describes, and
  /// gives the length of a colour table part. `open_flag` is the access mode of open(): O_RDONLY
  /// maps for reading, O_WRONLY for writing, O_RDWR for both, anything else with no access.
  /// What was mapped before is released. Throws ERROR_CAN_NOT_OPEN_FILE, ERROR_CAN_NOT_READ_FILE
  /// (shorter than a header, or no regular file), ERROR_NOT_SUPPORTED_PIXEL_TYPE and
  /// ERROR_CAN_NOT_MMAP (also when the file is shorter than its header says).
  int MapSrf(const std::string& path, int open_flag, short pixel_type = quellmark::dem::kPixelInt2);

  /// Maps the regular file `path` whole for reading, whatever it holds: there is no header and no
  /// image geometry. What was mapped before is released. Throws ERROR_CAN_NOT_OPEN_FILE,
  /// ERROR_CAN_NOT_READ_FILE and ERROR_CAN_NOT_MMAP (also for an empty file).
  void MapFile(const std::string& path);

  /// Maps the file again, now its first `length_bytes`; FileBase() changes. For layouts that hold
  /// more than width x height pixels. Throws ERROR_CAN_NOT_MMAP if the file is shorter.
  void Remap(std::size_t length_bytes);

  /// Unmaps and closes; nothing happens when nothing is mapped.
  void Release();

  [[nodiscard]] bool IsMapped() const { return base_ != nullptr; }
  /// The address of the first byte of the file; null when nothing is mapped.
  [[nodiscard]] const unsigned char* FileBase() const { return base_; }
  /// The address of the first pixel.
  [[nodiscard]] const unsigned char* Data() const { return base_ + header_length_; }
  /// Header and colour table together [bytes].
  [[nodiscard]] std::size_t HeaderLength() const { return header_length_; }
  [[nodiscard]] std::size_t MappedLength() const { return mapped_length_; }
  /// The size of the file when it was mapped [bytes].
  [[nodiscard]] std::size_t FileSize() const { return file_size_; }
  /// Pixel indices along and across the rows, from 0.
  [[nodiscard]] RANGE<int> XRange() const { return x_range_; }
  [[nodiscard]] RANGE<int> YRange() const { return y_range_; }
  /// Null when nothing is mapped.
  [[nodiscard]] const quellmark::dem::PixelType* Pixel() const { return pixel_; }
  /// Empty when the file has none.
  [[nodiscard]] ColourTable Colours() const;

 private:
  void Map(std::size_t length_bytes);

  unsigned char* base_ = nullptr;
  std::size_t header_length_ = 0;
  std::size_t mapped_length_ = 0;
  std::size_t file_size_ = 0;
  int protection_ = 0;
  quellmark::basic::UniqueFd fd_;
  RANGE<int> x_range_{0, 0};
  RANGE<int> y_range_{0, 0};
  const quellmark::dem::PixelType* pixel_ = nullptr;
};
