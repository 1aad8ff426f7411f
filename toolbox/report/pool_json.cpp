#include "toolbox/report/pool_json.h"

#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include <nlohmann/json.hpp>

namespace quellmark::report {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kLatin1 = "latin1";

[[noreturn]] void Fail(const std::string& what) { throw std::runtime_error(what); }

const Json& Member(const Json& json, const char* name) {
  const auto member = json.is_object() ? json.find(name) : json.end();
  if (!json.is_object() || member == json.end()) Fail(std::string("\"") + name + "\" is missing");
  return *member;
}

bool IsUtf8(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length == 0 || length > text.size() - i) return false;
    std::uint32_t code = length == 1 ? lead : lead & (0xFFU >> (length + 1));
    for (std::size_t k = 1; k < length; ++k) {
      const auto byte = static_cast<unsigned char>(text[i + k]);
      if ((byte & 0xC0U) != 0x80U) return false;
      code = (code << 6) | (byte & 0x3FU);
    }
    const bool is_overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    if (is_overlong || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) return false;
    i += length;
  }
  return true;
}

std::string Latin1ToUtf8(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      text += c;
    } else {
      text += static_cast<char>(0xC0U | (byte >> 6));
      text += static_cast<char>(0x80U | (byte & 0x3FU));
    }
  }
  return text;
}

std::string Utf8ToLatin1(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < 0x80) {
      bytes += text[i];
    } else if ((byte == 0xC2 || byte == 0xC3) && i + 1 < text.size()) {
      bytes += static_cast<char>(((byte & 0x03U) << 6) |
                                 (static_cast<unsigned char>(text[++i]) & 0x3FU));
    } else {
      Fail("a text is not Latin-1");
    }
  }
  return bytes;
}

// --- to JSON ---

Json ToJson(bool value) { return value; }
Json ToJson(const std::string& value) { return JsonOfText(value); }
template <class T>
Json ToJson(T value) requires std::is_integral_v<T> {
  return static_cast<std::int64_t>(value);
}
template <class T>
Json ToJson(T value) requires std::is_floating_point_v<T> {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "Infinity" : "-Infinity";
  // The shortest digits that read as the same number of this width.
  if constexpr (std::is_same_v<T, float>) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.9g", static_cast<double>(value));
    return Json::parse(text.data());
  } else {
    return value;
  }
}
template <class T>
Json ToJson(const std::complex<T>& value) {
  return Json::array({ToJson(value.real()), ToJson(value.imag())});
}
template <class T>
Json ToJson(const Pair<T>& value) {
  return Json::array({ToJson(value.first), ToJson(value.second)});
}
template <class T>
Json ToJson(const Indexed<T>& value) {
  return Json{{"index", value.index}, {"value", ToJson(value.value)}};
}
template <class Values>
Json ListToJson(const Values& values) {
  Json list = Json::array();
  for (std::size_t i = 0; i < values.size(); ++i) {
    list.push_back(ToJson(static_cast<typename Values::value_type>(values[i])));
  }
  return list;
}
template <class T>
Json ToJson(const Vector<T>& value) {
  return Json{{"first_index", value.first_index}, {"values", ListToJson(value.values)}};
}
template <class T>
Json ToJson(const Matrix<T>& value) {
  return Json{{"first_row", value.first_row},
              {"rows", value.rows},
              {"first_column", value.first_column},
              {"columns", value.columns},
              {"values", ListToJson(value.values)}};
}
Json ToJson(std::monostate) { return nullptr; }

// --- from JSON ---

template <class T>
struct From;

template <class T>
T FromJson(const Json& json) {
  return From<T>::Read(json);
}

template <>
struct From<bool> {
  static bool Read(const Json& json) {
    if (!json.is_boolean()) Fail("true or false is expected, not " + json.dump());
    return json.get<bool>();
  }
};
template <>
struct From<std::string> {
  static std::string Read(const Json& json) {
    if (json.is_string()) return json.get<std::string>();
    if (json.is_object() && json.size() == 1 && json.contains(kLatin1)) {
      return Utf8ToLatin1(Member(json, kLatin1).get<std::string>());
    }
    Fail("a text is expected, not " + json.dump());
  }
};
template <class T>
requires std::is_integral_v<T>
struct From<T> {
  static T Read(const Json& json) {
    if (!json.is_number_integer()) Fail("a whole number is expected, not " + json.dump());
    const bool is_above_64 =
        json.is_number_unsigned() &&
        json.get<std::uint64_t>() > std::uint64_t{std::numeric_limits<std::int64_t>::max()};
    const auto number = is_above_64 ? 0 : json.get<std::int64_t>();
    if (is_above_64 || !std::in_range<T>(number)) Fail(json.dump() + " is out of range");
    return static_cast<T>(number);
  }
};
template <class T>
requires std::is_floating_point_v<T>
struct From<T> {
  static T Read(const Json& json) {
    if (json == "NaN") return std::numeric_limits<T>::quiet_NaN();
    if (json == "Infinity") return std::numeric_limits<T>::infinity();
    if (json == "-Infinity") return -std::numeric_limits<T>::infinity();
    if (!json.is_number()) Fail("a number is expected, not " + json.dump());
    const double number = json.get<double>();
    if (std::abs(number) > static_cast<double>(std::numeric_limits<T>::max())) {
      Fail(json.dump() + " is out of range");
    }
    return static_cast<T>(number);
  }
};

