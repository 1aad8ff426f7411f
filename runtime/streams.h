// Writing to descriptors that may be closed, full or blocked, and the three standard ones.
#pragma once

#include <string_view>

namespace quellmark::runtime {

/// Writes all bytes and returns whether that succeeded. Safe in a signal handler.
bool WriteAll(int fd, std::string_view bytes) noexcept;

/// As WriteAll(), for bytes that may be lost. A file at its size limit raises no fatal signal: the
/// bytes are lost and the program continues.
bool WriteQuietly(int fd, std::string_view bytes) noexcept;

/// Whether this thread is inside WriteQuietly(). Its SIGXFSZ is then not fatal.
[[nodiscard]] bool IsWritingQuietly() noexcept;

/// Makes a write to a pipe without reader or to a file at its size limit fail instead of ending the
/// process. A SIGXFSZ handler installed later must ask IsWritingQuietly().
void IgnoreWriteSignals() noexcept;

/// Copies the unread rest of one file to another with WriteQuietly(). Returns false, with errno
/// set, if a byte is missing.
[[nodiscard]] bool CopyAll(int from, int to) noexcept;

/// Opens "/dev/null" for each of the descriptors 0 to 2 that is closed, so that no file opened
/// later becomes the standard output.
void EnsureStandardStreams() noexcept;

}  // namespace quellmark::runtime
