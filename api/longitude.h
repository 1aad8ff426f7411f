// The one range in which the library gives longitudes.
#pragma once

#include <cmath>

namespace quellmark::api {

/// The longitude [deg] in (-180, 180]. Exact: the remainder of a division is.
[[nodiscard]] inline double NormalLongitude(double longitude_deg) {
  if (longitude_deg > -180.0 && longitude_deg <= 180.0) return longitude_deg;
  const double rest = std::remainder(longitude_deg, 360.0);
  return rest == -180.0 ? 180.0 : rest;
}

}  // namespace quellmark::api
