// Bodies of sub_array.h; only sub_array.h may include this file.
#pragma once

#include <algorithm>
#include <functional>
#include <string>

#include "basic/alarm.h"
#include "basic/errors.h"

template <class T>
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): it throws, too
SUB_ARRAY<T>& SUB_ARRAY<T>::operator=(const SUB_ARRAY& other) {
  const std::size_t common = std::min(Elements().size(), other.Elements().size());
  if (std::less<>()(elements_, other.elements_)) {  // the two may overlap
    std::copy_n(other.elements_, common, elements_);
  } else if (elements_ != other.elements_) {
    std::copy_backward(other.elements_, other.elements_ + common, elements_ + common);
  }
  quellmark::basic::Alarm("never call: SUB_ARRAY<T>::operator=( const SUB_ARRAY< T >& )\n");
  throw ERROR_NOT_IMPLEMENTED();
}

template <class T>
void SUB_ARRAY<T>::Show(ARRAY<T>& of, int first, int last) {
  const auto length = static_cast<long long>(last) - first + 1;
  const auto skipped = static_cast<long long>(first) - of.First();
  if (length < 0 || skipped < 0 || skipped + length > of.Length()) {
    quellmark::basic::Alarm("SUB_ARRAY: " + std::to_string(first) + ".." + std::to_string(last) +
                            " is not within " + std::to_string(of.First()) + ".." +
                            std::to_string(of.Last()) + "\n");
    throw ERROR_ARGUMENT();
  }
  range_ = RANGE<int>(first, static_cast<int>(length));
  elements_ = of.Elements().data() + skipped;
}
