// Tables of expectations as text files beside the tests.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace quellmark::test {

using Row = std::vector<std::string>;

/// The lines of a file but for empty ones and those that begin with '#', each split into fields. In
/// a field \n, \r, \t, \0, \\ and \xHH stand for the bytes that they mean in a C++ text.
[[nodiscard]] std::vector<Row> ReadRows(const std::filesystem::path& path,
                                        std::string_view separator = " | ");

}  // namespace quellmark::test
