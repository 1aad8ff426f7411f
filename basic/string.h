#pragma once

#include <compare>
#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

/// The text type of all interfaces. It may hold any bytes and is NUL-terminated when handed out. An
/// operation that has no memory for a text reports an alarm, throws ERROR_NO_MEMORY and changes
/// nothing.
class STRING {
 public:
  STRING() = default;
  STRING(const char* text) : STRING(std::string_view(text)) {}
  STRING(std::string_view text);
  STRING(std::string&& text) noexcept : text_(std::move(text)) {}
  STRING(const std::string& text) : STRING(std::string_view(text)) {}
  STRING(const STRING& other) : STRING(other.View()) {}
  STRING(STRING&&) noexcept = default;
  STRING& operator=(const STRING& other);
  STRING& operator=(STRING&&) noexcept = default;
  ~STRING() = default;

  [[nodiscard]] std::size_t Length() const { return text_.size(); }
  [[nodiscard]] bool IsEmpty() const { return text_.empty(); }
  /// The bytes as a view; never throws. The view must not outlive the STRING.
  [[nodiscard]] std::string_view View() const { return text_; }

  /// The text, NUL-terminated. An empty STRING has no text and throws std::out_of_range "subscript
  /// greater than string length". This is deliberate: the driver's failure path relies on it.
  [[nodiscard]] const char* Text() const;

  /// The character at `index` (from 0). An index beyond the length throws std::out_of_range as
  /// Text() does.
  [[nodiscard]] char operator[](std::size_t index) const;

  STRING& operator+=(std::string_view tail);

  friend bool operator==(const STRING&, const STRING&) = default;
  friend auto operator<=>(const STRING&, const STRING&) = default;
  friend bool operator==(const STRING& a, std::string_view b) { return a.text_ == b; }
  friend bool operator==(const STRING& a, const char* b) { return a.text_ == b; }
  friend std::ostream& operator<<(std::ostream& out, const STRING& s) { return out << s.text_; }

 private:
  std::string text_;
};
