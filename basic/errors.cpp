#include "basic/errors.h"

#include <memory>

ERROR_EXCEPTION::~ERROR_EXCEPTION() = default;

const char* ERROR_EXCEPTION::Message() const { return "error occurred"; }

#define QM_ERROR(name, base, text) \
  const char* name::Message() const { return text; }

#include "basic/error_table.inc"

namespace BASIC::TYPES {

#include "basic/enum_error_table.inc"

const char* ERROR_ENUM_BASE_INVALID_VALUE::Message() const {
  // Callers may count on this much room in the buffer after the text.
  constexpr std::size_t kSpareRoom = 30;
  const std::string text =
      "enumeration data type - invalid value of class " + class_name_ + ": " + value_;
  auto buffer = std::make_unique<char[]>(text.size() + kSpareRoom);
  text.copy(buffer.get(), text.size());
  return buffer.release();
}

}  // namespace BASIC::TYPES

#undef QM_ERROR
