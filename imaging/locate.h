// Image to ground and ground to image, for many points at once.
//
// The geometry is the range-Doppler model with zero Doppler, which docs/geometry.md derives. The
// points are solved in batches with vector instructions. The bits of a result depend only on the
// geometry and on the point, not on the instruction set, the number of threads, the other points or
// their order. Single points cause no log line, exception or allocation.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

#include "imaging/image_geometry.h"
#include "imaging/point_status.h"

namespace quellmark::imaging {

class TerrainGrid;  // terrain_grid.h

/// Image positions, one for each point. Both arrays have the same length.
struct ImagePoints {
  std::span<const double> sample;
  std::span<const double> line;
};

/// Image positions (first_sample + i * sample_step, first_line + j * line_step) for i < n_samples
/// and j < n_lines. The outputs are line by line: (i, j) is point i + j * n_samples.
struct ImageGrid {
  double first_sample = 0.0;
  double sample_step = 1.0;
  std::size_t n_samples = 0;
  double first_line = 0.0;
  double line_step = 1.0;
  std::size_t n_lines = 0;

  /// Returns whole lines of the image, from `first_line` on.
  [[nodiscard]] static ImageGrid Lines(const ImageGeometry& image, std::int64_t first_line,
                                       std::int64_t n_lines) {
    return {.n_samples = static_cast<std::size_t>(image.n_samples),
            .first_line = static_cast<double>(first_line),
            .n_lines = static_cast<std::size_t>(n_lines)};
  }
};

/// The meaning of heights. At a height of 9 km the two models differ by up to 2.2 cm on the ground.
enum class HeightModel : std::uint8_t {
  kGeodetic,         ///< heights along the ellipsoid's normal
  kRaisedEllipsoid,  ///< both semi-axes are longer by the height, as in the batch step
};

/// The heights at which points are located. Terrain takes precedence over heights per point, and
/// these over the constant.
struct Heights {
  double constant_m = 0.0;
  std::span<const double> per_point_m;         ///< empty, or one for each point
  const TerrainGrid* terrain = nullptr;        ///< must outlive the call; its heights are geodetic
  HeightModel model = HeightModel::kGeodetic;  ///< for heights that are not terrain
};

/// The outputs. Each span has one element for each point, or is empty; its quantity is then not
/// computed. Angles are in degrees, vectors earth-fixed.
struct GroundOutputs {
  std::span<double> longitude_deg;  ///< (-180, 180]
  std::span<double> latitude_deg;   ///< geodetic
  std::span<double> height_m;       ///< height of the point, in the model of the input
  std::span<double> incidence_deg;  ///< between the normal of the (raised) ellipsoid and the sensor
  std::span<double> heading_deg;    ///< of the sensor's track, from north to east, [0, 360)
  std::span<double> look_deg;       ///< at the sensor, between the earth's centre and the point
  std::span<double> x_m;            ///< ground point
  std::span<double> y_m;
  std::span<double> z_m;
  /// Speed over the ground of the point with this range and height [m/s], by a step of 0.01 s.
  std::span<double> zero_doppler_velocity_ms;
  std::span<double> b_parameter;  ///< (S - G) . A + V . V [m^2/s^2]
  std::span<double> fm_rate;      ///< of the azimuth signal [1/s^2]
  std::span<PointStatus> status;
};

/// Ground points. All arrays have the same length.
struct GroundPoints {
  std::span<const double> longitude_deg;  ///< may differ by multiples of 360
  std::span<const double> latitude_deg;   ///< geodetic, -90 to 90
  std::span<const double> height_m;       ///< geodetic
};

/// The outputs. Each span has one element for each point, or is empty; its quantity is then not
/// computed.
struct ImageOutputs {
  std::span<double> sample;
  std::span<double> line;
  std::span<double> slant_range_m;
  std::span<double> azimuth_time_s;  ///< after the first line
  std::span<PointStatus> status;
};

/// The instruction sets. All lead to the same bits.
enum class InstructionSet : std::uint8_t {
  kBest,      ///< the best one of this processor
  kBaseline,  ///< the one that every processor of this architecture has
  kAvx2,
  kAvx512,
};

[[nodiscard]] bool IsAvailable(InstructionSet set);

/// How a call is executed. These settings do not change a bit of the results.
struct Execution {
  unsigned threads = 0;  ///< 0: one for each processor
  InstructionSet instruction_set = InstructionSet::kBest;
  /// Called by the calling thread only, every few thousand points, with the number of points done
  /// and the number of all. If it returns false, the call is cancelled. Its exceptions reach the
  /// caller. May be empty.
  std::function<bool(std::uint64_t done, std::uint64_t all)> progress;
};

/// The result of a call as a whole.
struct Summary {
  std::array<std::uint64_t, kPointStatusCount> count{};  ///< by PointStatus
  bool cancelled = false;  ///< the outputs of points with kNotComputed are then NaN

  [[nodiscard]] std::uint64_t Of(PointStatus status) const {
    return count[static_cast<std::size_t>(status)];
  }
};

/// Locates image positions on the ground. Throws ERROR_ARGUMENT after an ALARM line for arrays of
/// different lengths, for a geometry without states or with a frequency that is not positive and
/// finite, and for an instruction set that this processor does not have. Throws what the states
/// throw. Allocates a fixed amount of memory for each thread.
Summary LocateOnGround(const ImageGeometry& image, const ImagePoints& points,
                       const Heights& heights, const GroundOutputs& outputs,
                       const Execution& execution = {});
Summary LocateOnGround(const ImageGeometry& image, const ImageGrid& grid, const Heights& heights,
                       const GroundOutputs& outputs, const Execution& execution = {});

/// Finds the image positions of ground points by their zero-Doppler times. The search covers the
/// times of the orbit, but at most a quarter of a revolution from the middle of the image.
/// Positions may lie outside the image. Throws the same as LocateOnGround().
Summary LocateInImage(const ImageGeometry& image, const GroundPoints& points,
                      const ImageOutputs& outputs, const Execution& execution = {});

}  // namespace quellmark::imaging
