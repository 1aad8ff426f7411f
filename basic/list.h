#pragma once

#include <cstddef>
#include <list>
#include <utility>

/// A linked list: items keep their addresses, and removing one keeps the iterators of the others
/// valid.
template <class T>
class LIST {
 public:
  using iterator = typename std::list<T>::iterator;
  using const_iterator = typename std::list<T>::const_iterator;

  [[nodiscard]] std::size_t Length() const { return items_.size(); }
  [[nodiscard]] bool IsEmpty() const { return items_.empty(); }
  /// Adds `item` at the end and returns a reference to the element in the list.
  T& Append(T item) { return items_.emplace_back(std::move(item)); }
  /// Returns the item after the removed one.
  iterator Remove(const_iterator position) { return items_.erase(position); }
  void Clear() { items_.clear(); }

  [[nodiscard]] iterator begin() { return items_.begin(); }
  [[nodiscard]] iterator end() { return items_.end(); }
  [[nodiscard]] const_iterator begin() const { return items_.begin(); }
  [[nodiscard]] const_iterator end() const { return items_.end(); }

 private:
  std::list<T> items_;
};
