// The projection of the map page.
#pragma once

#include <string>

#include "toolbox/report/footprint.h"

namespace quellmark::report {

/// A place on the map [km]; y grows downwards, as in SVG.
struct MapPoint {
  double x_km = 0.0;
  double y_km = 0.0;
};

/// Lambert's azimuthal equal-area projection of a sphere around a centre. It preserves shapes near
/// the centre at every latitude (Snyder, Map Projections: A Working Manual, equations 24-2 to
/// 24-4).
class MapProjection {
 public:
  static constexpr double kEarthRadius_km = 6371.0;

  explicit MapProjection(const LonLat& centre);

  /// The radius on the map of the hemisphere around the centre.
  [[nodiscard]] static double HemisphereRadius_km();
  [[nodiscard]] MapPoint Project(const LonLat& place) const;
  /// Whether the place is in the hemisphere around the centre.
  [[nodiscard]] bool IsInHemisphere(const LonLat& place) const;

 private:
  /// The direction of a place in the frame of the centre: east, north, up.
  struct Direction {
    double east;
    double north;
    double up;
  };
  [[nodiscard]] Direction DirectionOf(const LonLat& place) const;

  double centre_longitude_deg_;
  double sin_latitude_;
  double cos_latitude_;
};

/// Returns the middle of places on the sphere.
[[nodiscard]] LonLat MiddleOf(const std::vector<LonLat>& places);

}  // namespace quellmark::report
