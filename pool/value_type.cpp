#include "pool/value_type.h"

#include <algorithm>
#include <array>
#include <utility>

namespace quellmark::pool {
namespace {

constexpr std::array<std::string_view, kValueTypeCount> kNames = {
#define QM_VALUE_TYPE(id, name, ...) name,
#include "pool/value_types.inc"
#undef QM_VALUE_TYPE
};

}  // namespace

bool IsIndexRange(const RANGE<int>& range) {
  const long long last = static_cast<long long>(range.Start()) + range.Length() - 1;
  return range.Length() >= 0 && std::in_range<int>(last);
}

std::string_view TypeName(ValueType type) { return kNames.at(static_cast<std::size_t>(type)); }

ValueType TypeFromName(std::string_view name) {
  const auto* const found = std::find(kNames.begin(), kNames.end(), name);
  return found == kNames.end() ? ValueType::kUnknown
                               : static_cast<ValueType>(found - kNames.begin());
}

}  // namespace quellmark::pool
