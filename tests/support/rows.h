// Reads tables of expectations from text files beside the tests.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace quellmark::test {

using Row = std::vector<std::string>;

/// Returns the lines of a file, each split into fields, without empty lines and lines that begin
/// with '#'. A line that begins with four blanks continues the one before it. In a field \n, \r,
/// \t, \0, \\ and \xHH have the same meaning as in C++.
[[nodiscard]] std::vector<Row> ReadRows(const std::filesystem::path& path,
                                        std::string_view separator = " | ");

}  // namespace quellmark::test
