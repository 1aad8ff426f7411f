// The words that somebody types on the standard input.
#pragma once

#include <array>
#include <cstddef>
#include <string>

namespace quellmark::runtime {

/// Reads the standard input word by word; what was read beyond a word is kept for the next one.
class Keyboard {
 public:
  /// Waits for the next word, also where the descriptor is set not to wait; false at the input's
  /// end.
  bool ReadWord(std::string& word);

 private:
  // The next byte, or -1 at the end.
  int NextByte();

  std::array<char, 4096> block_;
  std::size_t next_ = 0;
  std::size_t end_ = 0;
};

}  // namespace quellmark::runtime
