// Opens pool files and creates temporary ones; neither harms an existing file.
#pragma once

#include <string>

#include "basic/unique_fd.h"

namespace quellmark::pool {

struct PoolFile {
  basic::UniqueFd fd;     ///< not open on failure
  bool writable = false;  ///< open for reading and writing
  bool created = false;   ///< there was no such file
};

/// Opens a regular file for reading and writing, and creates it if there is none. A file that
/// cannot be written is opened for reading only. No file is truncated. Other kinds of files are not
/// opened, because that might hang.
[[nodiscard]] PoolFile OpenPoolFile(const std::string& path);

/// Opens a regular file for reading. Creates none.
[[nodiscard]] PoolFile OpenPoolFileForReading(const std::string& path);

/// The template of the unique names of temporary files, "DIRECTORY/pool_XXXXXX".
[[nodiscard]] std::string TemporaryTemplate(const std::string& directory);

/// Creates a file with a unique name and replaces the template in `path` by that name. On failure
/// the result is not open, and errno is set.
[[nodiscard]] basic::UniqueFd CreateTemporary(std::string& path) noexcept;

/// The directory part of the first 1000 characters of `path`.
[[nodiscard]] std::string DirectoryOf(const std::string& path);

}  // namespace quellmark::pool
