#include "geolocation/geolocation_fast.h"

#include <array>
#include <string_view>

#include "basic/errors.h"
#include "runtime/log.h"

namespace {

using quellmark::geolocation::Locate;
using quellmark::geolocation::LocateOnTerrain;
using quellmark::geolocation::Location;
using quellmark::geolocation::PowerBasis;
using quellmark::geolocation::RangeDopplerQuery;
using quellmark::geolocation::StoreAngles;
using quellmark::geolocation::TerrainArrays;
using quellmark::geolocation::TerrainLocation;
using quellmark::geolocation::TerrainVariant;
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
                                                     {"X_", &TerrainArrays::X_},
                                                     {"Y_", &TerrainArrays::Y_},
                                                     {"Z_", &TerrainArrays::Z_}}};

void Fit(TerrainArrays& arrays, const ARRAY<double>& coordinate, ARRAY<double>& coefficients) {
  const int count = arrays.ht.Length();
  double chi_square = 0.0;
  lfit_fast(arrays.ht, coordinate, arrays.sig, count, coefficients, arrays.ia, count, arrays.covar,
            chi_square, PowerBasis, arrays.lfit);
}

constexpr TerrainVariant kVariant = {
    .fit = Fit,
    .initializing_error =
        "geolocation_fast: Initializing error. DEM possibly too small or "
        "contains values outside [-500,9000].",
    .logs_samples = true};

bool CheckValue(std::string_view name, std::string_view what, int current, int expected,
                std::uint32_t thread) {
  if (current == expected) return true;
  LogLine(LogLevel::kTrace, name, what, current, " to ", expected, " in thread ", thread);
  return false;
}

}  // namespace

void GEOLOCATION_DEM_WORKSPACE::Prepare(std::uint8_t degree) {
  const int length = degree + 1;
  if (arrays_.Create(length) != kArrayOk) throw ERROR_NO_MEMORY();
  LogLine(LogLevel::kTrace, "changed Arrays start 1 length ", length, " for thread ", thread_);
}

bool GEOLOCATION_DEM_WORKSPACE::Check(std::uint8_t degree) const {
  // Both blanks of some texts are meant: kept exactly.
  const int length = degree + 1;
  bool as_expected = true;
  for (const auto& [name, member] : kNamedArrays) {
    const ARRAY<double>& array = arrays_.*member;
    as_expected &= CheckValue(name, " start change  ", array.First(), 1, thread_);
    as_expected &= CheckValue(name, " length change ", array.Length(), length, thread_);
  }
  const RANGE<int> columns = arrays_.covar.Columns();
  const RANGE<int> rows = arrays_.covar.Rows();
  as_expected &= CheckValue("covar", " xstart change ", columns.Start(), 1, thread_);
  as_expected &= CheckValue("covar", " width  change ", columns.Length(), length, thread_);
  as_expected &= CheckValue("covar", " ystart change ", rows.Start(), 1, thread_);
  as_expected &= CheckValue("covar", " height change ", rows.Length(), length, thread_);
  return as_expected;
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
  if (!workspace.Check(degree)) workspace.Prepare(degree);
  const TerrainLocation found = LocateOnTerrain({.routine = kRoutine,
                                                 .sat_pos = sat_pos,
                                                 .sat_vel = sat_vel,
                                                 .look_direction = look_direction,
                                                 .rpole_m = rpole_m,
                                                 .requator_m = requator_m,
                                                 .fast_time_s = fast_time_s,
                                                 .doppler_ms = doppler_ms},
                                                dem, degree, workspace.Arrays(), kVariant);
  ground = found.location.ground;
  terrain_height_m = found.height_m;
  return StoreAngles(found.location.angles, heading_deg, latitude_deg, longitude_deg,
                     incidence_deg);
}
