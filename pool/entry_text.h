// From a value to the text of its entry.
#pragma once

#include "pool/file_writer.h"
#include "pool/pool_item.h"

namespace quellmark::pool {

/// Refuses what could not be read back: a line over kLineLimit characters, line ends or NUL in a
/// text or comment, numbers that are not finite, indices beyond int (INVALID_PARAMETER_VALUE); a
/// key that is empty, begins with "#" or holds a blank, tab, line end or NUL
/// (INVALID_PARAMETER_VALUE), or is longer than kKeyLimit (PARAMETER_KEY_TOO_LONG); a value of no
/// type (WRONG_PARAMETER_TYPE).
void CheckItem(const PARAMETER_POOL_ITEM& item);

/// Writes the comments and the entry in the layout that all pool files have, and flushes them. A
/// failure stays in out.Error().
void WriteItem(const PARAMETER_POOL_ITEM& item, FileWriter& out);

}  // namespace quellmark::pool
