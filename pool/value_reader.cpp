#include "pool/value_reader.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>
#include <new>
#include <span>
#include <string>
#include <type_traits>

#include "basic/errors.h"
#include "pool/messages.h"
#include "pool/value_type.h"
#include "runtime/log.h"

namespace quellmark::pool {
namespace {

template <class T>
inline constexpr bool kIsText = std::is_same_v<T, STRING> || std::is_same_v<T, TUPLE<STRING>>;

template <class T>
concept Pair = requires(const T& value) {
  value.First();
  value.Second();
};

template <class T>
concept Complex = requires(const T& value) {
  value.re;
  value.im;
};

// Converts as "%lf" does: the longest prefix that is a number counts. In the common case the whole
// token is a plain number, and no copy with a terminating NUL is needed.
bool ConvertFloating(std::string_view token, double& value) {
  const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), value);
  if (error == std::errc() && end == token.data() + token.size()) return true;
  std::array<char, kLineLimit + 1> text{};
  token.copy(text.data(), kLineLimit);
  return std::sscanf(text.data(), "%lf", &value) == 1;
}

// Converts as "%lld" does. A number beyond the range of the type becomes its lowest or highest
// value.
template <class Integer>
bool ConvertInteger(std::string_view token, Integer& value) {
  const bool negative = token.starts_with('-');
  if (token.starts_with('+')) token.remove_prefix(1);
  if (!negative && token.starts_with('-')) return false;
  const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), value);
  if (error == std::errc::result_out_of_range) {
    value = negative ? std::numeric_limits<Integer>::min() : std::numeric_limits<Integer>::max();
    return true;
  }
  return error == std::errc();
}

// Converts a number of a range. The whole token must be an integer that fits an int.
bool ConvertRangeNumber(std::string_view token, int& value) {
  if (token.starts_with("+-")) return false;
  if (token.starts_with('+')) token.remove_prefix(1);
  const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), value);
  return error == std::errc() && end == token.data() + token.size();
}

class Reader {
 public:
  Reader(std::string_view key, TokenCursor key_line, LineReader& lines)
      : key_(key), cursor_(key_line), lines_(lines) {}

  // No value can be read as a NoValue, not even that of an entry of unknown type.
  void Read(NoValue& /*value*/) {
    Refuse<WRONG_PARAMETER_TYPE>(" << type ", TypeName(ValueType::kUnknown), " expected\n");
  }

  template <class T>
  void Read(T& value) {
    if (!cursor_.HasToken()) Refuse<INVALID_PARAMETER_VALUE>(" << no parameter value in file\n");
    Parse(value);
  }

  template <class T>
  void Read(ARRAY<T>& array) {
    RANGE<int> range;
    if (!ReadRange(range)) {
      Refuse<INVALID_PARAMETER_VALUE>(" << no correct range for VECTOR or MATRIX\n");
    }
    if (IsPossibleCount(range.Length()) && array.Create(range) != kArrayOk) {
      Refuse<ERROR_NO_MEMORY>(" << not enough memory to create ARRAY\n");
    }
    ReadBody(kTypeOf<ARRAY<T>>, range.Length(), array.Elements(),
             [&](long long i) { return std::to_string(range.Start() + i); });
  }

  template <class T>
  void Read(MATRIX<T>& matrix) {
    RANGE<int> rows;
    RANGE<int> columns;
    if (!ReadRange(rows) || !ReadRange(columns)) {
      Refuse<INVALID_PARAMETER_VALUE>(" << no correct range for MATRIX\n");
    }
    const long long width = columns.Length();
    const long long count = rows.Length() * width;
    if (IsPossibleCount(count) && matrix.Create(rows, columns) != kArrayOk) {
      Refuse<ERROR_NO_MEMORY>(" << not enough memory to create MATRIX\n");
    }
    ReadBody(kTypeOf<MATRIX<T>>, count, matrix.Elements(), [&](long long i) {
      return std::to_string(rows.Start() + i / width) + "," +
             std::to_string(columns.Start() + i % width);
    });
  }

 private:
  template <class Error, class... Pieces>
  [[noreturn]] void Refuse(const Pieces&... pieces) const {
    runtime::Fail<Error>("parameter pool: parameter key >> ", key_, pieces...);
  }

  template <class Error>
  [[noreturn]] void RefuseToken(std::string_view token, std::string_view ending) const {
    Refuse<Error>(" << read value is : ", token, ending);
  }

  // A wrong structure in a body is an error of the pool; in a scalar it is an error of the value.
  [[noreturn]] void RefuseStructure(std::string_view message) const {
    if (in_body_) Refuse<ERROR_PARAMETER_POOL>(message);
    Refuse<INVALID_PARAMETER_VALUE>(message);
  }

