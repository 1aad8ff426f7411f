#include "tests/support/rows.h"

#include <sstream>
#include <utility>

#include "tests/support/files.h"

namespace quellmark::test {
namespace {

std::string Unescaped(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      plain += text[i];
      continue;
    }
    const char c = text.at(++i);
    if (c == 'x') {
      plain += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
      i += 2;
      continue;
    }
    plain += c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c == '0' ? '\0' : c;
  }
  return plain;
}

}  // namespace

std::vector<Row> ReadRows(const std::filesystem::path& path, std::string_view separator) {
  constexpr std::string_view kContinuation = "    ";
  std::vector<std::string> whole_lines;
  std::istringstream lines(ReadFile(path));
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line[0] == '#') continue;
    if (line.starts_with(kContinuation) && !whole_lines.empty()) {
      whole_lines.back() += line.substr(kContinuation.size());
    } else {
      whole_lines.push_back(std::move(line));
    }
  }
  std::vector<Row> rows;
  for (const std::string& line : whole_lines) {
    Row& row = rows.emplace_back();
    for (std::string_view rest = line;;) {
      const std::size_t end = rest.find(separator);
      row.push_back(Unescaped(rest.substr(0, end)));
      if (end == std::string_view::npos) break;
      rest.remove_prefix(end + separator.size());
    }
  }
  return rows;
}

}  // namespace quellmark::test
