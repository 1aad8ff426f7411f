#include "toolbox/batch/scene_list.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <numeric>
#include <stdexcept>
#include <utility>

namespace quellmark::batch {

namespace {

namespace fs = std::filesystem;

// The hash function FNV-1a. The result is part of file names, so it must stay the same in all
// versions.
std::uint64_t HashOf(std::string_view text) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
  }
  return hash;
}

bool IsIn(const Part& part, std::uint64_t id) {
  // The low bits of the hash are the weakest, so the high bits are mixed in.
  return (id ^ (id >> 32)) % part.count == part.index - 1;
}

class Collector {
 public:
  explicit Collector(const Part& part) : part_(part) {}

  void Add(const std::string& path) {
    const std::string absolute = fs::absolute(path).lexically_normal().string();
    const std::uint64_t id = HashOf(absolute);
    if (IsIn(part_, id)) list_.Add(absolute, id);
  }

  SceneList Take() {
    list_.Finish();
    return std::move(list_);
  }

 private:
  Part part_;
  SceneList list_;
};

void AddLines(std::istream& lines, const std::string& name, Collector& collector) {
  std::string line;
  while (std::getline(lines, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty() || line.front() == '#') continue;
    if (line.find('\0') != std::string::npos) {
      throw std::runtime_error(name + ": holds a NUL byte, it is no list of paths");
    }
    collector.Add(line);
  }
  if (lines.bad()) throw std::runtime_error(name + ": can not be read");
}

void AddFolder(const std::string& folder, Collector& collector) {
  std::vector<std::string> paths;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() == ".pool") paths.push_back(entry.path().string());
  }
  std::sort(paths.begin(), paths.end());
  for (const std::string& path : paths) collector.Add(path);
}

}  // namespace

Part ParsePart(const std::string& text) {
  Part part;
  const char* const end = text.data() + text.size();
  const auto index = std::from_chars(text.data(), end, part.index);
  if (index.ec == std::errc() && index.ptr != end && *index.ptr == '/') {
    const auto count = std::from_chars(index.ptr + 1, end, part.count);
    if (count.ec == std::errc() && count.ptr == end && part.index >= 1 &&
        part.index <= part.count) {
      return part;
    }
  }
  throw std::runtime_error("a part is I/N with 1 <= I <= N, not '" + text + "'");
}

void SceneList::Add(std::string_view path, std::uint64_t id) {
  paths_ += path;
  ends_.push_back(paths_.size());
  ids_.push_back(id);
}

void SceneList::SortById() {
  by_id_.resize(Size());
  std::iota(by_id_.begin(), by_id_.end(), std::size_t{0});
  std::sort(by_id_.begin(), by_id_.end(), [this](std::size_t a, std::size_t b) {
    return ids_[a] != ids_[b] ? ids_[a] < ids_[b] : a < b;
  });
}

void SceneList::Finish() {
  SortById();
  std::vector<bool> is_repeated(Size());
  for (std::size_t i = 0; i < Size(); ++i) {
    const std::string_view path = PathAt(by_id_[i]);
    for (std::size_t k = i + 1; k < Size() && ids_[by_id_[k]] == ids_[by_id_[i]]; ++k) {
      if (PathAt(by_id_[k]) == path) is_repeated[by_id_[k]] = true;
    }
  }
  repeated_ = static_cast<std::size_t>(std::count(is_repeated.begin(), is_repeated.end(), true));
  if (repeated_ == 0) return;
  SceneList once;
  for (std::size_t place = 0; place < Size(); ++place) {
    if (!is_repeated[place]) once.Add(PathAt(place), ids_[place]);
  }
  once.SortById();
  once.repeated_ = repeated_;
  *this = std::move(once);
}

std::size_t SceneList::Find(std::string_view path) const {
  const std::uint64_t id = HashOf(path);
  auto at = std::lower_bound(
      by_id_.begin(), by_id_.end(), id,
      [this](std::size_t place, std::uint64_t wanted) { return ids_[place] < wanted; });
  while (at != by_id_.end() && ids_[*at] == id && PathAt(*at) != path) ++at;
  return at != by_id_.end() && ids_[*at] == id ? *at : Size();
}

std::string Scene::Name() const {
  constexpr std::size_t kMaxStem = 32;
  std::string name = fs::path(path).stem().string().substr(0, kMaxStem);
  for (char& c : name) {
    const bool is_harmless = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
                             (c >= 'A' && c <= 'Z') || c == '_' || c == '-';
    if (!is_harmless) c = '_';
  }
  char hash[18];
  std::snprintf(hash, sizeof hash, "-%016llx", static_cast<unsigned long long>(id));
  return name + hash;
}

SceneList ReadSceneList(const std::string& list, const Part& part) {
  Collector collector(part);
  try {
    if (list == "-") {
      AddLines(std::cin, "standard input", collector);
    } else if (fs::is_directory(list)) {
      AddFolder(list, collector);
    } else {
      std::ifstream lines(list);
      if (!lines) throw std::runtime_error(list + ": can not be opened");
      AddLines(lines, list, collector);
    }
  } catch (const fs::filesystem_error& error) {
    throw std::runtime_error(list + ": " + error.code().message());
  }
  return collector.Take();
}

}  // namespace quellmark::batch
