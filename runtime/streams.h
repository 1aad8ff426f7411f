// Writing to descriptors that may be closed, full or blocked, and the three standard ones.
#pragma once

#include <string_view>

namespace quellmark::runtime {

/// Writes all bytes and tells whether that went well. Calls nothing that a signal handler must not.
bool WriteAll(int fd, std::string_view bytes) noexcept;

/// WriteAll for what may get lost: a file at its size limit raises no fatal signal, the bytes are
/// lost and the program goes on.
bool WriteQuietly(int fd, std::string_view bytes) noexcept;

/// Whether this thread is within WriteQuietly(): its SIGXFSZ is then not fatal.
[[nodiscard]] bool IsWritingQuietly() noexcept;

/// Lets writes to a pipe without reader and to a file at its size limit fail instead of ending the
/// process. A handler of SIGXFSZ that is installed later must ask IsWritingQuietly().
void IgnoreWriteSignals() noexcept;

/// Copies what is left to read of a file to another one, with WriteQuietly(); false, with errno
/// set, if not every byte arrived.
[[nodiscard]] bool CopyAll(int from, int to) noexcept;

/// Opens "/dev/null" for each of the descriptors 0 to 2 that is closed, so that no file opened
/// later becomes the standard output.
void EnsureStandardStreams() noexcept;

}  // namespace quellmark::runtime
