// The predefined reference ellipsoids.
#pragma once

#include "basic/enum_base.h"

/// Semi-axes of an ellipsoid of revolution [m].
template <class T>
struct ELLIPSOID {
  T semi_major_m{};
  T semi_minor_m{};
};

inline constexpr BASIC::TYPES::EnumTable kEllipsoidType = {
    .class_name = "EllipsoidType",
    .parameter_name = "ellipsoid_type",
    .values = {{"Airy"}, {"Bessel"}, {"GRS80"}, {"WGS84"}}};

/// Names a predefined ellipsoid and returns its axes in the type T: float, double or long double.
template <class T>
class EllipsoidType : public BASIC::TYPES::ENUMERATION<kEllipsoidType> {
 public:
  using ENUMERATION::ENUMERATION;

  /// The type of the program's default ellipsoid, WGS84.
  [[nodiscard]] static const EllipsoidType& Default();
  /// The ellipsoid of this type, one object for the whole program. Throws
  /// BASIC::TYPES::ERROR_ENUM_BASE_INVALID_ID for a type that is not set.
  [[nodiscard]] const ELLIPSOID<T>& Axes() const;
};

extern template class EllipsoidType<float>;
extern template class EllipsoidType<double>;
extern template class EllipsoidType<long double>;
