// Writing to descriptors that may be closed, full or blocked, and the three standard ones.
#pragma once

#include <string_view>

namespace quellmark::runtime {

/// Writes all bytes and tells whether that went well. Calls nothing that a signal handler must not.
bool WriteAll(int fd, std::string_view bytes) noexcept;

/// WriteAll for everywhere else: a pipe without reader and a file at its size limit raise no signal
/// (SIGPIPE, SIGXFSZ), the bytes are lost and the program goes on.
bool WriteQuietly(int fd, std::string_view bytes) noexcept;

/// Opens "/dev/null" for each of the descriptors 0 to 2 that is closed, so that no file opened
/// later becomes the standard output.
void EnsureStandardStreams() noexcept;

}  // namespace quellmark::runtime
