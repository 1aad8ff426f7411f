#include "pool/entry_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>
#include <type_traits>
#include <variant>

#include "basic/errors.h"
#include "pool/line_reader.h"
#include "runtime/log.h"

namespace quellmark::pool {
namespace {

constexpr std::size_t kKeyColumns = 32;
constexpr std::size_t kTypeColumns = 16;
constexpr std::size_t kIndentationLimit = 1023;
constexpr std::string_view kControlCharacters{"\n\r\0", 3};

// Digits after the point. Scalars and vectors deliberately have more than the type names say.
template <class Float>
constexpr int kDigits = std::is_same_v<Float, float> ? 10 : 17;
template <class Float>
constexpr int kDigitsOfPart = std::is_same_v<Float, float> ? 6 : 15;

// Writes as "%.*E" does, with one exception: if rounding would exceed the range of the type, the
// digits are cut instead. So the largest values can be read back.
template <class Float>
void AppendFloating(std::string& text, Float value, int digits) {
  std::array<char, 64> buffer;
  const auto format = [&](int precision) {
    char* const end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), static_cast<double>(value),
                      std::chars_format::scientific, precision)
            .ptr;
    std::replace(buffer.data(), end, 'e', 'E');
    *end = '\0';
    return std::string_view(buffer.data(), end);
  };
  std::string_view formatted = format(digits);
  constexpr auto kLargest = static_cast<double>(std::numeric_limits<Float>::max());
  // No value below half the largest can be rounded out of the range.
  if (std::fabs(static_cast<double>(value)) > kLargest / 2 &&
      std::fabs(std::strtod(buffer.data(), nullptr)) > kLargest) {
    constexpr int kExtraDigits = 10;
    formatted = format(digits + kExtraDigits);
    const std::size_t exponent = formatted.find('E');
    text += formatted.substr(0, exponent - kExtraDigits);
    formatted.remove_prefix(exponent);
  }
  text += formatted;
}

template <class T>
requires std::is_integral_v<T>
void Append(std::string& text, T value) { text += std::to_string(value); }

void Append(std::string& text, bool value) { text += value ? "TRUE" : "FALSE"; }

template <class T>
requires std::is_floating_point_v<T>
void Append(std::string& text, T value) { AppendFloating(text, value, kDigits<T>); }

void Append(std::string& text, const STRING& value) {
  text += '"';
  for (const char c : value.View()) {
    if (c == '"' || c == '\\') text += '\\';
    text += c;
  }
  text += '"';
}

template <class T>
void AppendPart(std::string& text, const T& value) {
  if constexpr (std::is_floating_point_v<T>) {
    AppendFloating(text, value, kDigitsOfPart<T>);
  } else {
    Append(text, value);
  }
}

template <class T>
void AppendParts(std::string& text, const T& first, const auto& second) {
  AppendPart(text, first);
  text += '\t';
  AppendPart(text, second);
}

template <class T>
void Append(std::string& text, const COMPLEX<T>& value) {
  AppendParts(text, value.re, value.im);
}

template <class T>
requires requires(const T& pair) { pair.Second(); }
void Append(std::string& text, const T& value) { AppendParts(text, value.First(), value.Second()); }

void AppendRange(std::string& text, const RANGE<int>& range) {
  AppendParts(text, range.Start(), range.Length());
}

void AppendPadded(std::string& line, std::string_view field, std::size_t columns) {
  line += field;
  if (field.size() < columns) line.append(columns - field.size(), ' ');
}

template <class Error>
[[noreturn]] void Refuse(std::string_view key, std::string_view message) {
  runtime::Fail<Error>("parameter pool: parameter key >> ", key, message);
}

// Appends the lines of an entry to a text.
class EntryWriter {
 public:
  EntryWriter(std::string_view key, ValueType type, std::string& text) : key_(key), text_(text) {
    AppendPadded(text_, key, kKeyColumns);
    text_ += ' ';
    AppendPadded(text_, TypeName(type), kTypeColumns);
    constexpr std::size_t kOutdent = 2;  // the braces stand to the left of the values
    const std::size_t fields = text_.size() - line_begin_;
    indentation_.assign(std::min(fields - kOutdent, kIndentationLimit), ' ');
  }

  void operator()(const NoValue& /*value*/) {}

  template <class T>
  void operator()(const T& value) {
    Append(text_, value);
    EndLine();
  }

  template <class T>
  void operator()(const ARRAY<T>& array) {
    AppendRange(text_, array.Range());
    EndLine();
    WriteBody(array.Elements());
  }

  template <class T>
  void operator()(const MATRIX<T>& matrix) {
    AppendRange(text_, matrix.Rows());
    text_ += '\t';
    AppendRange(text_, matrix.Columns());
    EndLine();
    WriteBody(matrix.Elements());
  }

