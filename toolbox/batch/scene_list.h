// The scenes of a batch run: which there are, what they are called.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
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

struct SceneList {
  std::vector<Scene> scenes;  ///< in the order of the list; each path once
  std::size_t repeated = 0;   ///< lines that named a path again
};

/// Reads the part's scenes: from a file with one path a line (empty lines and lines that begin with
/// "#" are left out; relative paths start at the current directory), from standard input if `list`
/// is "-", or all files "*.pool" of a folder, by name. Throws std::runtime_error.
[[nodiscard]] SceneList ReadSceneList(const std::string& list, const Part& part);

}  // namespace quellmark::batch
