// The table of all value types of a parameter pool, and the C++ type of each.
#pragma once

#include <cstddef>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "basic/array.h"
#include "basic/complex.h"
#include "basic/index.h"
#include "basic/matrix.h"
#include "basic/string.h"
#include "basic/tuple.h"

namespace quellmark::pool {

/// The value of an entry of unknown type.
struct NoValue {
  friend bool operator==(const NoValue&, const NoValue&) = default;
};

/// The id of a type; the numbers are part of the format.
enum class ValueType : int {
#define QM_VALUE_TYPE(id, name, ...) id,
#include "pool/value_types.inc"
#undef QM_VALUE_TYPE
};

namespace detail {

template <class Placeholder, class... Values>
struct AnyValueOf {
  using Type = std::variant<Values...>;
};

}  // namespace detail

/// A value of any type; its index() is the id of its type.
using AnyValue = detail::AnyValueOf<void
#define QM_VALUE_TYPE(id, name, ...) , __VA_ARGS__
#include "pool/value_types.inc"
#undef QM_VALUE_TYPE
                                    >::Type;

inline constexpr std::size_t kValueTypeCount = std::variant_size_v<AnyValue>;
static_assert(kValueTypeCount == 48 && static_cast<int>(ValueType::kStrM) == 47);

/// The C++ type of an entry: bool for kBol, ARRAY<double> for kFlt15V and so on.
template <ValueType kType>
using PoolValue = std::variant_alternative_t<static_cast<std::size_t>(kType), AnyValue>;

/// The inverse of PoolValue: the type of the entries that hold a `Value`.
template <class Value>
inline constexpr ValueType kTypeOf = []<std::size_t... kIds>(std::index_sequence<kIds...> /*ids*/) {
  constexpr bool kIsValue[] = {
      std::is_same_v<Value, std::variant_alternative_t<kIds, AnyValue>>...};
  std::size_t id = 0;
  while (!kIsValue[id]) ++id;  // another type: index out of range, a compile error
  return static_cast<ValueType>(id);
}
(std::make_index_sequence<kValueTypeCount>());

/// Whether a vector or a side of a matrix may have this range: all its indices, and start - 1 for
/// an empty range, must fit an int.
[[nodiscard]] bool IsIndexRange(const RANGE<int>& range);

/// The name of the type in pool files.
[[nodiscard]] std::string_view TypeName(ValueType type);
/// The type of this name, in exactly this case, or kUnknown.
[[nodiscard]] ValueType TypeFromName(std::string_view name);

}  // namespace quellmark::pool