 private:
  template <class Elements>
  void WriteBody(const Elements& elements) {
    WriteBrace('{');
    for (const auto& element : elements) {
      text_ += indentation_;
      text_ += "  ";
      Append(text_, element);
      EndLine();
    }
    WriteBrace('}');
  }

  void WriteBrace(char brace) {
    text_ += indentation_;
    text_ += brace;
    EndLine();
  }

  void EndLine() {
    text_ += '\n';
    if (text_.size() - line_begin_ > kLineLimit) {
      Refuse<INVALID_PARAMETER_VALUE>(key_, " << line too long\n");
    }
    line_begin_ = text_.size();
  }

  std::string_view key_;
  std::string& text_;
  std::size_t line_begin_ = text_.size();
  std::string indentation_;
};

// IsReadable() says whether the value can be read back after it was written.

bool IsReadable(const STRING& value) {
  return value.View().find_first_of(kControlCharacters) == std::string_view::npos;
}

template <class T>
requires std::is_arithmetic_v<T>
bool IsReadable(T value) {
  if constexpr (std::is_floating_point_v<T>) return std::isfinite(value);
  return true;
}

template <class T>
bool IsReadable(const COMPLEX<T>& value) {
  return IsReadable(value.re) && IsReadable(value.im);
}

template <class T>
requires requires(const T& pair) { pair.Second(); }
bool IsReadable(const T& value) { return IsReadable(value.First()) && IsReadable(value.Second()); }

template <class T>
requires requires(const T& container) { container.Elements(); }
bool IsReadable(const T& value) {
  const auto elements = value.Elements();
  return std::all_of(elements.begin(), elements.end(),
                     [](const auto& element) { return IsReadable(element); });
}

bool IsReadable(const NoValue& /*value*/) { return true; }

template <class T>
bool HasReadableRange(const T& value) {
  if constexpr (requires { value.Rows(); }) {
    return IsIndexRange(value.Rows()) && IsIndexRange(value.Columns());
  } else if constexpr (requires { value.Range(); }) {
    return IsIndexRange(value.Range());
  } else {
    return true;
  }
}

bool HoldsTexts(ValueType type) {
  return type == ValueType::kStr || type == ValueType::kStrStr || type == ValueType::kStrV ||
         type == ValueType::kStrStrV || type == ValueType::kStrM;
}

void CheckKey(std::string_view key) {
  constexpr auto kNone = std::string_view::npos;
  if (key.size() > kKeyLimit) Refuse<PARAMETER_KEY_TOO_LONG>(key, " << key too long\n");
  if (key.empty() || key.front() == '#' || key.find_first_of(" \t") != kNone ||
      key.find_first_of(kControlCharacters) != kNone) {
    Refuse<INVALID_PARAMETER_VALUE>(key, " << no correct key\n");
  }
}

void AppendComment(std::string_view key, std::string_view comment, std::string& text) {
  if (comment.find_first_of(kControlCharacters) != std::string_view::npos) {
    Refuse<INVALID_PARAMETER_VALUE>(key, " << line end in comment\n");
  }
  constexpr std::size_t kMarkAndEnd = 2;
  if (comment.size() + kMarkAndEnd > kLineLimit) {
    Refuse<INVALID_PARAMETER_VALUE>(key, " << line too long\n");
  }
  ((text += '#') += comment) += '\n';
}

void CheckValue(std::string_view key, const AnyValue& value, ValueType type) {
  if (!std::visit([](const auto& any) { return HasReadableRange(any); }, value)) {
    Refuse<INVALID_PARAMETER_VALUE>(key, " << no correct range for VECTOR or MATRIX\n");
  }
  if (!std::visit([](const auto& any) { return IsReadable(any); }, value)) {
    Refuse<INVALID_PARAMETER_VALUE>(
        key, HoldsTexts(type) ? " << line end in STRING\n" : " << value is not finite\n");
  }
}

}  // namespace

std::string EntryText(std::string_view key, const AnyValue& value,
                      const std::vector<std::string>& comments) try {
  CheckKey(key);
  const auto type = static_cast<ValueType>(value.index());
  if (type == ValueType::kUnknown) {
    Refuse<WRONG_PARAMETER_TYPE>(key, " << type UNKNOWN can not be written\n");
  }
  std::string text;
  for (const std::string& comment : comments) AppendComment(key, comment, text);
  CheckValue(key, value, type);
  std::visit(EntryWriter(key, type, text), value);
  text += '\n';
  return text;
} catch (const std::bad_alloc&) {
  Refuse<ERROR_NO_MEMORY>(key, " << not enough memory\n");
}

}  // namespace quellmark::pool
