// Where a command puts its result.
#pragma once

#include <string>
#include <string_view>

namespace quellmark::cli {

/// Writes `content` to standard output if `path` is empty; else to that file, whole or not at all:
/// a file that stands there stays as it is until the new one is complete. Throws
/// std::runtime_error.
void WriteOutput(const std::string& path, std::string_view content);

/// The whole of a file, or of standard input for "-"; throws std::runtime_error.
[[nodiscard]] std::string ReadInput(const std::string& path);

/// Splits a text into lines without their ends; a last one without an end counts.
template <class Function>
void ForEachLine(std::string_view text, Function function) {
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    function(line);
  }
}

}  // namespace quellmark::cli
