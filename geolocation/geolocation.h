// Geolocation on the ellipsoid for callers that keep their vectors as VECTOR<double>.
#pragma once

#include <cstdint>

#include "basic/vector.h"

class DEM_DOCUMENT;

/// As geolocation_fast(), but on general vectors of three components and with messages under its
/// own name. `ground` takes the range of `sat_pos`. Throws the character strings of CrossProduct()
/// for vectors of another length.
double& geolocation(const VECTOR<double>& sat_pos, const VECTOR<double>& sat_vel,
                    VECTOR<double>& ground, double& heading_deg, double& latitude_deg,
                    double& longitude_deg, double& incidence_deg, double look_direction,
                    double height_m, double rpole_m, double requator_m, double fast_time_s,
                    double doppler_ms);

/// As geolocation_fast() with a DEM, but on general vectors. Allocates its work arrays on each
/// call. A fit that fails ends the process, as lfit() does.
double& geolocation(DEM_DOCUMENT& dem, const VECTOR<double>& sat_pos, const VECTOR<double>& sat_vel,
                    VECTOR<double>& ground, double& heading_deg, double& latitude_deg,
                    double& longitude_deg, double& incidence_deg, double& terrain_height_m,
                    std::uint8_t degree, double look_direction, double rpole_m, double requator_m,
                    double fast_time_s, double doppler_ms);
