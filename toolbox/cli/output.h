// Input and output of the commands.
#pragma once

#include <string>
#include <string_view>

namespace quellmark::cli {

/// Writes `content` to standard output if `path` is empty, else to that file, completely or not at
/// all: an existing file is replaced only when the new one is complete. Throws std::runtime_error.
void WriteOutput(const std::string& path, std::string_view content);

/// Returns the whole content of a file, or of standard input for "-". Throws std::runtime_error.
[[nodiscard]] std::string ReadInput(const std::string& path);

/// Splits a text into lines without line ends. A last line need not have one.
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
