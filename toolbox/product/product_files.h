// The files of a product: a folder, a zip archive, or one file and the files around it.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace quellmark::product {

/// Access to the files for reading. Names are paths within the product, with '/'. Failures throw
/// ImportError.
class ProductFiles {
 public:
  ProductFiles() = default;
  ProductFiles(const ProductFiles&) = delete;
  ProductFiles& operator=(const ProductFiles&) = delete;
  virtual ~ProductFiles() = default;

  /// Names of the XML and HDF5 files that may be the metadata, those nearest to the root first.
  [[nodiscard]] virtual std::vector<std::string> Candidates() const = 0;
  [[nodiscard]] virtual bool Has(const std::string& name) const = 0;
  /// Returns the content, cut after `limit` bytes.
  [[nodiscard]] virtual std::string Head(const std::string& name, std::size_t limit) const = 0;
  /// The name of the file in messages.
  [[nodiscard]] virtual std::string Label(const std::string& name) const = 0;
  /// The path of the file on the disk; empty in an archive.
  [[nodiscard]] virtual std::filesystem::path DiskPath(const std::string& name) const = 0;

  /// Returns the whole content. Refuses more than 256 MiB.
  [[nodiscard]] std::string Read(const std::string& name) const;
};

[[nodiscard]] std::unique_ptr<ProductFiles> OpenProductFiles(const std::filesystem::path& path);

/// Returns the content of a file on the disk, cut after `limit` bytes.
[[nodiscard]] std::string ReadDiskFile(const std::filesystem::path& path, std::size_t limit);
/// Longer files are refused.
inline constexpr std::size_t kLargestFile = std::size_t{256} << 20U;

}  // namespace quellmark::product
