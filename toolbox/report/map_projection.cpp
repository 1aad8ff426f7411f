#include "toolbox/report/map_projection.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quellmark::report {

namespace {

constexpr double kRadiansPerDegree = std::numbers::pi / 180.0;

}  // namespace

MapProjection::MapProjection(const LonLat& centre)
    : centre_longitude_deg_(centre.longitude_deg),
      sin_latitude_(std::sin(centre.latitude_deg * kRadiansPerDegree)),
      cos_latitude_(std::cos(centre.latitude_deg * kRadiansPerDegree)) {}

double MapProjection::HemisphereRadius_km() { return kEarthRadius_km * std::numbers::sqrt2; }

MapProjection::Direction MapProjection::DirectionOf(const LonLat& place) const {
  const double longitude = (place.longitude_deg - centre_longitude_deg_) * kRadiansPerDegree;
  const double latitude = place.latitude_deg * kRadiansPerDegree;
  const double equatorial = std::cos(latitude);
  return {equatorial * std::sin(longitude),
          cos_latitude_ * std::sin(latitude) - sin_latitude_ * equatorial * std::cos(longitude),
          sin_latitude_ * std::sin(latitude) + cos_latitude_ * equatorial * std::cos(longitude)};
}

MapPoint MapProjection::Project(const LonLat& place) const {
  const Direction at = DirectionOf(place);
  constexpr double kNextToAntipode = 1e-9;
  const double scale = kEarthRadius_km * std::sqrt(2.0 / std::max(1.0 + at.up, kNextToAntipode));
  return {scale * at.east, -scale * at.north};
}

bool MapProjection::IsInHemisphere(const LonLat& place) const {
  return DirectionOf(place).up >= 0.0;
}

LonLat MiddleOf(const std::vector<LonLat>& places) {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  for (const LonLat& place : places) {
    const double equatorial = std::cos(place.latitude_deg * kRadiansPerDegree);
    x += equatorial * std::cos(place.longitude_deg * kRadiansPerDegree);
    y += equatorial * std::sin(place.longitude_deg * kRadiansPerDegree);
    z += std::sin(place.latitude_deg * kRadiansPerDegree);
  }
  return {std::atan2(y, x) / kRadiansPerDegree,
          std::atan2(z, std::hypot(x, y)) / kRadiansPerDegree};
}

}  // namespace quellmark::report
