#include "geolocation/ellipsoid_type.h"

#include <array>
#include <cstddef>

#include "basic/errors.h"

namespace {

struct NamedEllipsoid {
  std::string_view name;
  long double semi_major_m;
  long double semi_minor_m;
};

// Indexed by id. The numbers are the system's own: kept exactly, do not correct, also where their
// last digits differ from other published sets.
constexpr std::array<NamedEllipsoid, 6> kEllipsoids = {{
    {"-", 0.0L, 0.0L},
    {"Airy", 6377340.189L, 6356034.447L},
    {"Bessel", 6377397.155L, 6356078.965L},
    {"GRS80", 6378137.0L, 6356752.3141L},
    {"WGS84", 6378137.0L, 6356752.315L},
    {"-", 0.0L, 0.0L},
}};

template <class T>
constexpr auto kAxes = [] {
  std::array<ELLIPSOID<T>, kEllipsoids.size()> axes{};
  for (std::size_t i = 0; i < axes.size(); ++i) {
    axes[i] = {static_cast<T>(kEllipsoids[i].semi_major_m),
               static_cast<T>(kEllipsoids[i].semi_minor_m)};
  }
  return axes;
}();

static_assert(kAxes<double>[4].semi_minor_m == 6356752.315);
static_assert(kAxes<float>[4].semi_minor_m == static_cast<float>(6356752.315));

}  // namespace

template <class T>
EllipsoidType<T>::EllipsoidType(int id) : id_(id) {
  if (id < 0 || id >= static_cast<int>(kEllipsoids.size())) {
    throw BASIC::TYPES::ERROR_ENUM_BASE_INVALID_ID();
  }
}

template <class T>
const EllipsoidType<T>& EllipsoidType<T>::Default() {
  static const EllipsoidType type(kWgs84);
  return type;
}

template <class T>
std::string_view EllipsoidType<T>::ParameterName() {
  return "ellipsoid_type";
}

template <class T>
std::string_view EllipsoidType<T>::Text() const {
  return kEllipsoids[static_cast<std::size_t>(id_)].name;
}

template <class T>
const ELLIPSOID<T>& EllipsoidType<T>::Axes() const {
  if (id_ < kFirstId || id_ > kLastId) throw BASIC::TYPES::ERROR_ENUM_BASE_INVALID_ID();
  return kAxes<T>[static_cast<std::size_t>(id_)];
}

template class EllipsoidType<float>;
template class EllipsoidType<double>;
template class EllipsoidType<long double>;
