// Geolocation on the terrain of a DEM: the search that both DEM-aware routines use.
#pragma once

#include <cstdint>

#include "basic/array.h"
#include "basic/matrix.h"
#include "basic/vector_3d.h"
#include "geolocation/lsq/lfit.h"
#include "geolocation/range_doppler.h"

class DEM_DOCUMENT;

namespace quellmark::geolocation {

/// Semi-axes of the ellipsoid, without the raise, and their squares [m, m^2].
struct EllipsoidRecord {
  double a = 0.0;
  double b = 0.0;
  double a2 = 0.0;
  double b2 = 0.0;
};

struct GeodeticPoint {
  double latitude_rad = 0.0;
  double longitude_rad = 0.0;  ///< in (-pi, pi]
  double height_m = 0.0;
};

/// Geodetic coordinates of an earth-fixed point outside the centre, by one step of Bowring's method
/// (B. R. Bowring, Transformation from spatial to geographical coordinates, Survey Review 23,
/// 1976). Heights from -500 m to 9000 m are correct to 1e-5 m.
[[nodiscard]] GeodeticPoint ToGeodetic(const EllipsoidRecord& ellipsoid,
                                       const VECTOR_3D<double>& point);

/// The work arrays of a search: for a curve of degree d they have start index 1 and length d + 1. A
/// default-made object, or one that has been moved from, has arrays of length 0.
struct TerrainArrays {
  ARRAY<double> ht;          ///< trial heights [m], d equal steps from -500 to 9000
  ARRAY<double> xx, yy, zz;  ///< ground points at the trial heights [m]
  /// The fitted curve: x(h) = curve_x[1] + curve_x[2] h + curve_x[3] h^2 ..., likewise y and z.
  ARRAY<double> curve_x, curve_y, curve_z;
  MATRIX<double> covar;  ///< covariance of the last fit
  ARRAY<double> sig;     ///< standard deviations of the samples: all 1
  ARRAY<int> ia;         ///< all 1: every coefficient is fitted
  lsq::LfitWorkspace<double> lfit;
  bool is_eliminated = false;  ///< `lfit` holds the elimination of the fit's normal equations

  TerrainArrays() = default;
  TerrainArrays(const TerrainArrays&) = delete;  // not needed, and a copy could fail half way
  TerrainArrays(TerrainArrays&&) noexcept = default;
  TerrainArrays& operator=(const TerrainArrays&) = delete;
  TerrainArrays& operator=(TerrainArrays&&) noexcept = default;
  ~TerrainArrays() = default;

  /// Makes the arrays for curves of this degree and returns an ArrayStatus. Either all arrays are
  /// replaced or none. With degree 0 there is no step, and the only height is NaN.
  [[nodiscard]] int Create(std::uint8_t degree);
};

/// The differences between the two DEM-aware routines.
struct TerrainVariant {
  /// Fits one coordinate of the ground points by the powers 1, h, h^2, ... of the heights.
  void (*fit)(TerrainArrays& arrays, const ARRAY<double>& coordinate, ARRAY<double>& coefficients);
  const char* initializing_error;  ///< thrown when there is no sign change
  bool logs_samples;               ///< writes each trial point, at level kTrace
};

struct TerrainLocation {
  Location location;
  double height_m = 0.0;  ///< height above the ellipsoid at which the search met the terrain
};

/// The powers 1, h, h^2, ... in the form that the fits expect.
void PowerBasis(double h, double powers[], int count);

/// Finds the ground point of `query` whose height above the ellipsoid equals the height of the
/// terrain at that place; the query's own height is not used. Solves the equations at the trial
/// heights of `arrays` and fits a curve through the points. Then bisects the interval from -500 m
/// to 9000 m along the curve until height and terrain agree to 1 m (at most 21 times; the last
/// height counts, whatever its error is), and solves once more at the height found.
///
/// In addition, the result differs from the point on the curve by the error of the fit, which is
/// not part of the 1 m. The table in docs/geometry.md has both errors for each degree.
///
/// Throws the variant's character string if the height error has the same sign at both ends, and
/// what the equations, the fit and the DEM throw. A degree of 0 throws ERROR_ALGORITHM. Allocates
/// nothing unless it fails or the log is at level kTrace.
[[nodiscard]] TerrainLocation LocateOnTerrain(const RangeDopplerQuery& query, DEM_DOCUMENT& dem,
                                              TerrainArrays& arrays, const TerrainVariant& variant);

}  // namespace quellmark::geolocation
