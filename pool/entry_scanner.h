// Visits all entries of a pool in one pass, for callers that want the whole pool instead of single
// keys.
#pragma once

#include <cstddef>
#include <string_view>

#include "pool/line_reader.h"
#include "pool/value_type.h"

namespace quellmark::pool {

/// An entry as it stands in a pool. The views point into the pool's text.
struct PoolEntry {
  std::string_view key;
  std::string_view type;      ///< the name of the type in the file; empty if there is none
  std::string_view value;     ///< the rest of the key line, without blanks around it
  std::string_view body;      ///< the lines below, up to the next comment or key line
  std::string_view comments;  ///< the comment lines right above, with "#" and line ends
  std::size_t line = 0;   ///< number of the key line in an editor: the line feeds before it, plus 1
  std::string_view rest;  ///< the text from the key line to the end of the pool

  [[nodiscard]] ValueType Type() const { return TypeFromName(type); }
};

/// Walks over the entries of a pool's text in memory, in their order. If a key occurs twice, both
/// entries are visited; a look-up finds the first one. Neither logs nor allocates.
class EntryScanner {
 public:
  /// `text` must outlive the scanner and its entries.
  explicit EntryScanner(std::string_view text);

  /// Sets `entry` to the next entry; returns false after the last one.
  [[nodiscard]] bool Next(PoolEntry& entry);

 private:
  void NextLine();
  [[nodiscard]] bool EndsPairOfLineEnds() const;

  std::string_view text_;
  LineReader lines_;
  std::string_view line_;  // the current line; empty after the last one
  std::size_t number_ = 1;
};

/// The value of an entry, read as PARAMETER_POOL::Read() reads it, with the same messages and
/// exceptions; index() of the value is the entry's type. Throws WRONG_PARAMETER_TYPE for an entry
/// of unknown type and ERROR_PARAMETER_POOL for one without a type.
[[nodiscard]] AnyValue ParseEntry(const PoolEntry& entry);

}  // namespace quellmark::pool
