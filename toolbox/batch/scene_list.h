// The scenes of a batch run and their names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quellmark::batch {

/// The I-th of N parts of a list, from 1. The path of a scene determines its part, so the part
/// stays the same when the list grows or is sorted.
struct Part {
  std::uint32_t index = 1;
  std::uint32_t count = 1;

  [[nodiscard]] bool IsWhole() const { return count == 1; }
};

/// Reads "I/N". Throws std::runtime_error unless 1 <= I <= N.
[[nodiscard]] Part ParsePart(const std::string& text);

/// One scene pool.
struct Scene {
  std::string path;  ///< absolute
  std::uint64_t id;  ///< a hash of the path

  /// A name for its files, different for each path, with at most 49 safe characters.
  [[nodiscard]] std::string Name() const;
};

/// Scenes in the order of a list, each path once. A scene takes its path and three words, so a
/// million scenes need some 100 MB.
class SceneList {
 public:
  /// Adds an absolute path. Must not be called after Finish().
  void Add(std::string_view path, std::uint64_t id);
  /// Drops repeated paths.
  void Finish();

  [[nodiscard]] std::size_t Size() const { return ids_.size(); }
  /// The number of paths that Finish() has dropped.
  [[nodiscard]] std::size_t Repeated() const { return repeated_; }
  [[nodiscard]] Scene At(std::size_t place) const {
    return {std::string(PathAt(place)), ids_[place]};
  }
  /// The place of a path, or Size() if it is not there.
  [[nodiscard]] std::size_t Find(std::string_view path) const;

 private:
  [[nodiscard]] std::string_view PathAt(std::size_t place) const {
    const std::size_t begin = place == 0 ? 0 : ends_[place - 1];
    return std::string_view(paths_).substr(begin, ends_[place] - begin);
  }
  void SortById();

  std::string paths_;  // one after the other
  std::vector<std::size_t> ends_;
  std::vector<std::uint64_t> ids_;
  std::vector<std::size_t> by_id_;  // places, ordered by id, then by place
  std::size_t repeated_ = 0;
};

/// Reads the scenes of a part. `list` is a file with one path per line, "-" for standard input, or
/// a folder whose files "*.pool" are taken in the order of their names. Empty lines and lines that
/// begin with "#" are ignored; relative paths start at the current directory. Throws
/// std::runtime_error.
[[nodiscard]] SceneList ReadSceneList(const std::string& list, const Part& part);

}  // namespace quellmark::batch
