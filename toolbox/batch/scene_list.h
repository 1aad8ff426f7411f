// The scenes of a batch run: which there are, what they are called.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quellmark::batch {

/// The I-th of N parts of a list, from 1. A scene belongs to a part by its path, not by its place:
/// it stays there when the list grows or is sorted.
struct Part {
  std::uint32_t index = 1;
  std::uint32_t count = 1;

  [[nodiscard]] bool IsWhole() const { return count == 1; }
};

/// Reads "I/N"; throws std::runtime_error for anything but 1 <= I <= N.
[[nodiscard]] Part ParsePart(const std::string& text);

/// One scene pool.
struct Scene {
  std::string path;  ///< absolute
  std::uint64_t id;  ///< made from the path

  /// A name for its files, different for each path, of at most 49 harmless characters.
  [[nodiscard]] std::string Name() const;
};

/// Scenes in the order of a list, each path once. Holds three words for each beside its path, so
/// that a million of them need some 100 MB.
class SceneList {
 public:
  /// Takes an absolute path. To be called before Finish() alone.
  void Add(std::string_view path, std::uint64_t id);
  /// Drops the paths that stood there before.
  void Finish();

  [[nodiscard]] std::size_t Size() const { return ids_.size(); }
  /// How many paths Finish() has dropped.
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

  std::string paths_;  // one behind the other
  std::vector<std::size_t> ends_;
  std::vector<std::uint64_t> ids_;
  std::vector<std::size_t> by_id_;  // places, of equal identifiers in their order
  std::size_t repeated_ = 0;
};

/// Reads the part's scenes: from a file with one path a line (empty lines and lines that begin with
/// "#" are left out; relative paths start at the current directory), from standard input if `list`
/// is "-", or all files "*.pool" of a folder, by name. Throws std::runtime_error.
[[nodiscard]] SceneList ReadSceneList(const std::string& list, const Part& part);

}  // namespace quellmark::batch
