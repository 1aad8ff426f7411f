// The controller's configuration file: lines of a parameter name and its value.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace quellmark::runtime {

/// A configuration file under way. A look-up goes on where the one before it stopped.
class ConfigurationFile {
 public:
  /// Opens a regular file for reading; everything else counts as missing (a search must be able to
  /// start again). Tells whether that went well.
  bool Open(const char* path);
  [[nodiscard]] bool IsOpen() const { return file_ != nullptr; }
  void Close() { file_.reset(); }

  /// Searches from the present position, at the end of the file once more from the top, for a line
  /// whose first word is `name` and gives its second word. Lines of more than 1024 characters go on
  /// as the next line; a line of one word has no value and is passed over.
  bool Find(std::string_view name, std::string& value);

 private:
  struct Closer {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
  };

  bool FindToEnd(std::string_view name, std::string& value);

  std::unique_ptr<std::FILE, Closer> file_;
};

}  // namespace quellmark::runtime
