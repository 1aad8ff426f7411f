#include <array>
#include <typeinfo>

#include "api/error_classes.h"
#include "basic/errors.h"
#include <quellmark/error.h>

namespace quellmark {
namespace {

struct ClassRow {
  const std::type_info& type;
  const std::type_info& base;
  std::string_view message;
};

#define QM_ERROR(name, base, text) ClassRow{typeid(name), typeid(base), text},

using namespace BASIC::TYPES;

// The rows have the order of ErrorClass, so no tool may sort them. The last three values have no
// class in the core.
// clang-format off
const ClassRow kRows[] = {
    {typeid(ERROR_EXCEPTION), typeid(ERROR_EXCEPTION), "error occurred"},
#include "basic/error_table.inc"
#include "basic/enum_error_table.inc"
    QM_ERROR(ERROR_ENUM_BASE_INVALID_VALUE, ERROR_ENUM_BASE,
             "enumeration data type - invalid value")};
// clang-format on

#undef QM_ERROR

constexpr std::array<std::string_view, 3> kOtherMessages = {
    "failure that is told by its text alone", "failure of the C++ library", "cancelled"};

constexpr std::size_t kTreeSize = std::size(kRows);
static_assert(kTreeSize == static_cast<std::size_t>(ErrorClass::kText));

std::size_t RowOf(const std::type_info& type) noexcept {
  for (std::size_t i = 0; i < kTreeSize; ++i) {
    if (kRows[i].type == type) return i;
  }
  return 0;
}

}  // namespace

namespace api {

ErrorClass ErrorClassOf(const ERROR_EXCEPTION& error) noexcept {
  return static_cast<ErrorClass>(RowOf(typeid(error)));
}

}  // namespace api

std::string_view MessageOf(ErrorClass error_class) noexcept {
  const auto i = static_cast<std::size_t>(error_class);
  if (i < kTreeSize) return kRows[i].message;
  return i - kTreeSize < kOtherMessages.size() ? kOtherMessages[i - kTreeSize] : kRows[0].message;
}

ErrorClass BaseOf(ErrorClass error_class) noexcept {
  const auto i = static_cast<std::size_t>(error_class);
  return i < kTreeSize ? static_cast<ErrorClass>(RowOf(kRows[i].base)) : error_class;
}

bool IsA(ErrorClass error_class, ErrorClass base) noexcept {
  while (error_class != base) {
    const ErrorClass next = BaseOf(error_class);
    if (next == error_class) return false;
    error_class = next;
  }
  return true;
}

Error::Error(const std::string& what, ErrorDetails details)
    : std::runtime_error(what),
      details_(std::make_shared<const ErrorDetails>(std::move(details))) {}

// Defined here, so that only this library contains the type information of the classes.
Error::~Error() = default;
ArgumentError::~ArgumentError() = default;
PoolError::~PoolError() = default;
OrbitError::~OrbitError() = default;
DemError::~DemError() = default;
SceneError::~SceneError() = default;
CancelledError::~CancelledError() = default;

}  // namespace quellmark
