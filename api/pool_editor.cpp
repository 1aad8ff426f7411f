#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <type_traits>
#include <unordered_map>

#include "api/call.h"
#include "api/pool_values.h"
#include "basic/errors.h"
#include "basic/unique_fd.h"
#include "pool/entry_text.h"
#include "pool/parameter_pool_read_write_change.h"
#include "runtime/streams.h"
#include <quellmark/pool.h>

namespace quellmark {
namespace {

using api::Call;
using api::Concern;
using basic::UniqueFd;
using runtime::Fail;

// Returns the kind of the file at `path`, or 0 if there is none.
mode_t KindOf(const std::string& path, mode_t& permissions) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return 0;
  permissions = status.st_mode & 07777;
  return status.st_mode & S_IFMT;
}

[[noreturn]] void FailWriting(const std::string& path, int error) {
  Fail<ERROR_CAN_NOT_WRITE_FILE>("can not write parameter file ", path, ": ", std::strerror(error),
                                 "\n");
}

// A new file beside `path`, which gets that name once it is complete. Otherwise it is removed.
class NewFile {
 public:
  explicit NewFile(const std::string& path) : path_(path) {
    static std::atomic<unsigned> count = 0;
    temporary_ = path + ".new." + std::to_string(::getpid()) + "." + std::to_string(count++);
    mode_t permissions = 0666;
    const mode_t kind = KindOf(path, permissions);
    if (kind != 0 && kind != S_IFREG) FailWriting(path, EEXIST);
    fd_ =
        UniqueFd(::open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions));
    if (!fd_.IsOpen()) FailWriting(path, errno);
    // The permissions of a replaced file are kept, even against the umask of this process.
    if (kind != 0) static_cast<void>(::fchmod(fd_.Get(), permissions));
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile() {
    if (!done_) static_cast<void>(::unlink(temporary_.c_str()));
  }

  [[nodiscard]] int Descriptor() const { return fd_.Get(); }

  void Finish() {
    if (::fsync(fd_.Get()) != 0 || ::rename(temporary_.c_str(), path_.c_str()) != 0) {
      FailWriting(path_, errno);
    }
    done_ = true;
  }

 private:
  const std::string& path_;
  std::string temporary_;
  UniqueFd fd_;
  bool done_ = false;
};

// A collected entry.
struct Item {
  std::string key;
  pool::AnyValue value;
  std::vector<std::string> comments;
  std::string text;  // its lines for the file
};

}  // namespace

struct PoolEditor::Entries {
  void Set(Item item) {
    const auto [place, is_new] = places.try_emplace(item.key, items.size());
    if (is_new) {
      items.push_back(std::move(item));
    } else {
      items[place->second] = std::move(item);
    }
  }

  [[nodiscard]] std::string Text() const {
    std::string text;
    for (const Item& item : items) text += item.text;
    return text;
  }

  std::vector<Item> items;
  std::unordered_map<std::string, std::size_t> places;  // positions of the keys in `items`
};

PoolEditor::PoolEditor() : entries_(std::make_unique<Entries>()) {}
PoolEditor::PoolEditor(const PoolEditor& other)
    : entries_(std::make_unique<Entries>(*other.entries_)) {}
PoolEditor::PoolEditor(PoolEditor&& other) noexcept = default;
PoolEditor& PoolEditor::operator=(const PoolEditor& other) {
  if (this != &other) entries_ = std::make_unique<Entries>(*other.entries_);
  return *this;
}
PoolEditor& PoolEditor::operator=(PoolEditor&& other) noexcept = default;
PoolEditor::~PoolEditor() = default;

PoolEditor& PoolEditor::Set(std::string_view key, Value value, std::vector<std::string> comments) {
  Call({.concern = Concern::kPool, .key = key}, [&] {
    pool::AnyValue core_value = api::ToCore(key, value);
    std::string text = pool::EntryText(key, core_value, comments);
    entries_->Set({std::string(key), std::move(core_value), std::move(comments), std::move(text)});
  });
  return *this;
}

bool PoolEditor::Discard(std::string_view key) {
  const auto place = entries_->places.find(std::string(key));
  if (place == entries_->places.end()) return false;
  const std::size_t gone = place->second;
  entries_->places.erase(place);
  entries_->items.erase(entries_->items.begin() + static_cast<std::ptrdiff_t>(gone));
  for (auto& [other, i] : entries_->places) {
    if (i > gone) --i;
  }
  return true;
}

std::size_t PoolEditor::Size() const noexcept { return entries_->items.size(); }

void PoolEditor::Update(const std::string& path) const {
  Call({.concern = Concern::kPool, .file = path}, [&] {
    mode_t permissions = 0;
    if (KindOf(path, permissions) == 0) {  // the core would create it
      Fail<CAN_NOT_OPEN_POOL>("can not open parameter file ", path, ": ", std::strerror(ENOENT),
                              "\n");
    }
    PARAMETER_POOL_READ_WRITE_CHANGE pool(path);
    for (const Item& item : entries_->items) {
      std::visit(
          [&]<class T>(const T& value) {
            pool.Set<pool::kTypeOf<T>>(item.key, value, item.comments);
          },
          item.value);
    }
    pool.Close();
  });
}

std::string PoolEditor::Text() const {
  return Call({.concern = Concern::kPool}, [&] { return entries_->Text(); });
}

void PoolEditor::Write(const std::string& path) const {
  Call({.concern = Concern::kPool, .file = path}, [&] {
    NewFile file(path);
    if (!runtime::WriteAll(file.Descriptor(), entries_->Text())) FailWriting(path, errno);
    file.Finish();
  });
}

}  // namespace quellmark
