#include "geolocation/geolocation_fast.h"

#include <array>
#include <string_view>

#include "basic/errors.h"
#include "runtime/log.h"

using namespace quellmark::geolocation;

namespace {

using quellmark::runtime::Fail;
using quellmark::runtime::Log;
using quellmark::runtime::LogLevel;
using quellmark::runtime::LogLine;

constexpr std::string_view kRoutine = "geolocation_fast";

struct NamedArray {
  std::string_view name;
  ARRAY<double> TerrainArrays::*array;
};

constexpr std::array<NamedArray, 7> kNamedArrays = {{{"ht", &TerrainArrays::ht},
                                                     {"xx", &TerrainArrays::xx},
                                                     {"yy", &TerrainArrays::yy},
                                                     {"zz", &TerrainArrays::zz},
                                                     {"X_", &TerrainArrays::curve_x},
                                                     {"Y_", &TerrainArrays::curve_y},
                                                     {"Z_", &TerrainArrays::curve_z}}};

void FitAnew(TerrainArrays& arrays, const ARRAY<double>& coordinate, ARRAY<double>& coefficients) {
  const int count = arrays.ht.Length();
  double chi_square = 0.0;
  lfit_fast(arrays.ht, coordinate, arrays.sig, count, coefficients, arrays.ia, count, arrays.covar,
            chi_square, PowerBasis, arrays.lfit);
}

// The normal equations depend on the trial heights only, which stay the same. They are eliminated
// once, with the first fit here; later fits reuse that elimination.
bool EliminateOnce(TerrainArrays& arrays) {
  try {
    FitAnew(arrays, arrays.xx, arrays.curve_x);
    return true;
  } catch (const char*) {  // singular: the calls themselves fail with this text
    return false;
  }
}

void Fit(TerrainArrays& arrays, const ARRAY<double>& coordinate, ARRAY<double>& coefficients) {
  if (!arrays.is_eliminated) return FitAnew(arrays, coordinate, coefficients);
  const int count = arrays.ht.Length();
  lfit_again_fast(arrays.ht, coordinate, arrays.sig, count, coefficients, arrays.ia, count,
                  PowerBasis, arrays.lfit);
}

constexpr TerrainVariant kVariant = {
    .fit = Fit,
    .initializing_error =
        "geolocation_fast: Initializing error. DEM possibly too small or "
        "contains values outside [-500,9000].",
    .logs_samples = true};

}  // namespace

void GEOLOCATION_DEM_WORKSPACE::Prepare(std::uint8_t degree) {
  if (arrays_.Create(degree) != kArrayOk) {
    Fail<ERROR_NO_MEMORY>(kRoutine, ": not enough memory for the work area of thread ", thread_,
                          "\n");
  }
  arrays_.is_eliminated = EliminateOnce(arrays_);
  LogLine(LogLevel::kTrace, "changed Arrays start 1 length ", arrays_.ht.Length(), " for thread ",
          thread_);
}

bool GEOLOCATION_DEM_WORKSPACE::IsPreparedFor(std::uint8_t degree) const {
  return arrays_.ht.Length() == degree + 1;  // all arrays have the same length, see TerrainArrays
}

void GEOLOCATION_DEM_WORKSPACE::Check(std::uint8_t degree) const {
  if (!Log().Passes(LogLevel::kTrace)) return;
  const auto check = [this](std::string_view name, std::string_view what, int current,
                            int expected) {
    if (current == expected) return;
    LogLine(LogLevel::kTrace, name, what, current, " to ", expected, " in thread ", thread_);
  };
  // Some texts have two blanks: kept exactly.
  const int length = degree + 1;
  for (const auto& [name, member] : kNamedArrays) {
    const ARRAY<double>& array = arrays_.*member;
    check(name, " start change  ", array.First(), 1);
    check(name, " length change ", array.Length(), length);
  }
  const RANGE<int> columns = arrays_.covar.Columns();
  const RANGE<int> rows = arrays_.covar.Rows();
  check("covar", " xstart change ", columns.Start(), 1);
  check("covar", " width  change ", columns.Length(), length);
  check("covar", " ystart change ", rows.Start(), 1);
  check("covar", " height change ", rows.Length(), length);
}

TerrainLocation GEOLOCATION_DEM_WORKSPACE::Locate(const RangeDopplerQuery& query, DEM_DOCUMENT& dem,
                                                  std::uint8_t degree) {
  Check(degree);
  if (!IsPreparedFor(degree)) {
    Fail<ERROR_ARGUMENT>(query.routine, ": work area of thread ", thread_,
                         " is not prepared for degree ", int{degree}, "\n");
  }
  return LocateOnTerrain(query, dem, arrays_, kVariant);
}

double& geolocation_fast(GEOLOCATION_WORKSPACE& workspace, const VECTOR_3D<double>& sat_pos,
                         const VECTOR_3D<double>& sat_vel, VECTOR_3D<double>& ground,
                         double& heading_deg, double& latitude_deg, double& longitude_deg,
                         double& incidence_deg, double look_direction, double height_m,
                         double rpole_m, double requator_m, double fast_time_s, double doppler_ms) {
  const Location location = Locate({.routine = kRoutine,
                                    .sat_pos = sat_pos,
                                    .sat_vel = sat_vel,
                                    .look_direction = look_direction,
                                    .height_m = height_m,
                                    .rpole_m = rpole_m,
                                    .requator_m = requator_m,
                                    .fast_time_s = fast_time_s,
                                    .doppler_ms = doppler_ms},
                                   workspace.frame, workspace.ellipsoid);
  ground = location.ground;
  return StoreAngles(location.angles, heading_deg, latitude_deg, longitude_deg, incidence_deg);
}

double& geolocation_fast(GEOLOCATION_DEM_WORKSPACE& workspace, DEM_DOCUMENT& dem,
                         const VECTOR_3D<double>& sat_pos, const VECTOR_3D<double>& sat_vel,
                         VECTOR_3D<double>& ground, double& heading_deg, double& latitude_deg,
                         double& longitude_deg, double& incidence_deg, double& terrain_height_m,
                         std::uint8_t degree, double look_direction, double rpole_m,
                         double requator_m, double fast_time_s, double doppler_ms) {
  LogLine(LogLevel::kTrace, kRoutine, " called with fast_time ", fast_time_s, " sat at ", sat_pos.x,
          ",", sat_pos.y, ",", sat_pos.z);
  const TerrainLocation found = workspace.Locate({.routine = kRoutine,
                                                  .sat_pos = sat_pos,
                                                  .sat_vel = sat_vel,
                                                  .look_direction = look_direction,
                                                  .rpole_m = rpole_m,
                                                  .requator_m = requator_m,
                                                  .fast_time_s = fast_time_s,
                                                  .doppler_ms = doppler_ms},
                                                 dem, degree);
  ground = found.location.ground;
  terrain_height_m = found.height_m;
  return StoreAngles(found.location.angles, heading_deg, latitude_deg, longitude_deg,
                     incidence_deg);
}
