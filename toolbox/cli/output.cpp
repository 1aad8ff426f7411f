#include "toolbox/cli/output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace quellmark::cli {

namespace {

[[noreturn]] void FailWith(const std::string& path, const char* what, int error) {
  throw std::runtime_error(path + ": " + what + ": " + std::strerror(error));
}

// Writes everything to a descriptor. Returns the error number, or 0.
int WriteAll(int fd, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = ::write(fd, content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return errno;
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  return 0;
}

// A temporary file beside the final one. It is removed unless it gets the final name.
class FileBeside {
 public:
  explicit FileBeside(const std::string& path) : path_(path), beside_(path + ".XXXXXX") {
    fd_ = ::mkostemp(beside_.data(), O_CLOEXEC);
    if (fd_ < 0) FailWith(path_, "can not be created", errno);
  }
  FileBeside(const FileBeside&) = delete;
  FileBeside& operator=(const FileBeside&) = delete;
  ~FileBeside() {
    if (fd_ >= 0) ::close(fd_);
    if (!is_in_place_) ::unlink(beside_.c_str());
  }

  void Write(std::string_view content) const {
    if (const int error = WriteAll(fd_, content); error != 0) {
      FailWith(path_, "can not be written", error);
    }
  }
  void PutInPlace() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    constexpr mode_t kNewFile = 0666;
    if (::fchmod(fd_, kNewFile & ~mask) != 0) FailWith(path_, "can not be written", errno);
    const int error = ::close(fd_) == 0 ? 0 : errno;
    fd_ = -1;
    if (error != 0) FailWith(path_, "can not be written", error);
    if (std::rename(beside_.c_str(), path_.c_str()) != 0) {
      FailWith(path_, "can not be replaced", errno);
    }
    is_in_place_ = true;
  }

 private:
  const std::string& path_;
  std::string beside_;
  int fd_ = -1;
  bool is_in_place_ = false;
};

}  // namespace

void WriteOutput(const std::string& path, std::string_view content) {
  if (path.empty()) {
    std::fflush(stdout);
    if (const int error = WriteAll(STDOUT_FILENO, content); error != 0) {
      FailWith("standard output", "can not be written", error);
    }
    return;
  }
  FileBeside file(path);
  file.Write(content);
  file.PutInPlace();
}

std::string ReadInput(const std::string& path) {
  const bool is_standard = path == "-";
  const int fd = is_standard ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) FailWith(path, "can not be opened", errno);
  std::string content;
  std::array<char, 65536> buffer;
  int error = 0;
  for (;;) {
    const ssize_t size = ::read(fd, buffer.data(), buffer.size());
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) error = errno;
    if (size <= 0) break;
    content.append(buffer.data(), static_cast<std::size_t>(size));
  }
  if (!is_standard) ::close(fd);
  if (error != 0) FailWith(path, "can not be read", error);
  return content;
}

}  // namespace quellmark::cli
