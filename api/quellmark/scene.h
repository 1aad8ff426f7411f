/// @file
/// A scene: the positions of a radar image's pixels on the ground.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include <quellmark/dem.h>
#include <quellmark/export.h>
#include <quellmark/orbit.h>

namespace quellmark {

/// The side of the flight direction on which the image lies.
enum class LookSide : int {
  kRight = 1,  ///< to the right
  kLeft = -1,  ///< to the left
};

/// The values that describe an image, without its orbit. Sample x has the two-way slant range time
/// first_range_time_s + x / range_sampling_frequency_hz, line y the azimuth time
/// first_azimuth_time_s + y / prf_hz; both count from 0.
struct SceneParameters {
  double first_azimuth_time_s = 0.0;         ///< of line 0, from the orbit's reference time
  double first_range_time_s = 0.0;           ///< two-way, of sample 0
  double prf_hz = 0.0;                       ///< lines per second
  double range_sampling_frequency_hz = 0.0;  ///< samples per second
  std::int32_t samples = 0;                  ///< samples per line, at least 1
  std::int32_t lines = 0;                    ///< at least 1
  LookSide look_side = LookSide::kRight;     ///< the side of the antenna
  double radar_frequency_hz = 0.0;           ///< of the carrier
  double local_height_m = 0.0;               ///< of the ground above the ellipsoid
};

/// The 23 results of the batch step, named as their pool keys. Angles are in degrees, longitudes in
/// (-180, 180]; "first" and "last" are lines, "near" and "far" the first and the last sample.
struct SceneResults {
  double center_longitude = 0.0;            ///< at samples / 2, lines / 2, both rounded down [deg]
  double center_latitude = 0.0;             ///< geodetic [deg]
  double first_near_lon = 0.0;              ///< [deg]
  double first_near_lat = 0.0;              ///< [deg]
  double first_far_lon = 0.0;               ///< [deg]
  double first_far_lat = 0.0;               ///< [deg]
  double last_far_lon = 0.0;                ///< [deg]
  double last_far_lat = 0.0;                ///< [deg]
  double last_near_lon = 0.0;               ///< [deg]
  double last_near_lat = 0.0;               ///< [deg]
  double inc_angle_center = 0.0;            ///< against the ellipsoid's normal [deg]
  double inc_angle_near = 0.0;              ///< at the middle line [deg]
  double inc_angle_mid = 0.0;               ///< the same as inc_angle_center [deg]
  double inc_angle_far = 0.0;               ///< at the middle line [deg]
  double zero_doppler_velocity_near = 0.0;  ///< velocity along the ground [m/s]
  double zero_doppler_velocity_mid = 0.0;   ///< [m/s]
  double zero_doppler_velocity_far = 0.0;   ///< [m/s]
  double b_param_near = 0.0;                ///< B-parameter [m^2/s^2]
  double b_param_mid = 0.0;                 ///< [m^2/s^2]
  double b_param_far = 0.0;                 ///< [m^2/s^2]
  double fm_rate_near = 0.0;                ///< azimuth FM rate [1/s^2]
  double fm_rate_mid = 0.0;                 ///< [1/s^2]
  double fm_rate_far = 0.0;                 ///< [1/s^2]
};

/// One of the results, for loops over all of them.
struct ResultField {
  std::string_view key;         ///< its pool key
  double SceneResults::*value;  ///< its member
  bool is_float;                ///< the batch step writes it in single precision
};

/// All results in the order in which the batch step writes them.
inline constexpr std::array<ResultField, 23> kResultFields = {{
    {"center_longitude", &SceneResults::center_longitude, true},
    {"center_latitude", &SceneResults::center_latitude, true},
    {"first_near_lon", &SceneResults::first_near_lon, true},
    {"first_near_lat", &SceneResults::first_near_lat, true},
    {"first_far_lon", &SceneResults::first_far_lon, true},
    {"first_far_lat", &SceneResults::first_far_lat, true},
    {"last_far_lon", &SceneResults::last_far_lon, true},
    {"last_far_lat", &SceneResults::last_far_lat, true},
    {"last_near_lon", &SceneResults::last_near_lon, true},
    {"last_near_lat", &SceneResults::last_near_lat, true},
    {"inc_angle_center", &SceneResults::inc_angle_center, true},
    {"inc_angle_near", &SceneResults::inc_angle_near, true},
    {"inc_angle_mid", &SceneResults::inc_angle_mid, true},
    {"inc_angle_far", &SceneResults::inc_angle_far, true},
    {"zero_doppler_velocity_near", &SceneResults::zero_doppler_velocity_near, false},
    {"zero_doppler_velocity_mid", &SceneResults::zero_doppler_velocity_mid, false},
    {"zero_doppler_velocity_far", &SceneResults::zero_doppler_velocity_far, false},
    {"b_param_near", &SceneResults::b_param_near, false},
    {"b_param_mid", &SceneResults::b_param_mid, false},
    {"b_param_far", &SceneResults::b_param_far, false},
    {"fm_rate_near", &SceneResults::fm_rate_near, false},
    {"fm_rate_mid", &SceneResults::fm_rate_mid, false},
    {"fm_rate_far", &SceneResults::fm_rate_far, false},
}};

/// The status of one of many points.
enum class PointStatus : std::uint8_t {
  kFound = 0,           ///< found
  kLayover = 1,         ///< found; the highest of several places on the terrain
  kNoTerrain = 2,       ///< found, but at the scene's height, because the DEM has none there
  kNoIntersection = 3,  ///< no visible ground on the look side has this range; NaN
  kBeyondOrbit = 4,     ///< the orbit does not cover the time; NaN
  kWrongSide = 5,       ///< ground to image: not on the side of the antenna; NaN
  kOutOfView = 6,       ///< ground to image: beyond the horizon; NaN
  kBadInput = 7,        ///< a number is not finite, or a height is impossible; NaN
  kNotComputed = 8,     ///< the call was cancelled before this point; NaN
};

/// The number of values of PointStatus.
inline constexpr std::size_t kPointStatusCount = 9;

/// Returns a short English text, such as "beyond the orbit".
[[nodiscard]] QM_API std::string_view TextOf(PointStatus status) noexcept;
/// Whether a point with this status has the requested numbers.
[[nodiscard]] constexpr bool IsAnswer(PointStatus status) noexcept {
  return status == PointStatus::kFound || status == PointStatus::kLayover;
}

/// The number of points with each status in a call.
struct PointSummary {
  std::array<std::uint64_t, kPointStatusCount> count{};  ///< by the number of the status

