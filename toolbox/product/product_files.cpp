#include "toolbox/product/product_files.h"

#include <zip.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <string_view>

#include "toolbox/product/import.h"

namespace quellmark::product {

namespace {

namespace fs = std::filesystem;

// A product has some hundred files. The limit ends the search in a folder that is no product, such
// as the root of a disk.
constexpr std::size_t kMostFiles = 100'000;
constexpr int kDeepestFolder = 6;

bool IsCandidate(std::string_view name) {
  return name.ends_with(".xml") || name.ends_with(".h5") || name.ends_with(".hdf5");
}

std::vector<std::string> NearestFirst(std::vector<std::string> names) {
  std::ranges::sort(names, {}, [](const std::string& name) {
    return std::pair(std::ranges::count(name, '/'), name);
  });
  return names;
}

// The files of a folder, or one file of it only.
class FolderFiles : public ProductFiles {
 public:
  explicit FolderFiles(fs::path root) : root_(std::move(root)), names_(NearestFirst(List())) {}
  FolderFiles(fs::path root, std::string only) : root_(std::move(root)), names_{std::move(only)} {}

  [[nodiscard]] std::vector<std::string> Candidates() const override { return names_; }
  [[nodiscard]] bool Has(const std::string& name) const override {
    std::error_code error;
    return fs::is_regular_file(root_ / name, error);
  }
  [[nodiscard]] std::string Head(const std::string& name, std::size_t limit) const override {
    return ReadDiskFile(root_ / name, limit);
  }
  [[nodiscard]] std::string Label(const std::string& name) const override { return root_ / name; }
  [[nodiscard]] fs::path DiskPath(const std::string& name) const override { return root_ / name; }

 private:
  [[nodiscard]] std::vector<std::string> List() const {
    std::vector<std::string> names;
    std::size_t count = 0;
    std::error_code error;
    fs::recursive_directory_iterator entry(root_, fs::directory_options::skip_permission_denied,
                                           error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
      if (++count > kMostFiles) throw ImportError(root_, "", "has too many files for one product");
      if (entry.depth() >= kDeepestFolder) entry.disable_recursion_pending();
      std::error_code of_entry;
      if (IsCandidate(entry->path().native()) && entry->is_regular_file(of_entry)) {
        names.push_back(entry->path().lexically_relative(root_));
      }
    }
    if (error) throw ImportError(root_, "", "cannot be listed: " + error.message());
    return names;
  }

  fs::path root_;
  std::vector<std::string> names_;
};

class ZipFiles : public ProductFiles {
 public:
  explicit ZipFiles(fs::path path) : path_(std::move(path)) {
    int error = 0;
    archive_.reset(zip_open(path_.c_str(), ZIP_RDONLY, &error));
    if (!archive_) {
      zip_error_t description;
      zip_error_init_with_code(&description, error);
      const std::string text = zip_error_strerror(&description);
      zip_error_fini(&description);
      throw ImportError(path_, "", "cannot be opened as a zip archive: " + text);
    }
  }

  [[nodiscard]] std::vector<std::string> Candidates() const override {
    const zip_int64_t count = zip_get_num_entries(archive_.get(), 0);
    if (count > static_cast<zip_int64_t>(kMostFiles)) {
      throw ImportError(path_, "", "has too many files for one product");
    }
    std::vector<std::string> names;
    for (zip_int64_t i = 0; i < count; ++i) {
      const char* name = zip_get_name(archive_.get(), static_cast<zip_uint64_t>(i), 0);
      if (name != nullptr && IsCandidate(name)) names.emplace_back(name);
    }
    return NearestFirst(std::move(names));
  }

  [[nodiscard]] bool Has(const std::string& name) const override {
    return zip_name_locate(archive_.get(), name.c_str(), 0) >= 0;
  }

  [[nodiscard]] std::string Head(const std::string& name, std::size_t limit) const override {
    const std::unique_ptr<zip_file_t, Closer> file(zip_fopen(archive_.get(), name.c_str(), 0));
    if (!file) Fail(name, zip_strerror(archive_.get()));
    // The size in the archive may be wrong, so the file is read until its end or the limit.
    std::string content;
    while (content.size() < limit) {
      constexpr std::size_t kStep = 1U << 16U;
      const std::size_t old_size = content.size();
      const std::size_t wanted = std::min(kStep, limit - old_size);
      content.resize(old_size + wanted);
      const zip_int64_t got = zip_fread(file.get(), content.data() + old_size, wanted);
      if (got < 0) Fail(name, zip_file_strerror(file.get()));
      content.resize(old_size + static_cast<std::size_t>(got));
      if (got == 0) break;
    }
    return content;
  }

  [[nodiscard]] std::string Label(const std::string& name) const override { return path_ / name; }
  [[nodiscard]] fs::path DiskPath(const std::string& /*name*/) const override { return {}; }

 private:
  struct Closer {
    void operator()(zip_t* archive) const { zip_discard(archive); }
    void operator()(zip_file_t* file) const { zip_fclose(file); }
  };

  [[noreturn]] void Fail(const std::string& name, const char* problem) const {
    throw ImportError(Label(name), "", "cannot be read: " + std::string(problem));
  }

  fs::path path_;
  std::unique_ptr<zip_t, Closer> archive_;
};

bool IsZip(const fs::path& path) {
  const std::string head = ReadDiskFile(path, 4);
  return head == "PK\x03\x04" || head == "PK\x05\x06";
}

}  // namespace

std::string ProductFiles::Read(const std::string& name) const {
  std::string content = Head(name, kLargestFile + 1);
  if (content.size() > kLargestFile) {
    throw ImportError(Label(name), "", "is too large for metadata");
  }
  return content;
}

std::unique_ptr<ProductFiles> OpenProductFiles(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) throw ImportError(path, "", "does not exist");
  if (fs::is_directory(status)) return std::make_unique<FolderFiles>(path);
  if (!fs::is_regular_file(status)) throw ImportError(path, "", "is neither a file nor a folder");
  if (IsZip(path)) return std::make_unique<ZipFiles>(path);
  // The manifest of a SAFE folder means the whole folder.
  if (path.filename() == "manifest.safe") {
    return std::make_unique<FolderFiles>(path.has_parent_path() ? path.parent_path() : ".");
  }
  return std::make_unique<FolderFiles>(path.parent_path(), path.filename());
}

std::string ReadDiskFile(const fs::path& path, std::size_t limit) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw ImportError(path, "", "cannot be read: " + std::string(std::strerror(errno)));
  }
  std::string content;
  while (file && content.size() < limit) {
    constexpr std::size_t kStep = 1U << 16U;
    const std::size_t old_size = content.size();
    content.resize(old_size + std::min(kStep, limit - old_size));
    file.read(content.data() + old_size, static_cast<std::streamsize>(content.size() - old_size));
    content.resize(old_size + static_cast<std::size_t>(file.gcount()));
  }
  if (file.bad()) throw ImportError(path, "", "cannot be read");
  return content;
}

}  // namespace quellmark::product
