// Geometries for the tests of this folder, and an independent solver to compare with.
#pragma once

#include <cmath>
#include <numbers>
#include <random>

#include "basic/vector_3d.h"
#include "geolocation/ellipsoid_type.h"
#include "geolocation/geolocation_fast.h"

namespace quellmark::test {

constexpr double kDegree = std::numbers::pi / 180.0;
constexpr double kSpeedOfLight = 299792458.0;

/// The inputs of one geolocation.
struct Geometry {
  VECTOR_3D<double> sat_pos, sat_vel;
  double look = 1.0;
  double height = 0.0;
  double rpole = EllipsoidType<double>::Default().Axes().semi_minor_m;
  double requator = EllipsoidType<double>::Default().Axes().semi_major_m;
  double fast_time = 0.0;
  double doppler = 0.0;
};

/// All outputs of a geolocation; -1 marks one that was not written.
struct Located {
  VECTOR_3D<double> ground;
  double heading = -1.0, latitude = -1.0, longitude = -1.0, incidence = -1.0, height = -1.0;
  friend bool operator==(const Located&, const Located&) = default;
};

/// Locates into `l`, and returns the reference that geolocation_fast() returns.
inline const double& LocateInto(Located& l, const Geometry& g) {
  GEOLOCATION_WORKSPACE workspace;
  const double& place = geolocation_fast(workspace, g.sat_pos, g.sat_vel, l.ground, l.heading,
                                         l.latitude, l.longitude, l.incidence, g.look, g.height,
                                         g.rpole, g.requator, g.fast_time, g.doppler);
  l.height = g.height;
  return place;
}

inline Located Locate(const Geometry& g) {
  Located located;
  LocateInto(located, g);
  return located;
}

/// The unit vectors up, north and east at a longitude and latitude [rad].
struct LocalAxes {
  VECTOR_3D<double> up, north, east;
  LocalAxes(double longitude, double latitude)
      : up{std::cos(latitude) * std::cos(longitude), std::cos(latitude) * std::sin(longitude),
           std::sin(latitude)},
        north{-std::sin(latitude) * std::cos(longitude), -std::sin(latitude) * std::sin(longitude),
              std::cos(latitude)},
        east{-std::sin(longitude), std::cos(longitude), 0.0} {}
};

/// A sensor that looks right towards the bearing [rad] and sees geocentric longitude and latitude
/// [rad], at about that incidence [rad] and from about that altitude [m].
inline Geometry MakeGeometry(double longitude, double latitude, double bearing, double incidence,
                             double altitude = 700e3) {
  constexpr double kEarthRadius_m = 6371e3;
  const double sensor_radius = kEarthRadius_m + altitude;
  const LocalAxes axes(longitude, latitude);
  const double look = std::asin(kEarthRadius_m / sensor_radius * std::sin(incidence));
  const double centre_angle = incidence - look;
  const VECTOR_3D<double> back = -std::cos(bearing) * axes.north - std::sin(bearing) * axes.east;
  const VECTOR_3D<double> up = std::cos(centre_angle) * axes.up + std::sin(centre_angle) * back;
  Geometry g;
  g.sat_pos = sensor_radius * up;
  g.sat_vel = 7500.0 / std::sin(centre_angle) * Cross(up, axes.up);
  const double earth_radius =
      1.0 / std::hypot(std::cos(latitude) / g.requator, std::sin(latitude) / g.rpole);
  g.fast_time = 2.0 * Length(earth_radius * axes.up - g.sat_pos) / kSpeedOfLight;
  return g;
}

/// Low orbits over all places and headings, with incidences from 5 to 85 degrees and both look
/// sides. Half of them have climb and Doppler.
class RandomGeometries {
 public:
  explicit RandomGeometries(unsigned seed) : random_(seed) {}
  Geometry operator()() {
    // Drawn one by one: compilers differ in the order in which they evaluate a call's arguments.
    const double longitude = Uniform(-180.0, 180.0) * kDegree;
    const double latitude = std::asin(Uniform(-1.0, 1.0));
    const double bearing = Uniform(-180.0, 180.0) * kDegree;
    const double incidence = Uniform(5.0, 85.0) * kDegree;
    const double altitude_m = Uniform(300e3, 900e3);
    Geometry g = MakeGeometry(longitude, latitude, bearing, incidence, altitude_m);
    g.look = Uniform(-1.0, 1.0) < 0.0 ? -1.0 : 1.0;
    g.height = Uniform(-100.0, 100.0);
    if (Uniform(-1.0, 1.0) < 0.0) {
      g.sat_vel = g.sat_vel + (Uniform(-30.0, 30.0) / Length(g.sat_pos)) * g.sat_pos;
      g.doppler = Uniform(-50.0, 50.0);
    }
    return g;
  }
  double Uniform(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random_);
  }

 private:
  std::mt19937_64 random_;
};

}  // namespace quellmark::test
