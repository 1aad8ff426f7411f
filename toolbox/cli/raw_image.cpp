#include "toolbox/cli/raw_image.h"

#include <unistd.h>

#include <bit>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "toolbox/cli/output.h"

namespace quellmark::cli {

RawImage::RawImage(std::string path, std::size_t samples, std::size_t lines,
                   std::vector<std::string> band_names)
    : path_(std::move(path)),
      beside_(path_ + ".part"),
      header_path_(std::filesystem::path(path_).replace_extension(".hdr").string()),
      samples_(samples),
      lines_(lines),
      band_names_(std::move(band_names)) {
  file_ = std::fopen(beside_.c_str(), "wbe");
  if (file_ == nullptr) Fail("can not be created");
}

RawImage::~RawImage() {
  if (file_ == nullptr) return;
  std::fclose(file_);
  ::unlink(beside_.c_str());
}

void RawImage::Fail(const char* what) const {
  throw std::runtime_error(path_ + ": " + what + ": " + std::strerror(errno));
}

void RawImage::Write(std::span<const double> values) {
  if (std::fwrite(values.data(), sizeof(double), values.size(), file_) != values.size()) {
    Fail("can not be written");
  }
}

void RawImage::WriteHeader() const {
  std::string names;
  for (const std::string& name : band_names_) names += (names.empty() ? "" : ", ") + name;
  const char* const byte_order = std::endian::native == std::endian::little ? "0" : "1";
  WriteOutput(header_path_,
              "ENVI\ndescription = {Positions of the samples of a radar image}\n"
              "samples = " +
                  std::to_string(samples_) + "\nlines = " + std::to_string(lines_) +
                  "\nbands = " + std::to_string(band_names_.size()) +
                  "\nheader offset = 0\nfile type = ENVI Standard\n"
                  "data type = 5\ninterleave = bil\nbyte order = " +
                  byte_order + "\nband names = {" + names + "}\n");
}

void RawImage::Finish() {
  const bool is_flushed = std::fclose(file_) == 0;
  file_ = nullptr;
  if (!is_flushed || std::rename(beside_.c_str(), path_.c_str()) != 0) {
    const int error = errno;
    ::unlink(beside_.c_str());
    errno = error;
    Fail("can not be written");
  }
  WriteHeader();
}

}  // namespace quellmark::cli
