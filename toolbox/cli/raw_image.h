// Writes whole images as raw arrays with an ENVI header, line by line.
#pragma once

#include <cstddef>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

namespace quellmark::cli {

/// Writes `path` (doubles in the machine's byte order, line by line, in each line band after band)
/// and a header beside it with the extension ".hdr". Both files appear, complete, when Finish() is
/// called; otherwise none is left. Throws std::runtime_error.
class RawImage {
 public:
  RawImage(std::string path, std::size_t samples, std::size_t lines,
           std::vector<std::string> band_names);
  RawImage(const RawImage&) = delete;
  RawImage& operator=(const RawImage&) = delete;
  ~RawImage();

  /// Writes the next values of the file.
  void Write(std::span<const double> values);
  void Finish();

 private:
  [[noreturn]] void Fail(const char* what) const;
  void WriteHeader() const;

  std::string path_;
  std::string beside_;
  std::string header_path_;
  std::size_t samples_;
  std::size_t lines_;
  std::vector<std::string> band_names_;
  std::FILE* file_ = nullptr;
};

}  // namespace quellmark::cli
