#include "basic/string.h"

#include <stdexcept>

namespace {

[[noreturn]] void ThrowSubscript() {
  throw std::out_of_range("subscript greater than string length");
}

}  // namespace

const char* STRING::Text() const {
  if (text_.empty()) ThrowSubscript();
  return text_.c_str();
}

char STRING::operator[](std::size_t index) const {
  if (index >= text_.size()) ThrowSubscript();
  return text_[index];
}