  /// The number of points with this status.
  [[nodiscard]] std::uint64_t Of(PointStatus status) const noexcept {
    return count[static_cast<std::size_t>(status)];
  }
};

/// The results for one image position.
struct Location {
  double longitude_deg = 0.0;             ///< geodetic, in (-180, 180]
  double latitude_deg = 0.0;              ///< geodetic
  double height_m = 0.0;                  ///< above the ellipsoid
  double incidence_deg = 0.0;             ///< between the ellipsoid's normal and the sensor
  double zero_doppler_velocity_ms = 0.0;  ///< of the point along the ground [m/s]
  double b_parameter = 0.0;               ///< [m^2/s^2]
  double fm_rate = 0.0;                   ///< of the azimuth signal [1/s^2]
};

/// The outputs of ImageToGround(). A span is either empty, and its quantity is then not computed,
/// or has one element for each position. Values without an answer are NaN.
struct GroundPoints {
  std::span<double> longitude_deg{};  ///< geodetic, in (-180, 180]
  std::span<double> latitude_deg{};   ///< geodetic
  std::span<double> height_m{};       ///< above the ellipsoid
  std::span<double> incidence_deg{};  ///< between the ellipsoid's normal and the sensor
  std::span<double> heading_deg{};    ///< of the sensor, from north towards east [0, 360)
  std::span<double> look_deg{};       ///< at the sensor, from the earth's centre
  std::span<double> x_m{};            ///< earth-fixed, towards 0 E 0 N
  std::span<double> y_m{};            ///< earth-fixed, towards 90 E 0 N
  std::span<double> z_m{};            ///< earth-fixed, towards the north pole
  std::span<double> zero_doppler_velocity_ms{};  ///< of the point along the ground [m/s]
  std::span<double> b_parameter{};               ///< [m^2/s^2]
  std::span<double> fm_rate{};                   ///< of the azimuth signal [1/s^2]
  std::span<PointStatus> status{};               ///< status of each point
};

/// The outputs of GroundToImage(), with the same rules as GroundPoints.
struct ImagePoints {
  std::span<double> sample{};  ///< from 0; may lie outside the image
  std::span<double> line{};    ///< from 0; may lie outside the image
  std::span<double>
      azimuth_time_s{};               ///< of the closest approach, after the orbit's reference time
  std::span<double> slant_range_m{};  ///< at that time
  std::span<PointStatus> status{};    ///< status of each point
};

/// Image positions on a regular grid, line by line. Position k is sample
/// first_sample + (k % samples) * sample_step and line first_line + (k / samples) * line_step.
struct ImageGrid {
  double first_sample = 0.0;  ///< from 0
  double sample_step = 1.0;   ///< may be a fraction or negative
  std::size_t samples = 0;    ///< positions per line of the grid
  double first_line = 0.0;    ///< from 0
  double line_step = 1.0;     ///< may be a fraction or negative
  std::size_t lines = 0;      ///< number of lines of the grid

