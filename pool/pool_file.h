// Opening files so that nothing that the user has can be harmed by it.
#pragma once

#include <string>

#include "basic/unique_fd.h"

namespace quellmark::pool {

struct PoolFile {
  basic::UniqueFd fd;     ///< not open on failure
  bool writable = false;  ///< opened for reading and writing
  bool created = false;   ///< there was no such file
};

/// Opens a regular file for reading and writing, creates it if there is none, or else opens it for
/// reading alone. Nothing that exists is truncated, and what is no regular file is not opened at
/// all: it might hang.
[[nodiscard]] PoolFile OpenPoolFile(const std::string& path);

/// Opens a regular file for reading; nothing is created.
[[nodiscard]] PoolFile OpenPoolFileForReading(const std::string& path);

/// What the unique names of temporary files are made of: "DIRECTORY/pool_XXXXXX".
[[nodiscard]] std::string TemporaryTemplate(const std::string& directory);

/// Creates a file and puts its unique name into `path`, which holds a template. Not open on
/// failure, with errno set.
[[nodiscard]] basic::UniqueFd CreateTemporary(std::string& path) noexcept;

/// The directory part of the first 1000 characters of `path`.
[[nodiscard]] std::string DirectoryOf(const std::string& path);

}  // namespace quellmark::pool
