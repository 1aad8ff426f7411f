#include "pool/item_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
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

// Digits behind the point. The scalar and its vectors have deliberately more than the names say.
template <class Float>
constexpr int kDigits = std::is_same_v<Float, float> ? 10 : 17;
template <class Float>
constexpr int kDigitsOfPart = std::is_same_v<Float, float> ? 6 : 15;

// "%.*E", except that a value is cut instead of rounded where rounding would leave the range of its
// type: the largest values must be readable again.
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
  // Rounding moves no value that is smaller than half the largest out of the range.
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

std::size_t Indentation(const PARAMETER_POOL_ITEM& item) {
  constexpr std::size_t kOutdent = 2;  // the braces stand to the left of the value column
  const std::size_t fields = std::max(item.key.size(), kKeyColumns) + 1 +
                             std::max(TypeName(item.Type()).size(), kTypeColumns);
  return std::min(fields - kOutdent, kIndentationLimit);
}

// Writes the lines of an entry one by one to `line_out`, without their ends.
template <class LineOut>
class EntryWriter {
 public:
  EntryWriter(const PARAMETER_POOL_ITEM& item, LineOut& line_out)
      : indentation_(Indentation(item), ' '), line_out_(line_out) {
    AppendPadded(line_, item.key, kKeyColumns);
    line_ += ' ';
    AppendPadded(line_, TypeName(item.Type()), kTypeColumns);
  }

  void operator()(const NoValue& /*value*/) {}

  template <class T>
  void operator()(const T& value) {
    Append(line_, value);
    EndLine();
  }

  template <class T>
  void operator()(const ARRAY<T>& array) {
    AppendRange(line_, array.Range());
    WriteBody(array.Elements());
  }

  template <class T>
  void operator()(const MATRIX<T>& matrix) {
    AppendRange(line_, matrix.Rows());
    line_ += '\t';
    AppendRange(line_, matrix.Columns());
    WriteBody(matrix.Elements());
  }

 private:
  template <class Elements>
  void WriteBody(const Elements& elements) {
    EndLine();
    line_ = indentation_ + "{";
    EndLine();
    for (const auto& element : elements) {
      line_ = indentation_;
      line_ += "  ";
      Append(line_, element);
      EndLine();
    }
    line_ = indentation_ + "}";
    EndLine();
  }

  void EndLine() { line_out_(line_); }

  std::string indentation_;
  std::string line_;
  LineOut& line_out_;
};

// Whether the reader takes back what is written for the value.

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

bool FitsLine(std::string_view line) { return line.size() < kLineLimit; }

template <class Error>
[[noreturn]] void Refuse(const PARAMETER_POOL_ITEM& item, std::string_view message) {
  runtime::Fail<Error>("parameter pool: parameter key >> ", item.key, message);
}

}  // namespace

void CheckItem(const PARAMETER_POOL_ITEM& item) {
  constexpr auto kNone = std::string::npos;
  if (item.key.size() > kKeyLimit) Refuse<PARAMETER_KEY_TOO_LONG>(item, " << key too long\n");
  if (item.key.empty() || item.key.front() == '#' || item.key.find_first_of(" \t") != kNone ||
      item.key.find_first_of(kControlCharacters) != kNone) {
    Refuse<INVALID_PARAMETER_VALUE>(item, " << no correct key\n");
  }
  if (item.Type() == ValueType::kUnknown) {
    Refuse<WRONG_PARAMETER_TYPE>(item, " << type UNKNOWN can not be written\n");
  }
  for (const std::string& comment : item.comments) {
    if (comment.find_first_of(kControlCharacters) != kNone) {
      Refuse<INVALID_PARAMETER_VALUE>(item, " << line end in comment\n");
    }
    if (!FitsLine("#" + comment)) Refuse<INVALID_PARAMETER_VALUE>(item, " << line too long\n");
  }
  if (!std::visit([](const auto& value) { return HasReadableRange(value); }, item.value)) {
    Refuse<INVALID_PARAMETER_VALUE>(item, " << no correct range for VECTOR or MATRIX\n");
  }
  if (!std::visit([](const auto& value) { return IsReadable(value); }, item.value)) {
    Refuse<INVALID_PARAMETER_VALUE>(
        item, HoldsTexts(item.Type()) ? " << line end in STRING\n" : " << value is not finite\n");
  }
  if (HoldsTexts(item.Type())) {  // only these lines are of any length
    const auto check = [&](std::string_view line) {
      if (!FitsLine(line)) Refuse<INVALID_PARAMETER_VALUE>(item, " << line too long\n");
    };
    std::visit(EntryWriter(item, check), item.value);
  }
}

void WriteItem(const PARAMETER_POOL_ITEM& item, FileWriter& out) {
  // The line before may lack its end: an entry is never glued to it.
  if (!out.IsAtLineStart()) out.Write("\n");
  for (const std::string& comment : item.comments) {
    out.Write("#");
    out.Write(comment);
    out.Write("\n");
  }
  const auto write = [&](std::string_view line) {
    out.Write(line);
    out.Write("\n");
  };
  std::visit(EntryWriter(item, write), item.value);
  out.Write("\n");
  out.Flush();
}

}  // namespace quellmark::pool
