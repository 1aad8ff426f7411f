// The tree of all failures that are thrown as objects. With one exception, at the end, an object
// carries nothing but its class. The log has the details, written just before the throw.
#pragma once

#include <string>
#include <string_view>

/// The root of the tree. It has exactly three virtual operations, in this order of slots: two
/// destructors and the message.
class ERROR_EXCEPTION {
 public:
  ERROR_EXCEPTION() = default;
  ERROR_EXCEPTION(const ERROR_EXCEPTION&) = default;
  ERROR_EXCEPTION& operator=(const ERROR_EXCEPTION&) = default;
  virtual ~ERROR_EXCEPTION();

  /// The fixed text of the class. It exists once per class and is never freed.
  [[nodiscard]] virtual const char* Message() const;
};

// NOLINTBEGIN(bugprone-macro-parentheses): names of classes
#define QM_ERROR(name, base, text)                      \
  class name : public base {                            \
   public:                                              \
    [[nodiscard]] const char* Message() const override; \
  };
// NOLINTEND(bugprone-macro-parentheses)

#include "basic/error_table.inc"

namespace BASIC::TYPES {

#include "basic/enum_error_table.inc"

/// A text that is not a value of an enumeration. Only this class carries data.
class ERROR_ENUM_BASE_INVALID_VALUE : public ERROR_ENUM_BASE {
 public:
  /// `value` is the refused text, `class_name` the name of the enumeration class.
  ERROR_ENUM_BASE_INVALID_VALUE(std::string_view class_name, std::string_view value)
      : class_name_(class_name), value_(value) {}

  /// Builds "enumeration data type - invalid value of class C: V" on request. Unlike the other
  /// messages, the text is allocated with array new and the caller must free it. This is
  /// deliberate: the catchers of this class rely on it.
  [[nodiscard]] const char* Message() const override;

  [[nodiscard]] const std::string& Value() const { return value_; }
  [[nodiscard]] const std::string& ClassName() const { return class_name_; }

 private:
  std::string class_name_;
  std::string value_;
};

}  // namespace BASIC::TYPES

#undef QM_ERROR