  /// The number of positions.
  [[nodiscard]] constexpr std::size_t Size() const noexcept { return samples * lines; }
};

/// Receives the number of points done so far, and returns false to cancel the call. The thread that
/// made the call calls it from time to time.
using Progress = std::function<bool(std::size_t done, std::size_t total)>;

/// Options of ImageToGround(). At most one of the first three may be set. Without any of them the
/// ground lies at the scene's local height.
struct GroundOptions {
  std::optional<double> height_m{};     ///< height of all points above the ellipsoid
  std::span<const double> heights_m{};  ///< height of each point above the ellipsoid
  const Dem* dem = nullptr;             ///< the ground is this terrain
  /// If true, heights raise both axes of the ellipsoid, as in the batch step, instead of being
  /// measured along its normal. The difference on the ground is up to 2.2 cm at a height of 9 km.
  /// Not allowed with a DEM.
  bool raised_ellipsoid = false;
  int threads = 1;      ///< 0 means one for each processor; the results do not depend on it
  Progress progress{};  ///< may be empty
};

/// Options of GroundToImage().
struct ImageOptions {
  int threads = 1;      ///< 0 means one for each processor; the results do not depend on it
  Progress progress{};  ///< may be empty
};

/// A scene: the timing and size of an image and the orbit of its sensor. A scene never changes.
/// Copies share its data and are cheap, and several threads may use one scene at the same time. All
/// points are on or above the WGS84 ellipsoid (a = 6378137 m, b = 6356752.315 m).
class QM_API Scene {
 public:
  /// Reads the scene pool at `path`.
  /// @throws PoolError, OrbitError, SceneError
  [[nodiscard]] static Scene Open(const std::string& path);
  /// Makes a scene from its values.
  /// @throws SceneError for values that are not finite, frequencies that are not positive and
  ///   images without samples or lines
  Scene(const SceneParameters& parameters, Orbit orbit);

  /// The values that describe the image.
  [[nodiscard]] const SceneParameters& Parameters() const noexcept;
  /// The orbit of its sensor.
  [[nodiscard]] const Orbit& SensorOrbit() const noexcept;

  /// Returns the azimuth time of a line [s after the orbit's reference time].
  [[nodiscard]] double AzimuthTimeOf(double line) const noexcept;
  /// Returns the two-way slant range time of a sample [s].
  [[nodiscard]] double RangeTimeOf(double sample) const noexcept;
  /// Returns the slant range of a sample [m].
  [[nodiscard]] double SlantRangeOf(double sample) const noexcept;

  /// Computes the results of the batch step for this scene, in double precision, and writes no
  /// file. The step rounds some results to single precision; it rounds longitudes before it reduces
  /// them to (-180, 180]. Like the step, this function extrapolates the orbit if necessary.
  /// @throws SceneError, OrbitError
  [[nodiscard]] SceneResults Results() const;
  /// Locates one image position at the scene's local height, as the batch step does. Fractions and
  /// positions outside the image are allowed.
  /// @throws SceneError for a position without a point on the ground, OrbitError for a line whose
  ///   time the orbit does not cover
  [[nodiscard]] Location Locate(double sample, double line) const;

  /// Locates image positions on the ground; samples[i] and lines[i] are one position. Points
  /// without an answer are marked in `points.status` and cause no exception.
  /// @throws ArgumentError for spans of different lengths, heights that are set twice and a
  ///   negative number of threads
  /// @throws CancelledError if `options.progress` returned false; the remaining points have the
  ///   status kNotComputed
  /// @throws DemError if a tile of the DEM cannot be read
  PointSummary ImageToGround(std::span<const double> samples, std::span<const double> lines,
                             const GroundPoints& points, const GroundOptions& options = {}) const;
  /// As above for the positions of a grid. This is faster, because the sensor has one position per
  /// line.
  PointSummary ImageToGround(const ImageGrid& grid, const GroundPoints& points,
                             const GroundOptions& options = {}) const;

  /// Finds the image positions of places on the ground, at the time when the sensor passes them at
  /// zero Doppler. Longitudes may differ by multiples of 360 degrees. Heights are above the
  /// ellipsoid.
  /// @throws ArgumentError and CancelledError as in ImageToGround()
  PointSummary GroundToImage(std::span<const double> longitudes_deg,
                             std::span<const double> latitudes_deg,
                             std::span<const double> heights_m, const ImagePoints& points,
                             const ImageOptions& options = {}) const;

 private:
  struct Impl;
  explicit Scene(std::shared_ptr<const Impl> impl) noexcept : impl_(std::move(impl)) {}
  static const Dem::Impl* DemOf(const GroundOptions& options);

  std::shared_ptr<const Impl> impl_;
};

}  // namespace quellmark
