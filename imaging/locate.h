// Image to ground and ground to image, for many points at once.
//
// The geometry is the range-Doppler model with zero Doppler, as docs/geometry.md derives it; the
// points are solved in batches with vector instructions. The bits of a point's numbers depend on
// the geometry and the point alone: not on the instruction set, the number of threads, the other
// points of the call or their order. Nothing is logged, thrown or allocated for a point.
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

/// Image positions, one for each point; both arrays have the same length.
struct ImagePoints {
  std::span<const double> sample;
  std::span<const double> line;
};

/// Image positions (first_sample + i * sample_step, first_line + j * line_step) for i < n_samples
/// and j < n_lines. Point i + j * n_samples of the outputs belongs to (i, j): line by line.
struct ImageGrid {
  double first_sample = 0.0;
  double sample_step = 1.0;
  std::size_t n_samples = 0;
  double first_line = 0.0;
  double line_step = 1.0;
  std::size_t n_lines = 0;

  /// Whole lines of the image, from `first_line` on.
  [[nodiscard]] static ImageGrid Lines(const ImageGeometry& image, std::int64_t first_line,
                                       std::int64_t n_lines) {
    return {.n_samples = static_cast<std::size_t>(image.n_samples),
            .first_line = static_cast<double>(first_line),
            .n_lines = static_cast<std::size_t>(n_lines)};
  }
};

/// What a height means. At 9 km both surfaces are up to 2.2 cm apart on the ground.
enum class HeightModel : std::uint8_t {
  kGeodetic,         ///< the height along the ellipsoid's normal
  kRaisedEllipsoid,  ///< both semi-axes longer by the height, as the batch step takes it
};

/// The heights at which points are located. Terrain goes before heights per point, and these before
/// the constant.
struct Heights {
  double constant_m = 0.0;
  std::span<const double> per_point_m;         ///< empty, or one for each point
  const TerrainGrid* terrain = nullptr;        ///< must outlive the call; its heights are geodetic
  HeightModel model = HeightModel::kGeodetic;  ///< of the heights that are not terrain
};

/// Where to write; each span is empty (not wanted) or has one element for each point. Angles are
/// in degrees, vectors earth-fixed. What is not wanted is not computed.
struct GroundOutputs {
  std::span<double> longitude_deg;  ///< (-180, 180]
  std::span<double> latitude_deg;   ///< geodetic
  std::span<double> height_m;       ///< at which the point was located, in the height's own model
  std::span<double> incidence_deg;  ///< between the normal of the (raised) ellipsoid and the sensor
  std::span<double> heading_deg;    ///< of the sensor's track, from north to east, [0, 360)
  std::span<double> look_deg;       ///< at the sensor, between the earth's centre and the point
  std::span<double> x_m;            ///< ground point
  std::span<double> y_m;
  std::span<double> z_m;
  /// Speed of the point of the same range and height over the ground, by a step of 0.01 s [m/s].
  std::span<double> zero_doppler_velocity_ms;
  std::span<double> b_parameter;  ///< (S - G) . A + V . V [m^2/s^2]
  std::span<double> fm_rate;      ///< of azimuth [1/s^2]
  std::span<PointStatus> status;
};

/// Ground points; all arrays have the same length.
struct GroundPoints {
  std::span<const double> longitude_deg;  ///< any; taken modulo 360
  std::span<const double> latitude_deg;   ///< geodetic, -90 to 90
  std::span<const double> height_m;       ///< geodetic
};

/// Where to write; each span is empty (not wanted) or has one element for each point.
struct ImageOutputs {
  std::span<double> sample;
  std::span<double> line;
  std::span<double> slant_range_m;
  std::span<double> azimuth_time_s;  ///< after the first line
  std::span<PointStatus> status;
};

/// Instruction sets to choose from. All give the same bits.
enum class InstructionSet : std::uint8_t {
  kBest,      ///< of those that this processor has
  kBaseline,  ///< what every processor of this architecture has
  kAvx2,
  kAvx512,
};

[[nodiscard]] bool IsAvailable(InstructionSet set);

/// How a call is carried out. None of it changes a bit of the results.
struct Execution {
  unsigned threads = 0;  ///< 0: one for each processor
  InstructionSet instruction_set = InstructionSet::kBest;
  /// Called by the calling thread alone, every few thousand points, with the number of points done
  /// and the number of all. False cancels the call; what it throws passes through. May be empty.
  std::function<bool(std::uint64_t done, std::uint64_t all)> progress;
};

/// What became of a call's points.
struct Summary {
  std::array<std::uint64_t, kPointStatusCount> count{};  ///< by PointStatus
  bool cancelled = false;  ///< points with kNotComputed have no numbers (outputs hold NaN)

  [[nodiscard]] std::uint64_t Of(PointStatus status) const {
    return count[static_cast<std::size_t>(status)];
  }
};

/// Locates image positions on the ground. Throws ERROR_ARGUMENT after an ALARM line for arrays
/// whose lengths differ, a geometry that is none (no states, a frequency that is not above 0 and
/// finite) and an instruction set that this processor has not; what the states throw passes
/// through. Uses a fixed amount of memory for each thread besides what is handed in.
Summary LocateOnGround(const ImageGeometry& image, const ImagePoints& points,
                       const Heights& heights, const GroundOutputs& outputs,
                       const Execution& execution = {});
Summary LocateOnGround(const ImageGeometry& image, const ImageGrid& grid, const Heights& heights,
                       const GroundOutputs& outputs, const Execution& execution = {});

/// Finds the image positions of ground points by their zero-Doppler times. A point's time is looked
/// for where the orbit covers it, at most a quarter of a revolution from the middle of the image.
/// Positions may lie outside the image. Throws as LocateOnGround().
Summary LocateInImage(const ImageGeometry& image, const GroundPoints& points,
                      const ImageOutputs& outputs, const Execution& execution = {});

}  // namespace quellmark::imaging
