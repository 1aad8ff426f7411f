#include "geolocation/geolocation.h"

#include <cstddef>
#include <string_view>
#include <vector>

#include "basic/errors.h"
#include "geolocation/range_doppler.h"
#include "geolocation/terrain.h"
#include "runtime/log.h"

using namespace quellmark::geolocation;

namespace {

using quellmark::runtime::Fail;

constexpr std::string_view kRoutine = "geolocation";

VECTOR_3D<double> ToVector3d(const VECTOR<double>& v) {
  const double* const element = v.Data(0);
  return {element[0], element[1], element[2]};
}

RangeDopplerQuery MakeQuery(const VECTOR<double>& sat_pos, const VECTOR<double>& sat_vel,
                            double look_direction, double rpole_m, double requator_m,
                            double fast_time_s, double doppler_ms) {
  RequireThreeComponents(sat_pos, sat_vel);
  return {.routine = kRoutine,
          .sat_pos = ToVector3d(sat_pos),
          .sat_vel = ToVector3d(sat_vel),
          .look_direction = look_direction,
          .rpole_m = rpole_m,
          .requator_m = requator_m,
          .fast_time_s = fast_time_s,
          .doppler_ms = doppler_ms};
}

void AssignGround(VECTOR<double>& ground, const RANGE<int>& range, const VECTOR_3D<double>& value) {
  if (ground.Resize(range) != kArrayOk) {
    Fail<ERROR_NO_MEMORY>(kRoutine, ": not enough memory for the ground point\n");
  }
  double* const element = ground.Data(0);
  element[0] = value.x;
  element[1] = value.y;
  element[2] = value.z;
}

void Fit(TerrainArrays& arrays, const ARRAY<double>& coordinate, ARRAY<double>& coefficients) {
  const int count = arrays.ht.Length();
  std::vector<double*> covar(static_cast<std::size_t>(count) + 1);
  for (int i = 1; i <= count; ++i) covar[static_cast<std::size_t>(i)] = arrays.covar.Row(i);
  double chi_square = 0.0;
  lfit(arrays.ht.Data(), coordinate.Data(), arrays.sig.Data(), count, coefficients.Data(),
       arrays.ia.Data(), count, covar.data(), &chi_square, PowerBasis);
}

constexpr TerrainVariant kVariant = {
    .fit = Fit,
    .initializing_error =
        "geolocation: Initializing error. DEM possibly too small or contains "
        "values outside [-500,9000].",
    .logs_samples = false};

}  // namespace

double& geolocation(const VECTOR<double>& sat_pos, const VECTOR<double>& sat_vel,
                    VECTOR<double>& ground, double& heading_deg, double& latitude_deg,
                    double& longitude_deg, double& incidence_deg, double look_direction,
                    double height_m, double rpole_m, double requator_m, double fast_time_s,
                    double doppler_ms) {
  RangeDopplerQuery query =
      MakeQuery(sat_pos, sat_vel, look_direction, rpole_m, requator_m, fast_time_s, doppler_ms);
  query.height_m = height_m;
  LocalFrame frame;
  RaisedEllipsoid ellipsoid;
  const Location location = Locate(query, frame, ellipsoid);
  AssignGround(ground, sat_pos.Range(), location.ground);
  return StoreAngles(location.angles, heading_deg, latitude_deg, longitude_deg, incidence_deg);
}

double& geolocation(DEM_DOCUMENT& dem, const VECTOR<double>& sat_pos, const VECTOR<double>& sat_vel,
                    VECTOR<double>& ground, double& heading_deg, double& latitude_deg,
                    double& longitude_deg, double& incidence_deg, double& terrain_height_m,
                    std::uint8_t degree, double look_direction, double rpole_m, double requator_m,
                    double fast_time_s, double doppler_ms) {
  const RangeDopplerQuery query =
      MakeQuery(sat_pos, sat_vel, look_direction, rpole_m, requator_m, fast_time_s, doppler_ms);
  TerrainArrays arrays;
  if (arrays.Create(degree) != kArrayOk) {
    Fail<ERROR_NO_MEMORY>(kRoutine, ": not enough memory for the work arrays\n");
  }
  const TerrainLocation found = LocateOnTerrain(query, dem, arrays, kVariant);
  AssignGround(ground, sat_pos.Range(), found.location.ground);
  terrain_height_m = found.height_m;
  return StoreAngles(found.location.angles, heading_deg, latitude_deg, longitude_deg,
                     incidence_deg);
}
