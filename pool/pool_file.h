// Opening files so that nothing that the user has can be harmed by it.
#pragma once

#include <string>

#include "basic/unique_fd.h"

namespace quellmark::pool {

/// Opens a regular file for reading and writing, creates it if there is none, or else opens it for
/// reading alone, which clears `writable`. Nothing that exists is truncated, and what is no regular
/// file is not opened at all: it might hang. Not open on failure.
[[nodiscard]] basic::UniqueFd OpenPoolFile(const std::string& path, bool& writable);

/// Creates a file with a unique name "DIRECTORY/pool_XXXXXX" and gives the name in `path`. Not open
/// on failure, with errno set.
[[nodiscard]] basic::UniqueFd CreateTemporary(const std::string& directory, std::string& path);

/// The directory part of the first 1000 characters of `path`.
[[nodiscard]] std::string DirectoryOf(const std::string& path);

}  // namespace quellmark::pool
