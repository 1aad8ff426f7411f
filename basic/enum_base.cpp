#include "basic/enum_base.h"

#include <algorithm>
#include <mutex>
#include <typeinfo>

#include "basic/alarm.h"
#include "basic/error_lock.h"

namespace BASIC::TYPES {

namespace {

using quellmark::basic::ErrorLock;

// ErrorLock() protects it.
RefusedText& Refused() {
  static RefusedText refused;
  return refused;
}

// Does not depend on the locale.
constexpr char Lowered(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool Same(std::string_view a, std::string_view b, bool strict) {
  if (strict) return a == b;
  return std::ranges::equal(a, b, {}, Lowered, Lowered);
}

const EnumValue* FindByAnyName(const EnumTable& table, std::string_view text, bool strict) {
  for (int id = 1; id <= table.Size(); ++id) {
    const EnumValue* const value = table.Find(id);
    if (Same(value->text, text, strict)) return value;
  }
  for (const EnumValue& value : table.Values()) {
    if (!value.second_text.empty() && Same(value.second_text, text, strict)) return &value;
  }
  for (const EnumAlias& alias : table.Aliases()) {
    if (Same(alias.name, text, strict)) return table.Find(alias.text);
  }
  return nullptr;
}

void FailureLine(const EnumTable& table, std::string_view what) {
  quellmark::basic::Alarm(std::string(table.class_name).append(": ").append(what).append("\n"));
}

[[noreturn]] void Refuse(const EnumTable& table, std::string_view text) {
  RefusedText refused{std::string(text), std::string(table.class_name), "Valid values are: "};
  for (const EnumValue& value : table.Values()) {
    refused.valid_values.append("'").append(value.text).append("' ");
  }
  FailureLine(table, "invalid value '" + std::string(text) + "'. " + refused.valid_values);
  {
    const std::lock_guard lock(ErrorLock());
    Refused() = std::move(refused);
  }
  throw ERROR_ENUM_BASE_INVALID_VALUE(table.class_name, text);
}

}  // namespace

void ENUM_BASE::Take(const EnumValue& value) {
  id_ = Table().IdOf(value);
  text_ = value.text;
}

void ENUM_BASE::Set(std::string_view text, bool strict) {
  const EnumTable& table = Table();
  const EnumValue* const value = FindByAnyName(table, text, strict);
  if (value == nullptr) Refuse(table, text);
  Take(*value);
}

void ENUM_BASE::SetId(int id) {
  const EnumValue* const value = Table().Find(id);
  if (value == nullptr) {
    FailureLine(Table(), "invalid id " + std::to_string(id));
    throw ERROR_ENUM_BASE_INVALID_ID();
  }
  Take(*value);
}

ENUM_BASE& ENUM_BASE::operator++() {
  const EnumValue* const next = Table().Find(id_ + 1);
  if (next == nullptr) {
    FailureLine(Table(), "no value after '" + std::string(text_) + "'");
    throw ERROR_ENUM_BASE_LIMIT_OF_ENUMERATION_EXPIRED();
  }
  Take(*next);
  return *this;
}

std::string_view ENUM_BASE::AliasText(int n) const {
  if (n < 1) return text_;
  for (const EnumAlias& alias : Table().Aliases()) {
    if (alias.text == text_ && --n == 0) return alias.name;
  }
  return text_;
}

bool ENUM_BASE::Equals(const ENUM_BASE& other) const {
  if (typeid(*this) != typeid(other)) {
    FailureLine(Table(), "compared with a value of " + std::string(other.ClassName()));
    throw ERROR_ENUM_BASE_TYPE_MISMATCH();
  }
  return id_ == other.id_;
}

RefusedText ENUM_BASE::LastRefused() {
  const std::lock_guard lock(ErrorLock());
  return Refused();
}

}  // namespace BASIC::TYPES
