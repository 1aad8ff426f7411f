// Turns a value into the text of its entry.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "pool/value_type.h"

namespace quellmark::pool {

/// Returns the lines of an entry in the layout that all pool files have: its comments, the key
/// line, a body and an empty line. Refuses whatever could not be read back. Throws
/// INVALID_PARAMETER_VALUE for a line over kLineLimit characters, for line ends or NUL in a text or
/// comment, for numbers that are not finite, for indices beyond int, and for a key that is empty,
/// begins with "#" or contains a blank, tab, line end or NUL. Throws PARAMETER_KEY_TOO_LONG for a
/// key longer than kKeyLimit, WRONG_PARAMETER_TYPE for a NoValue, and ERROR_NO_MEMORY if the text
/// does not fit in memory.
[[nodiscard]] std::string EntryText(std::string_view key, const AnyValue& value,
                                    const std::vector<std::string>& comments);

}  // namespace quellmark::pool
