#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <functional>

#include "api/call.h"
#include "api/pool_values.h"
#include "basic/errors.h"
#include "pool/entry_scanner.h"
#include "pool/pool_file.h"
#include <quellmark/pool.h>

namespace quellmark {
namespace {

using api::Call;
using api::Concern;
using runtime::Fail;

// Finds types by name. It tries the type of the previous entry first, because neighbours often have
// the same type.
class TypeFinder {
 public:
  ValueType Find(std::string_view name) {
    if (name != name_) {
      name_ = name;
      type_ = TypeFromName(name);
    }
    return type_;
  }

 private:
  std::string_view name_;
  ValueType type_ = ValueType::kUnknown;
};

// A log for this thread that drops all lines.
LOG& Silence() {
  thread_local LOG log([](LOG::Level, std::string_view) {}, LOG::Level::kSilent);
  return log;
}

std::string ReadWhole(const std::string& path) {
  const pool::PoolFile file = pool::OpenPoolFileForReading(path);
  struct stat status {};
  if (!file.fd.IsOpen() || ::fstat(file.fd.Get(), &status) != 0) {
    Fail<CAN_NOT_OPEN_POOL>("can not open parameter file ", path, "\n");
  }
  std::string text;
  text.resize(static_cast<std::size_t>(status.st_size));
  std::size_t held = 0;
  while (true) {
    if (held == text.size()) text.resize(held + 4096);  // the file may grow meanwhile
    const ssize_t got = ::read(file.fd.Get(), text.data() + held, text.size() - held);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      Fail<ERROR_CAN_NOT_READ_FILE>("can not read parameter file ", path, ": ",
                                    std::strerror(errno), "\n");
    }
    if (got == 0) break;
    held += static_cast<std::size_t>(got);
  }
  text.resize(held);
  return text;
}

}  // namespace

std::string_view NameOf(ValueType type) noexcept {
  const auto i = static_cast<std::size_t>(type);
  return pool::TypeName(i < pool::kValueTypeCount ? static_cast<pool::ValueType>(i)
                                                  : pool::ValueType::kUnknown);
}

ValueType TypeFromName(std::string_view name) noexcept {
  return static_cast<ValueType>(pool::TypeFromName(name));
}

struct Pool::Content {
  Content(std::string name, std::string content);

  [[nodiscard]] const Entry* Find(std::string_view key) const noexcept {
    return entries.empty() ? nullptr : At(SlotOf(key, HashOf(key)));
  }
  [[nodiscard]] Value Parse(const Entry& entry) const;
  [[nodiscard]] api::Subject SubjectOf(const Entry& entry) const {
    return {.concern = Concern::kPool, .file = path, .key = entry.key, .line = entry.line};
  }

  std::string path;
  std::string text;
  std::vector<Entry> entries;

 private:
  // A slot of a hash table with open addressing. The tag is a part of the hash. Entries with
  // different tags have different keys, so a search need not read them in memory far away.
  struct Slot {
    std::uint32_t number = 0;  // of an entry, from 1; 0 for none
    std::uint32_t tag = 0;
  };

  [[nodiscard]] static std::size_t HashOf(std::string_view key) noexcept {
    return std::hash<std::string_view>()(key);
  }
  [[nodiscard]] static std::uint32_t TagOf(std::size_t hash) noexcept {
    return static_cast<std::uint32_t>(hash >> 32U);
  }
  void MakeIndex();
  [[nodiscard]] std::size_t SlotOf(std::string_view key, std::size_t hash) const noexcept;
  [[nodiscard]] const Entry* At(std::size_t slot) const noexcept {
    return slots_[slot].number != 0 ? &entries[slots_[slot].number - 1] : nullptr;
  }

  std::vector<Slot> slots_;
};

Pool::Content::Content(std::string name, std::string content)
    : path(std::move(name)), text(std::move(content)) {
  constexpr std::size_t kShortEntry = 50;  // unused reserved memory is no loss
  entries.reserve(text.size() / kShortEntry);
  pool::EntryScanner scanner(text);
  TypeFinder types;
  for (pool::PoolEntry found; scanner.Next(found);) {
    const char* const end = found.body.data() + found.body.size();
    entries.push_back({.key = found.key,
                       .type_name = found.type,
                       .text = {found.rest.data(), end},
                       .comment_text = found.comments,
                       .line = found.line,
                       .type = types.Find(found.type),
                       .is_repeated = false});
  }
  MakeIndex();
}

