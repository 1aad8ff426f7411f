// The data sets of an HDF5 file, by path; what is missing or of another shape is told with both.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <hdf5.h>

namespace quellmark::product {

/// Owns an identifier of the library, closed by the function that its kind needs.
class Hdf5Handle {
 public:
  using Close = herr_t (*)(hid_t);
  Hdf5Handle(hid_t id, Close close) : id_(id), close_(close) {}
  Hdf5Handle(const Hdf5Handle&) = delete;
  Hdf5Handle& operator=(const Hdf5Handle&) = delete;
  ~Hdf5Handle() {
    if (id_ >= 0) static_cast<void>(close_(id_));
  }

  [[nodiscard]] bool IsOpen() const { return id_ >= 0; }
  [[nodiscard]] hid_t Id() const { return id_; }

 private:
  hid_t id_;
  Close close_;
};

/// Read-only. Failures throw ImportError with file and data set; the library's own error stack is
/// not printed while one of these lives.
class Hdf5File {
 public:
  explicit Hdf5File(const std::filesystem::path& path);
  Hdf5File(const Hdf5File&) = delete;
  Hdf5File& operator=(const Hdf5File&) = delete;
  ~Hdf5File();

  using Shape = std::vector<hsize_t>;

  [[nodiscard]] bool Has(const std::string& path) const;
  /// Of a scalar: no dimension.
  [[nodiscard]] Shape ShapeOf(const std::string& path) const;
  /// All numbers, the last dimension fastest; at most 2^22 of them. They are finite.
  [[nodiscard]] std::vector<double> Numbers(const std::string& path) const;
  /// The one number of a data set.
  [[nodiscard]] double Number(const std::string& path) const;
  /// The text of a data set, of fixed or variable length, or of its attribute.
  [[nodiscard]] std::string Text(const std::string& path) const;
  [[nodiscard]] std::string TextOfAttribute(const std::string& path, const char* name) const;

  [[noreturn]] void Fail(const std::string& path, const std::string& problem) const;

 private:
  struct ErrorPrinting {
    ErrorPrinting();
    ErrorPrinting(const ErrorPrinting&) = delete;
    ErrorPrinting& operator=(const ErrorPrinting&) = delete;
    ~ErrorPrinting();
    H5E_auto2_t function = nullptr;
    void* data = nullptr;
  };

  [[nodiscard]] Hdf5Handle OpenDataSet(const std::string& path) const;

  ErrorPrinting printing_;
  std::string name_;
  Hdf5Handle file_;
};

}  // namespace quellmark::product
