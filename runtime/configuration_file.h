// The controller's configuration file: lines of a parameter name and its value.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace quellmark::runtime {

/// An open configuration file. A look-up starts where the one before it stopped.
class ConfigurationFile {
 public:
  /// Opens a regular file for reading and returns whether that succeeded. Any other kind of file
  /// counts as missing, because a search must be able to return to its start.
  bool Open(const char* path);
  [[nodiscard]] bool IsOpen() const { return file_ != nullptr; }
  void Close() { file_.reset(); }

  /// Searches for a line whose first word is `name`, sets `value` to its second word and returns
  /// whether there is one. The search starts at the present position and, at the end of the file,
  /// once more at the top. A line of more than 1024 characters continues as the next line. A line
  /// of one word has no value and is skipped.
  bool Find(std::string_view name, std::string& value);

 private:
  struct Closer {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
  };

  bool FindToEnd(std::string_view name, std::string& value);

  std::unique_ptr<std::FILE, Closer> file_;
};

}  // namespace quellmark::runtime