  // Parse() reads the value that begins at the cursor. The caller has checked that there is a
  // token.

  void Parse(bool& value) {
    const std::string_view token = cursor_.Next();
    value = token == "TRUE";
    if (!value && token != "FALSE") {
      RefuseToken<INVALID_PARAMETER_VALUE>(token, " but TRUE or FALSE are expected\n");
    }
  }

  // The order of the checks is fixed: it decides which message a token with several faults gets.
  template <class T>
  requires std::is_integral_v<T>
  void Parse(T& value) {
    constexpr const IntegerMessages& kMessages = kIntegerMessagesOf<T>;
    constexpr auto kNone = std::string_view::npos;
    const std::string_view token = cursor_.Next();
    if (token.find('.') != kNone && token.find('E') != kNone) {
      RefuseToken<INVALID_PARAMETER_VALUE>(token, kMessages.floating);
    }
    if (!kMessages.sign.empty() && token.find('-') != kNone) {
      RefuseToken<INVALID_PARAMETER_VALUE>(token, kMessages.sign);
    }
    // If the range of the type is checked, the conversion uses a wider type.
    std::conditional_t<kMessages.range.empty(), T, long long> converted = 0;
    if (token.find_first_not_of("+-0123456789") != kNone || !ConvertInteger(token, converted)) {
      RefuseToken<INVALID_PARAMETER_VALUE>(token, kMessages.characters);
    }
    if (converted < std::numeric_limits<T>::min() || converted > std::numeric_limits<T>::max()) {
      RefuseToken<PARAMETER_OUT_OF_BOUNDS>(token, kMessages.range);
    }
    value = static_cast<T>(converted);
  }

  template <class T>
  requires std::is_floating_point_v<T>
  void Parse(T& value) {
    const std::string_view token = cursor_.Next();
    const std::string type(TypeName(kTypeOf<T>));
    double converted = 0.0;
    if (!ConvertFloating(token, converted)) {
      RefuseToken<INVALID_PARAMETER_VALUE>(token, " " + type + " value expected\n");
    }
    // The comparison is negated so that NaN counts as out of range.
    if (!(std::fabs(converted) <= static_cast<double>(std::numeric_limits<T>::max()))) {
      RefuseToken<PARAMETER_OUT_OF_BOUNDS>(token,
                                           " (value is out of range) " + type + " expected\n");
    }
    value = static_cast<T>(converted);
  }

  // A text stands between quotes on one line; its only escapes are \" and \\. Any other backslash
  // stands for itself.
  void Parse(STRING& value) {
    const std::string_view rest = cursor_.Rest();
    if (rest.front() != '"') {
      RefuseStructure(" << no correct string tuple format (missing >>\"<< ?)\n");
    }
    std::string text;
    for (std::size_t i = 1; i < rest.size() && !IsLineEnd(rest[i]); ++i) {
      if (rest[i] == '"') {
        value = std::move(text);
        cursor_.Skip(i + 1);
        return;
      }
      const bool escape =
          rest[i] == '\\' && i + 1 < rest.size() && (rest[i + 1] == '"' || rest[i + 1] == '\\');
      if (escape) ++i;
      text += rest[i];
    }
    // The message begins differently from the others: kept exactly, do not correct.
    runtime::LogLine(runtime::LogLevel::kAlarm, "parameter pool:  >> ", key_,
                     " error in STRING processing\n");
    if (in_body_) throw ERROR_PARAMETER_POOL();
    throw INVALID_PARAMETER_VALUE();
  }

  template <Complex T>
  void Parse(T& value) {
    Parse(value.re);
    // The text names CPL_6 for both types: kept exactly, do not correct.
    if (!cursor_.HasToken()) Refuse<INVALID_PARAMETER_VALUE>(" << no imaginary part in CPL_6\n");
    Parse(value.im);
  }

  template <Pair T>
  void Parse(T& value) {
    std::remove_cvref_t<decltype(value.First())> first{};
    std::remove_cvref_t<decltype(value.Second())> second{};
    Parse(first);
    if (!cursor_.HasToken()) RefuseStructure(" << no second coordinate\n");
    Parse(second);
    value = T(std::move(first), std::move(second));
  }

  // Reads the pair (first, count).
  bool ReadRange(RANGE<int>& range) {
    int first = 0;
    int count = 0;
    if (!ConvertRangeNumber(cursor_.Next(), first) || !ConvertRangeNumber(cursor_.Next(), count)) {
      return false;
    }
    range = RANGE<int>(first, count);
    return IsIndexRange(range);
  }

