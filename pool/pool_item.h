// The entries that are pending: the next update will write them into a pool.
#pragma once

#include <iterator>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "basic/list.h"

/// An entry to be written.
struct PARAMETER_POOL_ITEM {
  std::string key;
  std::string text;        ///< its lines for the file, comments included
  bool is_placed = false;  ///< used by an update: the entry is already written
};

/// The pending entries in the order in which they were added; each key occurs once.
class PARAMETER_POOL_LIST {
 public:
  using Items = LIST<PARAMETER_POOL_ITEM>;

  /// Returns nullptr if there is none. The time does not depend on the number of entries.
  [[nodiscard]] PARAMETER_POOL_ITEM* Find(std::string_view key) {
    const auto found = places_.find(key);
    return found != places_.end() ? &*found->second : nullptr;
  }
  /// Replaces the text of the pending entry of this key, or adds one at the end.
  void Set(std::string key, std::string text) {
    if (PARAMETER_POOL_ITEM* const item = Find(key)) {
      item->text = std::move(text);
      return;
    }
    items_.Append({std::move(key), std::move(text)});
    const auto last = std::prev(items_.end());
    try {
      places_.emplace(last->key, last);
    } catch (...) {
      items_.Remove(last);
      throw;
    }
  }
  /// Returns false if the key is not pending.
  bool Remove(std::string_view key) {
    const auto found = places_.find(key);
    if (found == places_.end()) return false;
    const auto item = found->second;
    places_.erase(found);
    items_.Remove(item);
    return true;
  }
  void Clear() {
    places_.clear();
    items_.Clear();
  }

  [[nodiscard]] bool IsEmpty() const { return items_.IsEmpty(); }
  [[nodiscard]] Items::iterator begin() { return items_.begin(); }
  [[nodiscard]] Items::iterator end() { return items_.end(); }

 private:
  Items items_;
  std::unordered_map<std::string_view, Items::iterator> places_;  // views of the items' keys
};
