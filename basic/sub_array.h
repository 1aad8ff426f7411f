// A view of part of an array.
#pragma once

#include <cstddef>
#include <span>

#include "basic/array.h"
#include "basic/point.h"

/// Shows the elements first..last of an array under the array's own indices, without owning them.
/// The array must outlive the view and keep its storage. A copy of a view shows the same elements;
/// Show() directs a view elsewhere. Assignment always fails.
template <class T>
class SUB_ARRAY {
 public:
  /// A view of nothing, with length 0.
  SUB_ARRAY() = default;
  /// Throws ERROR_ARGUMENT if first..last is not within the array. last = first - 1 shows nothing.
  SUB_ARRAY(ARRAY<T>& of, int first, int last) { Show(of, first, last); }
  SUB_ARRAY(const SUB_ARRAY& other) = default;
  ~SUB_ARRAY() = default;

  /// Always fails: copies as many elements as the shorter view has, then reports an alarm and
  /// throws ERROR_NOT_IMPLEMENTED. This is deliberate: code that assigns views has forgotten that
  /// they do not own their elements.
  SUB_ARRAY& operator=(const SUB_ARRAY& other);  // NOLINT(bugprone-unhandled-self-assignment)

  /// Directs the view to another part or another array. Throws as the constructor does.
  void Show(ARRAY<T>& of, int first, int last);

  [[nodiscard]] int Length() const { return range_.Length(); }
  [[nodiscard]] int First() const { return range_.Start(); }
  [[nodiscard]] int Last() const { return range_.Last(); }
  [[nodiscard]] RANGE<int> Range() const { return range_; }
  /// Element at an index of first..last; unchecked.
  [[nodiscard]] T& operator[](int index) const {
    return elements_[static_cast<std::ptrdiff_t>(index) - range_.Start()];
  }
  [[nodiscard]] std::span<T> Elements() const {
    return {elements_, static_cast<std::size_t>(range_.Length())};
  }

 private:
  RANGE<int> range_{0, 0};
  T* elements_ = nullptr;
};

#include "basic/sub_array.tcc"  // IWYU pragma: keep

extern template class SUB_ARRAY<POINT<float>>;
extern template class SUB_ARRAY<POINT<double>>;
extern template class SUB_ARRAY<DPOINT<float>>;
extern template class SUB_ARRAY<DPOINT<double>>;
