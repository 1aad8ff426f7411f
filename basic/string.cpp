#include "basic/string.h"

#include <new>
#include <stdexcept>

#include "basic/alarm.h"
#include "basic/errors.h"

namespace {

[[noreturn]] void ThrowSubscript() {
  throw std::out_of_range("subscript greater than string length");
}

// Runs an action that allocates memory for a text. A length beyond all limits counts as a lack of
// memory, too.
template <class Action>
void OrNoMemory(Action action) {
  const auto fail = [] {
    quellmark::basic::Alarm("STRING: not enough memory for a text\n");
    throw ERROR_NO_MEMORY();
  };
  try {
    action();
  } catch (const std::bad_alloc&) {
    fail();
  } catch (const std::length_error&) {
    fail();
  }
}

}  // namespace

STRING::STRING(std::string_view text) {
  OrNoMemory([&] { text_ = text; });
}

STRING& STRING::operator=(const STRING& other) {
  OrNoMemory([&] { text_ = other.text_; });
  return *this;
}

STRING& STRING::operator+=(std::string_view tail) {
  OrNoMemory([&] { text_ += tail; });
  return *this;
}

const char* STRING::Text() const {
  if (text_.empty()) ThrowSubscript();
  return text_.c_str();
}

char STRING::operator[](std::size_t index) const {
  if (index >= text_.size()) ThrowSubscript();
  return text_[index];
}
