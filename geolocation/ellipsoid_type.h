// The predefined reference ellipsoids.
#pragma once

#include <string_view>

/// Semi-axes of an ellipsoid of revolution [m].
template <class T>
struct ELLIPSOID {
  T semi_major_m{};
  T semi_minor_m{};
};

/// Names a predefined ellipsoid in the width T (float, double, long double). Ids count from 1; the
/// ids 0 and 5 stand before and behind the predefined ones and have no axes.
template <class T>
class EllipsoidType {
 public:
  enum Id : int { kAiry = 1, kBessel = 2, kGrs80 = 3, kWgs84 = 4 };
  static constexpr int kFirstId = 1;
  static constexpr int kLastId = 4;

  /// Throws BASIC::TYPES::ERROR_ENUM_BASE_INVALID_ID for an id outside 0..5.
  explicit EllipsoidType(int id);

  /// The type of the program-wide default ellipsoid, WGS84.
  [[nodiscard]] static const EllipsoidType& Default();
  /// "ellipsoid_type", the name under which the type stands in pools and messages.
  [[nodiscard]] static std::string_view ParameterName();

  [[nodiscard]] int GetId() const { return id_; }
  /// "Airy", "Bessel", "GRS80" or "WGS84"; "-" without axes.
  [[nodiscard]] std::string_view Text() const;
  /// The program-wide ellipsoid of this type, narrowed to T; throws
  /// BASIC::TYPES::ERROR_ENUM_BASE_INVALID_ID for the ids without axes.
  [[nodiscard]] const ELLIPSOID<T>& Axes() const;

  friend bool operator==(const EllipsoidType&, const EllipsoidType&) = default;

 private:
  int id_;
};

extern template class EllipsoidType<float>;
extern template class EllipsoidType<double>;
extern template class EllipsoidType<long double>;