  // Moves the cursor to the next line, if there is one.
  bool NextLine() {
    std::string_view line;
    const bool found = lines_.Next(line);
    if (!found && lines_.Error() != 0) {
      Refuse<ERROR_CAN_NOT_READ_FILE>(" << ", std::strerror(lines_.Error()), "\n");
    }
    cursor_ = TokenCursor(line);
    return found;
  }

  // Whether the rest of the file is long enough for so many elements. The count in a file may be
  // wrong, and no memory is allocated for an impossible one.
  [[nodiscard]] bool IsPossibleCount(long long count) const {
    constexpr std::size_t kBytesOfShortestElement = 2;  // a digit and a line end
    return static_cast<std::size_t>(count) <= lines_.Remaining() / kBytesOfShortestElement;
  }

  // Reads from the opening to the closing brace. If `count` was impossible, `elements` is empty.
  // The body is then read only to find the place where it ends, which the message names.
  template <class T, class NameOfIndex>
  void ReadBody(ValueType type, long long count, std::span<T> elements, NameOfIndex name_of_index) {
    const BraceNames names = BraceNamesOf(type);
    in_body_ = true;
    ReadOpeningBrace(names);
    const bool has_room = std::ssize(elements) == count;
    T surplus{};
    for (long long i = 0; i < count; ++i) {
      if (!NextLine()) {
        Refuse<ERROR_PARAMETER_POOL>(" << no value for index ", name_of_index(i),
                                     " due to end of file\n");
      }
      if (!cursor_.HasToken()) {
        if constexpr (Pair<T>) Refuse<ERROR_PARAMETER_POOL>(" << no value\n");
        Refuse<ERROR_PARAMETER_POOL>(" << no value for index ", name_of_index(i), "\n");
      }
      if (kIsText<T> && cursor_.Peek() == "}") RefuseEntryCount(type);
      Parse(has_room ? elements[static_cast<std::size_t>(i)] : surplus);
      if (kIsText<T> && cursor_.Rest().starts_with('"')) RefuseEntryCount(type);
    }
    ReadClosingBrace<T>(names);
    // An impossible count leads here only if the file has grown meanwhile.
    if (!has_room) Refuse<ERROR_NO_MEMORY>(" << not enough memory\n");
  }

  [[noreturn]] void RefuseEntryCount(ValueType type) const {
    Refuse<ERROR_PARAMETER_POOL>(" << ", TypeName(type), " length does not match entry count\n");
  }

  void ReadOpeningBrace(const BraceNames& names) {
    if (!NextLine()) Refuse<ERROR_PARAMETER_POOL>(" << no { due to end of file\n");
    const std::string_view token = cursor_.Next();
    if (token.empty()) Refuse<ERROR_PARAMETER_POOL>(" << { expected for ", names.open, "\n");
    if (token != "{") {
      Refuse<ERROR_PARAMETER_POOL>(" << { expected instead of ", token, " for ", names.open_instead,
                                   "\n");
    }
  }

  // Deliberately lenient: any token closes a body, unless the elements are pairs. Another text
  // instead of a brace is reported as an element too many.
  template <class T>
  void ReadClosingBrace(const BraceNames& names) {
    if (!NextLine()) Refuse<ERROR_PARAMETER_POOL>(" << no } due to end of file\n");
    const std::string_view token = cursor_.Next();
    if (token.empty()) Refuse<ERROR_PARAMETER_POOL>(" << no } at end of ", names.close, "\n");
    if (kIsText<T> && token.front() == '"') RefuseEntryCount(names.type);
    if (Pair<T> && token != "}") {
      Refuse<ERROR_PARAMETER_POOL>(" << } expected instead of ", token, " for ",
                                   names.close_instead, "\n");
    }
  }

  std::string_view key_;
  TokenCursor cursor_;
  LineReader& lines_;
  bool in_body_ = false;
};

}  // namespace

template <class Value>
Value ReadValue(std::string_view key, TokenCursor key_line, LineReader& lines) try {
  Value value{};
  Reader(key, key_line, lines).Read(value);
  return value;
} catch (const std::bad_alloc&) {
  runtime::Fail<ERROR_NO_MEMORY>("parameter pool: parameter key >> ", key,
                                 " << not enough memory\n");
}

#define QM_VALUE_TYPE(id, name, ...) \
  template __VA_ARGS__ ReadValue<__VA_ARGS__>(std::string_view, TokenCursor, LineReader&);
#include "pool/value_types.inc"
#undef QM_VALUE_TYPE

}  // namespace quellmark::pool