void Pool::Content::MakeIndex() {
  std::size_t size = 2;
  while (size < 2 * entries.size()) size *= 2;
  slots_.assign(size, {});
  // The slots of successive entries are far apart in memory, so those of several entries are
  // prefetched together.
  constexpr std::size_t kAtOnce = 16;
  std::array<std::size_t, kAtOnce> hashes{};
  for (std::size_t first = 0; first < entries.size(); first += kAtOnce) {
    const std::size_t end = std::min(first + kAtOnce, entries.size());
    for (std::size_t i = first; i < end; ++i) {
      hashes[i - first] = HashOf(entries[i].key);
      __builtin_prefetch(&slots_[hashes[i - first] & (size - 1)], 1);
    }
    for (std::size_t i = first; i < end; ++i) {
      const std::size_t hash = hashes[i - first];
      Slot& slot = slots_[SlotOf(entries[i].key, hash)];
      entries[i].is_repeated = slot.number != 0;
      if (slot.number == 0) slot = {static_cast<std::uint32_t>(i + 1), TagOf(hash)};
    }
  }
}

std::size_t Pool::Content::SlotOf(std::string_view key, std::size_t hash) const noexcept {
  const std::size_t mask = slots_.size() - 1;
  const std::uint32_t tag = TagOf(hash);
  std::size_t at = hash & mask;
  while (slots_[at].number != 0 && (slots_[at].tag != tag || At(at)->key != key)) {
    at = (at + 1) & mask;
  }
  return at;
}

Value Pool::Content::Parse(const Entry& entry) const {
  return Call(SubjectOf(entry), [&] {
    pool::PoolEntry core;
    core.key = entry.key;
    core.type = entry.type_name;
    // The lines of the entry are nearly always enough, so nothing after them is read. Only a
    // missing body, or one that is not indented, requires the rest of the file.
    core.rest = entry.text;
    try {
      const runtime::LogScope silence(Silence());
      return api::FromCore(pool::ParseEntry(core));
    } catch (...) {
      core.rest = {entry.key.data(), text.data() + text.size()};
      return api::FromCore(pool::ParseEntry(core));
    }
  });
}

Pool::Pool() : Pool(FromText({})) {}

Pool Pool::Open(const std::string& path) {
  return Call({.concern = Concern::kPool, .file = path},
              [&] { return Pool(std::make_shared<const Content>(path, ReadWhole(path))); });
}

Pool Pool::FromText(std::string text, std::string name) {
  return Call({.concern = Concern::kPool, .file = name},
              [&] { return Pool(std::make_shared<const Content>(name, std::move(text))); });
}

const std::string& Pool::Path() const noexcept { return content_->path; }
std::string_view Pool::Text() const noexcept { return content_->text; }
std::span<const Entry> Pool::Entries() const noexcept { return content_->entries; }
const Entry* Pool::Find(std::string_view key) const noexcept { return content_->Find(key); }

Value Pool::Get(std::string_view key) const {
  if (const Entry* entry = Find(key)) return content_->Parse(*entry);
  return Call({.concern = Concern::kPool, .file = Path(), .key = key}, [key]() -> Value {
    Fail<PARAMETER_KEY_NOT_FOUND>("parameter pool: parameter key >> ", key, " << not found\n");
  });
}

Value Pool::Get(std::string_view key, ValueType type) const {
  const Entry* entry = Find(key);
  if (entry == nullptr) return Get(key);  // throws
  if (entry->type != type || type == ValueType::kUnknown) {
    return Call(content_->SubjectOf(*entry), [&]() -> Value {
      Fail<WRONG_PARAMETER_TYPE>("parameter pool: parameter key >> ", key, " << type ",
                                 NameOf(type), " expected\n");
    });
  }
  return content_->Parse(*entry);
}

Value Pool::Parse(const Entry& entry) const { return content_->Parse(entry); }

std::vector<std::string> Pool::CommentsOf(const Entry& entry) const {
  std::vector<std::string> lines;
  for (std::string_view rest = entry.comment_text; !rest.empty();) {
    const std::size_t end = rest.find_first_of("\r\n");
    const std::string_view line = rest.substr(0, end);
    if (!line.empty()) lines.emplace_back(line.substr(1));  // between CR and LF it is empty
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  }
  return lines;
}

}  // namespace quellmark
