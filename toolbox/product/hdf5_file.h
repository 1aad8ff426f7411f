// Reads the data sets of an HDF5 file by path. Errors name the file and the path.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <hdf5.h>

namespace quellmark::product {

/// Owns an identifier of the HDF5 library and closes it with the function for its kind.
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

/// An HDF5 file that is open for reading. Failures throw ImportError with file and data set. While
/// an object exists, the library does not print its error stack.
class Hdf5File {
 public:
  explicit Hdf5File(const std::filesystem::path& path);
  Hdf5File(const Hdf5File&) = delete;
  Hdf5File& operator=(const Hdf5File&) = delete;
  ~Hdf5File();

  using Shape = std::vector<hsize_t>;

  [[nodiscard]] bool Has(const std::string& path) const;
  /// The dimensions of a data set; none for a scalar.
  [[nodiscard]] Shape ShapeOf(const std::string& path) const;
  /// Returns all numbers, the last dimension fastest. Throws for more than 2^22 numbers, or if one
  /// is not finite.
  [[nodiscard]] std::vector<double> Numbers(const std::string& path) const;
  /// Returns the number of a data set that has only one.
  [[nodiscard]] double Number(const std::string& path) const;
  /// Returns the text of a data set, of fixed or variable length, or of its attribute.
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
