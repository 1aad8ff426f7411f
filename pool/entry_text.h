// From a value to the text of its entry.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "pool/value_type.h"

namespace quellmark::pool {

/// Returns the lines of an entry in the layout that all pool files have: its comments, the key
/// line, a body and an empty line. Refuses what could not be read back: a line over kLineLimit
/// characters, line ends or NUL in a text or comment, numbers that are not finite, indices beyond
/// int (INVALID_PARAMETER_VALUE); a key that is empty, begins with "#" or holds a blank, tab, line
/// end or NUL (INVALID_PARAMETER_VALUE), or is longer than kKeyLimit (PARAMETER_KEY_TOO_LONG); a
/// value of no type (WRONG_PARAMETER_TYPE). Throws ERROR_NO_MEMORY if there is none for the text.
[[nodiscard]] std::string EntryText(std::string_view key, const AnyValue& value,
                                    const std::vector<std::string>& comments);

}  // namespace quellmark::pool