const Json& ElementOfTwo(const Json& json, std::size_t index) {
  if (!json.is_array() || json.size() != 2) Fail("[first, second] is expected, not " + json.dump());
  return json[index];
}
template <class T>
struct From<std::complex<T>> {
  static std::complex<T> Read(const Json& json) {
    return {FromJson<T>(ElementOfTwo(json, 0)), FromJson<T>(ElementOfTwo(json, 1))};
  }
};
template <class T>
struct From<Pair<T>> {
  static Pair<T> Read(const Json& json) {
    return {FromJson<T>(ElementOfTwo(json, 0)), FromJson<T>(ElementOfTwo(json, 1))};
  }
};
template <class T>
struct From<Indexed<T>> {
  static Indexed<T> Read(const Json& json) {
    return {FromJson<std::int32_t>(Member(json, "index")), FromJson<T>(Member(json, "value"))};
  }
};
template <class T>
std::vector<T> ListFromJson(const Json& json) {
  const Json& list = Member(json, "values");
  if (!list.is_array()) Fail("\"values\" is no list");
  std::vector<T> values;
  values.reserve(list.size());
  for (const Json& element : list) values.push_back(FromJson<T>(element));
  return values;
}
template <class T>
struct From<Vector<T>> {
  static Vector<T> Read(const Json& json) {
    return {FromJson<std::int32_t>(Member(json, "first_index")), ListFromJson<T>(json)};
  }
};
template <class T>
struct From<Matrix<T>> {
  static Matrix<T> Read(const Json& json) {
    const auto number = [&json](const char* name) {
      return FromJson<std::int32_t>(Member(json, name));
    };
    return {number("first_row"), number("rows"), number("first_column"), number("columns"),
            ListFromJson<T>(json)};
  }
};
template <>
struct From<std::monostate> {
  static std::monostate Read(const Json&) { Fail("an entry of unknown type has no value"); }
};

using Reader = Value (*)(const Json&);

// One reader for each alternative of Value, in the order of the types.
template <std::size_t... kIndex>
constexpr auto MakeReaders(std::index_sequence<kIndex...>) {
  return std::array<Reader, sizeof...(kIndex)>{[](const Json& json) {
    return Value(std::in_place_index<kIndex>,
                 FromJson<std::variant_alternative_t<kIndex, Value>>(json));
  }...};
}
constexpr auto kReaders = MakeReaders(std::make_index_sequence<std::variant_size_v<Value>>());

std::string TextMember(const Json& json, const char* name) {
  return FromJson<std::string>(Member(json, name));
}

}  // namespace

Json JsonOfText(std::string_view text) {
  if (IsUtf8(text)) return std::string(text);
  return Json{{kLatin1, Latin1ToUtf8(text)}};
}

Json JsonOf(const Value& value) {
  return std::visit([](const auto& alternative) { return ToJson(alternative); }, value);
}

Value ValueFromJson(const Json& json, ValueType type) {
  return kReaders.at(static_cast<std::size_t>(type))(json);
}

Json JsonOf(const Pool& pool) {
  Json entries = Json::array();
  for (const Entry& entry : pool.Entries()) {
    if (entry.is_repeated) continue;
    Json json = {{"key", JsonOfText(entry.key)}, {"type", std::string(NameOf(entry.type))}};
    json["value"] = JsonOf(pool.Parse(entry));
    Json comments = Json::array();
    for (const std::string& comment : pool.CommentsOf(entry))
      comments.push_back(JsonOfText(comment));
    if (!comments.empty()) json["comments"] = std::move(comments);
    entries.push_back(std::move(json));
  }
  return Json{{"entries", std::move(entries)}};
}

PoolEditor EditorFromJson(const Json& json) {
  const Json& entries = Member(json, "entries");
  if (!entries.is_array()) Fail("\"entries\" is no list");
  PoolEditor editor;
  for (const Json& entry : entries) {
    const std::string key = TextMember(entry, "key");
    const std::string type_name = TextMember(entry, "type");
    const ValueType type = TypeFromName(type_name);
    if (type == ValueType::kUnknown) {
      Fail(std::string(key).append(": '").append(type_name).append("' is no type of an entry"));
    }
    std::vector<std::string> comments;
    if (entry.contains("comments")) {
      for (const Json& comment : entry["comments"]) {
        comments.push_back(FromJson<std::string>(comment));
      }
    }
    try {
      editor.Set(key, ValueFromJson(Member(entry, "value"), type), std::move(comments));
    } catch (const nlohmann::json::exception& error) {
      Fail(key + ": " + error.what());
    } catch (const std::runtime_error& error) {
      Fail(key + ": " + error.what());
    }
  }
  return editor;
}

}  // namespace quellmark::report
