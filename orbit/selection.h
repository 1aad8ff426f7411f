// The table from which an orbit's class is chosen by the names in its description.
#pragma once

#include <array>
#include <memory>
#include <string_view>

#include "orbit/orbit_base.h"

namespace quellmark::orbit {

/// Makes an empty orbit of one class. The pointer is null for a class that this program does not
/// contain.
using CreateOrbit = std::unique_ptr<ORBIT_BASE> (*)();

inline constexpr std::size_t kInterpolationKinds = 10;
inline constexpr std::size_t kOrbitTypes = 9;

/// Interpolation ids are the positions in this list, from 0.
inline constexpr std::array<std::string_view, kInterpolationKinds> kInterpolationNames = {
    "polynom",   "polyfit",        "spline",  "localpolynom", "localpolyfit",
    "chebyshev", "localchebyshev", "hermite", "localhermite", "everett"};
inline constexpr int kHermiteId = 7;
inline constexpr int kLocalHermiteId = 8;

/// Orbit type ids are the positions in this list, from 1.
inline constexpr std::array<std::string_view, kOrbitTypes> kOrbitTypeNames = {
    "orbit_pool_float_double",  "orbit_pool_float_utc",  "orbit_pool_float_met",
    "orbit_pool_double_double", "orbit_pool_double_utc", "orbit_pool_double_met",
    "orbit_mdb_double_double",  "orbit_mdb_double_utc",  "orbit_mdb_double_met"};

struct SelectionRow {
  int orbit_type_id;
  std::string_view orbit_type_name;
  int interpolation_id;
  std::string_view interpolation_name;
  CreateOrbit create;
};

/// All rows, ordered by orbit type and then by interpolation.
[[nodiscard]] const std::array<SelectionRow, kOrbitTypes * kInterpolationKinds>& SelectionTable();

/// Makes the orbit of a row. Throws ERROR_ARGUMENT after an ALARM line if no row has these ids.
[[nodiscard]] std::unique_ptr<ORBIT_BASE> CreateCoreObject(int orbit_type_id, int interpolation_id);

/// An interpolation as a text such as "localpolyfit_8_12" names it.
struct InterpolationChoice {
  int interpolation_id = 0;
  int polynomial_fit_order = -1;  ///< -1: never given
  int support_point_count = -1;   ///< -1: never given
};

/// Splits the text at any of "_,;:-()" into name, order and support point count; a number that is
/// missing is taken from `before`, and one that is present is logged if `with_lines`. Throws
/// ERROR_ARGUMENT after an ALARM line for a missing or unknown name and for a malformed number.
[[nodiscard]] InterpolationChoice ParseInterpolation(std::string_view text,
                                                     InterpolationChoice before = {},
                                                     bool with_lines = true);

/// The id of the name. Throws ERROR_ARGUMENT after an ALARM line for an unknown one.
[[nodiscard]] int OrbitTypeId(std::string_view name);

/// The functions that make the classes of one orbit type, by interpolation id.
using OrbitClasses = std::array<CreateOrbit, kInterpolationKinds>;
template <class T, class S>
[[nodiscard]] OrbitClasses PoolOrbitClasses();
template <class S>
[[nodiscard]] OrbitClasses MdbOrbitClasses();

}  // namespace quellmark::orbit
