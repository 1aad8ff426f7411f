#include "toolbox/batch/summary.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

namespace quellmark::batch {

namespace {

constexpr std::string_view kHeader =
    "scene,status,seconds,first_error,attempts,pool_bytes,pool_modified_ns,software\n";
constexpr std::size_t kColumns = 8;
constexpr std::array<std::string_view, 3> kStatusNames = {"located", "failed", "unfinished"};

[[noreturn]] void FailWith(const std::string& path, const char* what) {
  throw std::runtime_error(path + ": " + what + ": " + std::strerror(errno));
}

std::string Quoted(std::string_view field) {
  if (field.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(field);
  std::string quoted = "\"";
  for (const char c : field) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + '"';
}

std::string TextOf(const SummaryRow& row) {
  char seconds[40];
  std::snprintf(seconds, sizeof seconds, "%.3f", row.seconds);
  return Quoted(row.scene) + ',' +
         std::string(kStatusNames.at(static_cast<std::size_t>(row.status))) + ',' + seconds + ',' +
         Quoted(row.first_error) + ',' + std::to_string(row.attempts) + ',' +
         std::to_string(row.pool_bytes) + ',' + std::to_string(row.pool_modified_ns) + ',' +
         Quoted(row.software) + '\n';
}

// Removes the first row from `text` and returns its fields, or nothing if its line end is missing.
std::optional<std::vector<std::string>> TakeFields(std::string_view& text) {
  std::vector<std::string> fields(1);
  bool is_quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (is_quoted) {
      if (c != '"') {
        fields.back() += c;
      } else if (i + 1 < text.size() && text[i + 1] == '"') {
        fields.back() += text[++i];
      } else {
        is_quoted = false;
      }
    } else if (c == '"') {
      is_quoted = true;
    } else if (c == ',') {
      fields.emplace_back();
    } else if (c == '\n') {
      text.remove_prefix(i + 1);
      return fields;
    } else {
      fields.back() += c;
    }
  }
  return std::nullopt;
}

template <class Number>
bool Parse(const std::string& text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  return result.ec == std::errc() && result.ptr == end;
}

std::optional<SummaryRow> RowOf(std::vector<std::string>& fields) {
  SummaryRow row;
  if (fields.size() != kColumns) return std::nullopt;
  std::size_t status = 0;
  while (status < kStatusNames.size() && kStatusNames.at(status) != fields[1]) ++status;
  if (status == kStatusNames.size() || !Parse(fields[2], row.seconds) ||
      !Parse(fields[4], row.attempts) || !Parse(fields[5], row.pool_bytes) ||
      !Parse(fields[6], row.pool_modified_ns)) {
    return std::nullopt;
  }
  row.scene = std::move(fields[0]);
  row.status = static_cast<SceneStatus>(status);
  row.first_error = std::move(fields[3]);
  row.software = std::move(fields[7]);
  return row;
}

bool IsSameFile(int fd, const std::string& path) {
  struct stat open_file {};
  struct stat named_file {};
  return ::fstat(fd, &open_file) == 0 && ::stat(path.c_str(), &named_file) == 0 &&
         open_file.st_ino == named_file.st_ino && open_file.st_dev == named_file.st_dev;
}

}  // namespace

void PutInPlace(const std::string& beside, const std::string& path) {
  const int fd = ::open(beside.c_str(), O_WRONLY | O_CLOEXEC);
  const bool is_on_disk = fd >= 0 && ::fsync(fd) == 0;
  if (!is_on_disk) {
    const int error = errno;
    if (fd >= 0) ::close(fd);
    errno = error;
    FailWith(beside, "can not be written");
  }
  ::close(fd);
  if (std::rename(beside.c_str(), path.c_str()) != 0) FailWith(path, "can not be replaced");
}

PoolState StateOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
  return {status.st_size, status.st_mtim.tv_sec * kNanosecondsPerSecond + status.st_mtim.tv_nsec};
}

void ForEachRow(const std::string& path, const TakeRow& take) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(path + ": can not be opened");
  std::vector<char> piece(std::size_t{1} << 16);
  std::string buffer;
  bool is_begun = false;
  std::size_t rows = 0;
  do {
    file.read(piece.data(), static_cast<std::streamsize>(piece.size()));
    buffer.append(piece.data(), static_cast<std::size_t>(file.gcount()));
    std::string_view text = buffer;
    if (!is_begun) {
      if (kHeader.starts_with(text)) continue;  // empty, or a kill has cut the header
      if (!text.starts_with(kHeader)) {
        throw std::runtime_error(path + ": is no summary of a batch run");
      }
      text.remove_prefix(kHeader.size());
      is_begun = true;
    }
    while (auto fields = TakeFields(text)) {
      const std::optional<SummaryRow> row = RowOf(*fields);
      ++rows;
      if (!row) {
        throw std::runtime_error(path + ": row " + std::to_string(rows) +
                                 " is no row of a summary");
      }
      take(*row);
    }
    buffer.erase(0, buffer.size() - text.size());
  } while (file);
  if (file.bad()) throw std::runtime_error(path + ": can not be read");
}

FileLock::FileLock(std::string path, std::chrono::seconds patience, const std::string& held)
    : path_(std::move(path)) {
  for (;;) {
    fd_ = ::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd_ < 0) FailWith(path_, "can not be opened");
    try {
      Lock(patience, held);
    } catch (...) {
      ::close(fd_);
      throw;
    }
    // Another run may have removed the file between the two calls. The lock would then protect
    // nothing.
    if (IsSameFile(fd_, path_)) return;
    ::close(fd_);
  }
}

void FileLock::Lock(std::chrono::seconds patience, const std::string& held) const {
  const auto end = std::chrono::steady_clock::now() + patience;
  while (::flock(fd_, LOCK_EX | LOCK_NB) != 0) {
    // Some file systems have no locks. There the user must not start two runs of one part.
    if (errno == ENOLCK || errno == EOPNOTSUPP || errno == EINVAL) return;
    if (errno != EWOULDBLOCK) FailWith(path_, "can not be locked");
    if (std::chrono::steady_clock::now() >= end) throw std::runtime_error(held);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

FileLock::~FileLock() {
  ::unlink(path_.c_str());
  ::close(fd_);
}

// The lock needs its own file, because the summary is replaced by renaming.
Summary::Summary(std::string path)
    : path_(std::move(path)),
      lock_(path_ + ".lock", std::chrono::seconds(0), path_ + ": another batch run is writing it") {
  Open();
}

Summary::~Summary() { ::close(fd_); }

void Summary::Open() {
  const int fd = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (fd < 0) FailWith(path_, "can not be opened");
  if (fd_ >= 0) ::close(fd_);
  fd_ = fd;
}

void Summary::Replace(const std::function<void(const TakeRow&)>& fill) {
  const std::string beside = path_ + ".new";
  std::ofstream file(beside, std::ios::binary | std::ios::trunc);
  file << kHeader;
  try {
    fill([&file](const SummaryRow& row) { file << TextOf(row); });
  } catch (...) {
    std::remove(beside.c_str());
    throw;
  }
  file.close();
  if (!file) FailWith(beside, "can not be written");
  PutInPlace(beside, path_);
  Open();
}

void Summary::Append(const SummaryRow& row) { WriteAll(TextOf(row)); }

void Summary::WriteAll(std::string_view text) const {
  while (!text.empty()) {
    const ssize_t written = ::write(fd_, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) FailWith(path_, "can not be written");
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace quellmark::batch
