// The words that somebody types on the standard input.
#pragma once

#include <array>
#include <cstddef>
#include <string>

namespace quellmark::runtime {

/// Reads the standard input word by word and keeps what it has read beyond a word for the next one.
class Keyboard {
 public:
  /// Waits for the next word, even if the descriptor is non-blocking. Returns false at the end of
  /// the input.
  bool ReadWord(std::string& word);

 private:
  // Returns the next byte, or -1 at the end.
  int NextByte();

  std::array<char, 4096> block_;
  std::size_t next_ = 0;
  std::size_t end_ = 0;
};

}  // namespace quellmark::runtime
