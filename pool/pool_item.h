// What waits to be written into a pool.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "basic/list.h"
#include "pool/value_type.h"

/// An entry to be written: its value has the type of the entry.
struct PARAMETER_POOL_ITEM {
  std::string key;
  quellmark::pool::AnyValue value;
  std::vector<std::string> comments;  ///< the lines above the entry, without "#" and line end

  [[nodiscard]] quellmark::pool::ValueType Type() const {
    return static_cast<quellmark::pool::ValueType>(value.index());
  }
};

/// The pending entries in the order in which they were added; each key occurs once.
class PARAMETER_POOL_LIST : public LIST<PARAMETER_POOL_ITEM> {
 public:
  /// end() if there is none.
  [[nodiscard]] iterator Find(std::string_view key) {
    return std::find_if(begin(), end(),
                        [key](const PARAMETER_POOL_ITEM& item) { return item.key == key; });
  }
};
