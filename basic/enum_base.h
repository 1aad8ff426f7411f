// Closed sets of named values that convert to and from their texts.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "basic/errors.h"

namespace BASIC::TYPES {

/// One value of an enumeration.
struct EnumValue {
  std::string_view text;
  int id = 0;                         ///< if 0, the place in the table, counted from 1
  std::string_view second_text = {};  ///< accepted on input, never printed
};

/// Another name of the value whose text is `text`.
struct EnumAlias {
  std::string_view name;
  std::string_view text;
};

/// The definition of one enumeration, declared once for each.
struct EnumTable {
  static constexpr std::size_t kMaxValues = 28;
  static constexpr std::size_t kMaxAliases = 9;

  std::string_view class_name;
  std::string_view parameter_name;  ///< its name in pools and messages
  EnumValue values[kMaxValues];
  EnumAlias aliases[kMaxAliases] = {};

  /// The listed values. Unused elements of the array, which have no text, are left out.
  [[nodiscard]] constexpr std::span<const EnumValue> Values() const {
    return {values, std::ranges::find(values, std::string_view(), &EnumValue::text)};
  }
  [[nodiscard]] constexpr std::span<const EnumAlias> Aliases() const {
    return {aliases, std::ranges::find(aliases, std::string_view(), &EnumAlias::name)};
  }
  /// The ids are 1..Size(); 0 and Size() + 1 are sentinels with the text "-".
  [[nodiscard]] constexpr int Size() const { return static_cast<int>(Values().size()); }
  [[nodiscard]] constexpr int IdOf(const EnumValue& value) const {
    return value.id != 0 ? value.id : static_cast<int>(&value - values) + 1;
  }
  /// The value with this id; null for any other number.
  [[nodiscard]] constexpr const EnumValue* Find(int id) const {
    for (const EnumValue& value : Values()) {
      if (IdOf(value) == id) return &value;
    }
    return nullptr;
  }
  [[nodiscard]] constexpr const EnumValue* Find(std::string_view text) const {
    for (const EnumValue& value : Values()) {
      if (value.text == text) return &value;
    }
    return nullptr;
  }
  /// Whether every id has exactly one value and every alias names one.
  [[nodiscard]] constexpr bool IsComplete() const {
    const auto id_of = [this](const EnumValue& value) { return IdOf(value); };
    for (int id = 1; id <= Size(); ++id) {
      if (std::ranges::count(Values(), id, id_of) != 1) return false;
    }
    return std::ranges::all_of(Aliases(), [this](const EnumAlias& alias) {
      return std::ranges::count(Values(), alias.text, &EnumValue::text) == 1;
    });
  }
};

/// The text that any enumeration of the process refused last.
struct RefusedText {
  std::string text;
  std::string class_name;
  std::string valid_values;  ///< "Valid values are: 'A' 'B' ", with a blank after each value
};

/// A value of an enumeration; the table of the derived class defines which. A new value is not set:
/// it has the id 0 and the text "-".
class ENUM_BASE {
 public:
  virtual ~ENUM_BASE() = default;
  [[nodiscard]] virtual const EnumTable& Table() const = 0;

  /// Takes the value with this text. The texts of the values are tried first, in the order of the
  /// ids, then second texts and aliases. Upper and lower case are equal unless `strict`. Throws
  /// ERROR_ENUM_BASE_INVALID_VALUE and keeps its value if there is no match; an alarm lists the
  /// valid texts first.
  void Set(std::string_view text, bool strict = false);
  /// Throws ERROR_ENUM_BASE_INVALID_ID for an id that has no value.
  void SetId(int id);
  /// Steps to the next id; throws ERROR_ENUM_BASE_LIMIT_OF_ENUMERATION_EXPIRED after the last.
  ENUM_BASE& operator++();

  [[nodiscard]] int Id() const { return id_; }
  [[nodiscard]] bool IsSet() const { return id_ != 0; }
  /// The views stay valid until the program ends, and their texts end in NUL.
  [[nodiscard]] std::string_view Text() const { return text_; }
  /// The n-th alias of the value, counted from 1; the text itself if there is none.
  [[nodiscard]] std::string_view AliasText(int n) const;
  [[nodiscard]] std::string_view ClassName() const { return Table().class_name; }
  [[nodiscard]] std::string_view ParameterName() const { return Table().parameter_name; }

  /// Whether the ids are equal; throws ERROR_ENUM_BASE_TYPE_MISMATCH for values of two classes.
  friend bool operator==(const ENUM_BASE& a, const ENUM_BASE& b) { return a.Equals(b); }

  [[nodiscard]] static RefusedText LastRefused();

 protected:
  ENUM_BASE() = default;
  ENUM_BASE(const ENUM_BASE&) = default;
  ENUM_BASE& operator=(const ENUM_BASE&) = default;

 private:
  [[nodiscard]] bool Equals(const ENUM_BASE& other) const;
  void Take(const EnumValue& value);

  int id_ = 0;
  std::string_view text_ = "-";
};

/// The base of a concrete enumeration: `class Edge : public ENUMERATION<kEdge> {...}`.
template <const EnumTable& kTable, class Base = ENUM_BASE>
class ENUMERATION : public Base {
 public:
  static_assert(kTable.IsComplete());

  ENUMERATION() = default;
  explicit ENUMERATION(std::string_view text, bool strict = false) { this->Set(text, strict); }

  [[nodiscard]] const EnumTable& Table() const override { return kTable; }
};

}  // namespace BASIC::TYPES
