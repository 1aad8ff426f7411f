#include "orbit/selection.h"

#include <algorithm>
#include <charconv>

#include "basic/errors.h"
#include "runtime/log.h"

namespace quellmark::orbit {

namespace {

using runtime::Fail;
using Table = std::array<SelectionRow, kOrbitTypes * kInterpolationKinds>;

Table BuildTable() {
  const std::array<OrbitClasses, kOrbitTypes> classes = {
      PoolOrbitClasses<float, double>(),
      PoolOrbitClasses<float, UNIVERSAL_TIME>(),
      PoolOrbitClasses<float, MISSION_ELAPSED_TIME>(),
      PoolOrbitClasses<double, double>(),
      PoolOrbitClasses<double, UNIVERSAL_TIME>(),
      PoolOrbitClasses<double, MISSION_ELAPSED_TIME>(),
      MdbOrbitClasses<double>(),
      MdbOrbitClasses<UNIVERSAL_TIME>(),
      MdbOrbitClasses<MISSION_ELAPSED_TIME>()};
  Table table{};
  for (std::size_t row = 0; row < table.size(); ++row) {
    const std::size_t type = row / kInterpolationKinds;
    const std::size_t kind = row % kInterpolationKinds;
    table[row] = {static_cast<int>(type) + 1, kOrbitTypeNames[type], static_cast<int>(kind),
                  kInterpolationNames[kind], classes[type][kind]};
  }
  return table;
}

// Cuts the next token off `text` and returns it; an empty one means that there are no more.
std::string_view NextToken(std::string_view& text) {
  constexpr std::string_view kSeparators = "_,;:-()";
  text.remove_prefix(std::min(text.find_first_not_of(kSeparators), text.size()));
  const std::string_view token = text.substr(0, text.find_first_of(kSeparators));
  text.remove_prefix(token.size());
  return token;
}

int NumberOf(std::string_view token, std::string_view text) {
  int number = 0;
  const auto [stop, status] = std::from_chars(token.data(), token.data() + token.size(), number);
  if (status != std::errc() || stop != token.data() + token.size()) {
    Fail<ERROR_ARGUMENT>("ORBIT: ", token, " is no number in interpolation type: ", text, "\n");
  }
  return number;
}

}  // namespace

const std::array<SelectionRow, kOrbitTypes * kInterpolationKinds>& SelectionTable() {
  static const Table table = BuildTable();
  return table;
}

std::unique_ptr<ORBIT_BASE> CreateCoreObject(int orbit_type_id, int interpolation_id) {
  const auto& table = SelectionTable();
  const auto row = std::ranges::find_if(table, [=](const SelectionRow& r) {
    return r.orbit_type_id == orbit_type_id && r.interpolation_id == interpolation_id;
  });
  if (row == table.end() || row->create == nullptr) {
    Fail<ERROR_ARGUMENT>("ORBIT: can not determine type of core object\n");
  }
  std::unique_ptr<ORBIT_BASE> orbit = row->create();
  orbit->SetKindName(row->interpolation_name);
  return orbit;
}

InterpolationChoice ParseInterpolation(std::string_view text, InterpolationChoice before,
                                       bool with_lines) {
  const auto report = [with_lines](const auto&... pieces) {
    if (with_lines) runtime::LogLine(LOG::Level::kParameter, "ORBIT: detected ", pieces...);
  };
  InterpolationChoice choice = before;
  std::string_view rest = text;
  const std::string_view name = NextToken(rest);
  if (name.empty()) {
    Fail<ERROR_ARGUMENT>("ORBIT: can not determine interpolation type from: ", text);
  }
  if (const auto order = NextToken(rest); !order.empty()) {
    choice.polynomial_fit_order = NumberOf(order, text);
    report("poly fit order: ", choice.polynomial_fit_order);
  }
  if (const auto count = NextToken(rest); !count.empty()) {
    choice.support_point_count = NumberOf(count, text);
    report("support point count: ", choice.support_point_count);
  }
  const auto known = std::ranges::find(kInterpolationNames, name);
  if (known == kInterpolationNames.end()) {
    Fail<ERROR_ARGUMENT>("GENERAL_ORBIT: can not convert ", name, " to interpolation_id\n");
  }
  choice.interpolation_id = static_cast<int>(known - kInterpolationNames.begin());
  return choice;
}

int OrbitTypeId(std::string_view name) {
  const auto known = std::ranges::find(kOrbitTypeNames, name);
  if (known == kOrbitTypeNames.end()) {
    Fail<ERROR_ARGUMENT>("GENERAL_ORBIT: can not convert ", name, " to orbit_type_id\n");
  }
  return static_cast<int>(known - kOrbitTypeNames.begin()) + 1;
}

}  // namespace quellmark::orbit
