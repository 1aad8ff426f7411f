// The range of all longitudes that the library returns.
#pragma once

#include <cmath>

namespace quellmark::api {

/// Returns the longitude [deg] in (-180, 180]. The result is exact, because std::remainder() is.
[[nodiscard]] inline double NormalLongitude(double longitude_deg) {
  if (longitude_deg > -180.0 && longitude_deg <= 180.0) return longitude_deg;
  const double rest = std::remainder(longitude_deg, 360.0);
  return rest == -180.0 ? 180.0 : rest;
}

}  // namespace quellmark::api
