// The files of a product: a folder, a zip archive, or one file with what lies around it.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace quellmark::product {

/// Read-only; names are paths within the product, with '/'. Failures throw ImportError.
class ProductFiles {
 public:
  ProductFiles() = default;
  ProductFiles(const ProductFiles&) = delete;
  ProductFiles& operator=(const ProductFiles&) = delete;
  virtual ~ProductFiles() = default;

  /// Names of the XML and HDF5 files that may be the metadata, those nearest to the root first.
  [[nodiscard]] virtual std::vector<std::string> Candidates() const = 0;
  [[nodiscard]] virtual bool Has(const std::string& name) const = 0;
  /// The content; a file of more than `limit` bytes is cut there.
  [[nodiscard]] virtual std::string Head(const std::string& name, std::size_t limit) const = 0;
  /// As messages name the file.
  [[nodiscard]] virtual std::string Label(const std::string& name) const = 0;
  /// Where the file lies on the disk; empty in an archive.
  [[nodiscard]] virtual std::filesystem::path DiskPath(const std::string& name) const = 0;

  /// The whole content; metadata of more than 256 MiB are refused.
  [[nodiscard]] std::string Read(const std::string& name) const;
};

[[nodiscard]] std::unique_ptr<ProductFiles> OpenProductFiles(const std::filesystem::path& path);

/// The content of a file on the disk, cut at `limit` bytes.
[[nodiscard]] std::string ReadDiskFile(const std::filesystem::path& path, std::size_t limit);
/// The longest file that is read.
inline constexpr std::size_t kLargestFile = std::size_t{256} << 20U;

}  // namespace quellmark::product
