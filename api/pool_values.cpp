#include "api/pool_values.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "basic/errors.h"
#include "runtime/log.h"

namespace quellmark::api {
namespace {

// Conversions from the core. All overloads are declared first, because they call each other.

template <class T>
requires std::is_arithmetic_v<T>
auto Convert(T value) {
  if constexpr (std::is_same_v<T, long long>) {
    return static_cast<std::int64_t>(value);
  } else {
    return value;
  }
}

std::monostate Convert(pool::NoValue /*value*/) { return {}; }

std::string Convert(const STRING& value) { return std::string(value.View()); }

template <class T>
std::complex<T> Convert(const COMPLEX<T>& value) {
  return {value.re, value.im};
}

template <class T>
auto Convert(const TUPLE<T>& value) {
  return Pair<decltype(Convert(value.First()))>{Convert(value.First()), Convert(value.Second())};
}

template <class T>
Indexed<T> Convert(const INDEX<int, T>& value) {
  return {value.First(), value.Second()};
}

template <class Elements>
auto ConvertAll(const Elements& elements) {
  std::vector<decltype(Convert(*elements.begin()))> values;
  values.reserve(elements.size());
  for (const auto& element : elements) values.push_back(Convert(element));
  return values;
}

template <class T>
auto Convert(const ARRAY<T>& array) {
  auto values = ConvertAll(array.Elements());
  return Vector<typename decltype(values)::value_type>{array.First(), std::move(values)};
}

template <class T>
auto Convert(const MATRIX<T>& matrix) {
  auto values = ConvertAll(matrix.Elements());
  return Matrix<typename decltype(values)::value_type>{
      matrix.Rows().Start(), matrix.Rows().Length(), matrix.Columns().Start(),
      matrix.Columns().Length(), std::move(values)};
}

// Conversions to the core. Each function returns a `To`.

struct ToCoreValue {
  std::string_view key;

  [[noreturn]] void RefuseSize() const {
    runtime::Fail<INVALID_PARAMETER_VALUE>("parameter pool: parameter key >> ", key,
                                           " << no correct range for VECTOR or MATRIX\n");
  }

  [[nodiscard]] RANGE<int> RangeOf(std::int32_t first, std::size_t count) const {
    if (count > static_cast<std::size_t>(std::numeric_limits<int>::max())) RefuseSize();
    RANGE<int> range(first, static_cast<int>(count));
    if (!pool::IsIndexRange(range)) RefuseSize();
    return range;
  }

  void Store(std::monostate /*from*/, pool::NoValue& /*to*/) const {}

  template <class From, class To>
  requires std::is_arithmetic_v<To>
  void Store(From from, To& to) const { to = static_cast<To>(from); }

  void Store(const std::string& from, STRING& to) const { to = STRING(from); }

  template <class T>
  void Store(const std::complex<T>& from, COMPLEX<T>& to) const {
    to = {from.real(), from.imag()};
  }

  template <class T, class To>
  void Store(const Pair<T>& from, TUPLE<To>& to) const {
    To first{};
    To second{};
    Store(from.first, first);
    Store(from.second, second);
    to = TUPLE<To>(std::move(first), std::move(second));
  }

  template <class T>
  void Store(const Indexed<T>& from, INDEX<int, T>& to) const {
    to = INDEX<int, T>(from.index, from.value);
  }

  template <class T, class To>
  void Store(const Vector<T>& from, ARRAY<To>& to) const {
    if (to.Create(RangeOf(from.first_index, from.values.size())) != kArrayOk) {
      throw ERROR_NO_MEMORY();
    }
    StoreAll(from.values, to.Elements());
  }

  template <class T, class To>
  void Store(const Matrix<T>& from, MATRIX<To>& to) const {
    if (from.rows < 0 || from.columns < 0) RefuseSize();
    const auto rows = static_cast<std::size_t>(from.rows);
    const auto columns = static_cast<std::size_t>(from.columns);
    if (from.values.size() != rows * columns) RefuseSize();
    if (to.Create(RangeOf(from.first_row, rows), RangeOf(from.first_column, columns)) != kArrayOk) {
      throw ERROR_NO_MEMORY();
    }
    StoreAll(from.values, to.Elements());
  }

  template <class From, class To>
  void StoreAll(const From& from, To to) const {
    auto place = to.begin();
    for (const auto& value : from) Store(value, *place++);
  }
};

// Checks that the two lists of types have the same order.
template <std::size_t kId>
Value FromCoreAt(const pool::AnyValue& value) {
  auto converted = Convert(*std::get_if<kId>(&value));
  static_assert(std::is_same_v<decltype(converted), std::variant_alternative_t<kId, Value>>);
  return Value(std::in_place_index<kId>, std::move(converted));
}

template <std::size_t kId>
pool::AnyValue ToCoreAt(std::string_view key, const Value& value) {
  std::variant_alternative_t<kId, pool::AnyValue> converted{};
  ToCoreValue{key}.Store(*std::get_if<kId>(&value), converted);
  return pool::AnyValue(std::in_place_index<kId>, std::move(converted));
}

template <std::size_t... kIds>
constexpr auto FromCoreTable(std::index_sequence<kIds...> /*ids*/) {
  return std::array{&FromCoreAt<kIds>...};
}
template <std::size_t... kIds>
constexpr auto ToCoreTable(std::index_sequence<kIds...> /*ids*/) {
  return std::array{&ToCoreAt<kIds>...};
}

constexpr auto kIds = std::make_index_sequence<pool::kValueTypeCount>();
constexpr auto kFromCore = FromCoreTable(kIds);
constexpr auto kToCore = ToCoreTable(kIds);

}  // namespace

Value FromCore(const pool::AnyValue& value) { return kFromCore[value.index()](value); }

pool::AnyValue ToCore(std::string_view key, const Value& value) {
  return kToCore[value.index()](key, value);
}

}  // namespace quellmark::api
