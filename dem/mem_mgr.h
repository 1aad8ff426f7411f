// A raster image that is a shared mapping of its file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "basic/index.h"
#include "basic/unique_fd.h"
#include "dem/pixel_type.h"

/// Maps an existing image file and knows its geometry. Any number of threads may read a read-only
/// mapping, but no thread may read while another maps or releases. All sizes are checked against
/// the file when it is mapped. If another process cuts the file short later, reading is not safe.
class MEM_MGR {
 public:
  /// The three parts of the colour table. They lie inside the mapping, in front of the pixels.
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
  /// returns the length of a colour table part. `open_flag` is the access mode of open(): O_RDONLY
  /// maps for reading, O_WRONLY for writing, O_RDWR for both, anything else without access. A
  /// previous mapping is released. Throws ERROR_CAN_NOT_OPEN_FILE, ERROR_CAN_NOT_READ_FILE (shorter
  /// than a header, or not a regular file), ERROR_NOT_SUPPORTED_PIXEL_TYPE and ERROR_CAN_NOT_MMAP
  /// (also when the file is shorter than its header says).
  int MapSrf(const std::string& path, int open_flag, short pixel_type = quellmark::dem::kPixelInt2);

  /// Maps the whole regular file `path` for reading, whatever it holds; there is no header and no
  /// image geometry. A previous mapping is released. Throws ERROR_CAN_NOT_OPEN_FILE,
  /// ERROR_CAN_NOT_READ_FILE and ERROR_CAN_NOT_MMAP (also for an empty file).
  void MapFile(const std::string& path);

  /// Maps the first `length_bytes` of the file anew, for layouts that hold more than width x height
  /// pixels; FileBase() changes. Throws ERROR_CAN_NOT_MMAP if the file is shorter.
  void Remap(std::size_t length_bytes);

  /// Unmaps and closes. Does nothing if nothing is mapped.
  void Release();

  [[nodiscard]] bool IsMapped() const { return base_ != nullptr; }
  /// The address of the first byte of the file; null when nothing is mapped.
  [[nodiscard]] const unsigned char* FileBase() const { return base_; }
  /// The address of the first pixel.
  [[nodiscard]] const unsigned char* Data() const { return base_ + header_length_; }
  /// Length of header and colour table together [bytes].
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
