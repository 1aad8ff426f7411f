// The whole-image calls of a Scene.
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "api/call.h"
#include "api/dem_impl.h"
#include "api/longitude.h"
#include "api/orbit_impl.h"
#include "api/scene_impl.h"
#include "basic/constants.h"
#include "imaging/locate.h"
#include "imaging/terrain_grid.h"
#include <quellmark/scene.h>

namespace quellmark {
namespace {

using api::Call;
using api::Concern;

static_assert(kPointStatusCount == imaging::kPointStatusCount &&
              static_cast<int>(PointStatus::kNotComputed) ==
                  static_cast<int>(imaging::PointStatus::kNotComputed) &&
              static_cast<int>(PointStatus::kBeyondOrbit) ==
                  static_cast<int>(imaging::PointStatus::kBeyondOrbit));

// Both enumerations are one byte with the same values, and no code reads a byte as both types.
std::span<imaging::PointStatus> CoreStatus(std::span<PointStatus> status) {
  return {reinterpret_cast<imaging::PointStatus*>(status.data()), status.size()};
}

// The azimuth times of the core's routines count from the first line.
imaging::ImageGeometry GeometryOf(const SceneParameters& p, const imaging::StateSource& states) {
  imaging::ImageGeometry image;
  image.first_range_time_s = p.first_range_time_s;
  image.range_sampling_frequency_hz = p.range_sampling_frequency_hz;
  image.prf_hz = p.prf_hz;
  image.n_samples = p.samples;
  image.n_lines = p.lines;
  image.look_side =
      p.look_side == LookSide::kLeft ? imaging::LookSide::kLeft : imaging::LookSide::kRight;
  image.radar_frequency_hz = p.radar_frequency_hz;
  image.local_height_m = p.local_height_m;
  image.states = &states;
  return image;
}

imaging::Execution ExecutionOf(int threads, const Progress& progress) {
  if (threads < 0) api::FailArgument("a number of threads can not be negative");
  return {.threads = static_cast<unsigned>(threads),
          .instruction_set = imaging::InstructionSet::kBest,
          .progress = progress};
}

PointSummary SummaryOf(const imaging::Summary& summary) {
  if (summary.cancelled) {
    throw CancelledError(
        "cancelled",
        {.error_class = ErrorClass::kCancelled, .file = {}, .key = {}, .line = 0, .log_lines = {}});
  }
  return {summary.count};
}

// Returns the box around all ground points of the positions, for any terrain height from -500 m to
// 9000 m. It is computed from a net of positions over their extent.
imaging::GeoBox BoxAround(const imaging::ImageGeometry& image, const imaging::ImageGrid& extent) {
  constexpr std::size_t kNet = 33;
  constexpr double kMargin_deg = 0.02;
  imaging::ImageGrid net = extent;
  net.n_samples = net.n_lines = kNet;
  const auto step = [](double all_steps, std::size_t count) {
    return count > 1 ? all_steps * static_cast<double>(count - 1) / (kNet - 1) : 0.0;
  };
  net.sample_step = step(extent.sample_step, extent.n_samples);
  net.line_step = step(extent.line_step, extent.n_lines);
  std::vector<double> longitudes(kNet * kNet);
  std::vector<double> latitudes(kNet * kNet);
  double south = 90.0;
  double north = -90.0;
  double west = 0.0;  // relative to the first point found
  double east = 0.0;
  double first = std::numeric_limits<double>::quiet_NaN();
  for (const double height_m : {-500.0, 9000.0}) {
    imaging::Heights heights;
    heights.constant_m = height_m;
    imaging::GroundOutputs outputs;
    outputs.longitude_deg = longitudes;
    outputs.latitude_deg = latitudes;
    imaging::Execution execution;
    execution.threads = 1;
    imaging::LocateOnGround(image, net, heights, outputs, execution);
    for (std::size_t i = 0; i < longitudes.size(); ++i) {
      if (std::isnan(longitudes[i])) continue;
      if (std::isnan(first)) first = longitudes[i];
      const double from_first = api::NormalLongitude(longitudes[i] - first);
      west = std::min(west, from_first);
      east = std::max(east, from_first);
      south = std::min(south, latitudes[i]);
      north = std::max(north, latitudes[i]);
    }
  }
  if (std::isnan(first)) return {};
  // Between the points of the net, the ground may reach beyond the box, so the box is enlarged.
  // Near a pole, a short distance on the ground is a large difference of longitudes.
  const double bulge = kMargin_deg + 0.03 * (north - south);
  const double highest = std::min(90.0, std::max(std::fabs(south), std::fabs(north)) + bulge);
  const double widening = 1.0 / std::max(1e-6, std::cos(highest / basic::kDegreesPerRadian));
  const double side = kMargin_deg * widening + 0.03 * (east - west);
  south = std::max(-90.0, south - bulge);
  north = std::min(90.0, north + bulge);
  constexpr double kNearlyAround_deg = 180.0;
  if (east - west + 2.0 * side > kNearlyAround_deg) return {-180.0, 179.999999, south, north};
  return {api::NormalLongitude(first + west - side), api::NormalLongitude(first + east + side),
          south, north};
}

const imaging::ImageGrid& ExtentOf(const imaging::ImageGrid& grid) { return grid; }

imaging::ImageGrid ExtentOf(const imaging::ImagePoints& points) {
  const auto range = [](std::span<const double> values, double& first, double& step) {
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (const double value : values) {
      if (!std::isfinite(value)) continue;
      low = std::min(low, value);
      high = std::max(high, value);
    }
    if (low > high) low = high = 0.0;
    first = low;
    step = high - low;
  };
  imaging::ImageGrid extent;
  extent.n_samples = extent.n_lines = 2;
  range(points.sample, extent.first_sample, extent.sample_step);
  range(points.line, extent.first_line, extent.line_step);
  return extent;
}

imaging::Heights HeightsOf(const GroundOptions& options, double local_height_m) {
  const int given = (options.height_m ? 1 : 0) + (options.heights_m.data() != nullptr ? 1 : 0) +
                    (options.dem != nullptr ? 1 : 0);
  if (given > 1) api::FailArgument("more than one of height_m, heights_m and dem are given");
  return {.constant_m = options.height_m.value_or(local_height_m),
          .per_point_m = options.heights_m,
          .terrain = nullptr,
          .model = options.raised_ellipsoid ? imaging::HeightModel::kRaisedEllipsoid
                                            : imaging::HeightModel::kGeodetic};
}

imaging::GroundOutputs OutputsOf(const GroundPoints& points) {
  return {.longitude_deg = points.longitude_deg,
          .latitude_deg = points.latitude_deg,
          .height_m = points.height_m,
          .incidence_deg = points.incidence_deg,
          .heading_deg = points.heading_deg,
          .look_deg = points.look_deg,
          .x_m = points.x_m,
          .y_m = points.y_m,
          .z_m = points.z_m,
          .zero_doppler_velocity_ms = points.zero_doppler_velocity_ms,
          .b_parameter = points.b_parameter,
          .fm_rate = points.fm_rate,
          .status = CoreStatus(points.status)};
}

// The core would refuse these too, but not with the names of this library.
void CheckOutputs(std::size_t count, const GroundPoints& p) {
  for (const std::span<double> span :
       {p.longitude_deg, p.latitude_deg, p.height_m, p.incidence_deg, p.heading_deg, p.look_deg,
        p.x_m, p.y_m, p.z_m, p.zero_doppler_velocity_ms, p.b_parameter, p.fm_rate}) {
    if (!span.empty()) api::CheckSizes(count, span.size(), "positions and points");
  }
  if (!p.status.empty()) api::CheckSizes(count, p.status.size(), "positions and status");
}

template <class Positions, class DemImpl>
imaging::Summary LocateOnGround(const imaging::ImageGeometry& image, const Positions& positions,
                                std::size_t count, const GroundPoints& points,
                                const GroundOptions& options, const DemImpl* dem_of_call) {
  CheckOutputs(count, points);
  if (!options.heights_m.empty()) {
    api::CheckSizes(count, options.heights_m.size(), "positions and heights");
  }
  imaging::Heights heights = HeightsOf(options, image.local_height_m);
  std::shared_ptr<const imaging::TerrainGrid> terrain;
  if (dem_of_call != nullptr && count != 0) {
    terrain = dem_of_call->TerrainIn(BoxAround(image, ExtentOf(positions)));
    heights.terrain = terrain.get();
  }
  return imaging::LocateOnGround(image, positions, heights, OutputsOf(points),
                                 ExecutionOf(options.threads, options.progress));
}

}  // namespace

const Dem::Impl* Scene::DemOf(const GroundOptions& options) {
  return options.dem != nullptr ? options.dem->impl_.get() : nullptr;
}

PointSummary Scene::Impl::WithImage(const LocateMany& locate) const {
  return Call({.concern = Concern::kScene}, [&] {
    const imaging::OrbitStates states(orbit.impl_->orbit, scene.OrbitTimeOrigin(),
                                      parameters.first_azimuth_time_s);
    return SummaryOf(locate(GeometryOf(parameters, states)));
  });
}

PointSummary Scene::ImageToGround(std::span<const double> samples, std::span<const double> lines,
                                  const GroundPoints& points, const GroundOptions& options) const {
  api::CheckSizes(samples.size(), lines.size(), "samples and lines");
  return impl_->WithImage([&](const imaging::ImageGeometry& image) {
    return LocateOnGround(image, imaging::ImagePoints{samples, lines}, samples.size(), points,
                          options, DemOf(options));
  });
}

PointSummary Scene::ImageToGround(const ImageGrid& grid, const GroundPoints& points,
                                  const GroundOptions& options) const {
  const imaging::ImageGrid positions{.first_sample = grid.first_sample,
                                     .sample_step = grid.sample_step,
                                     .n_samples = grid.samples,
                                     .first_line = grid.first_line,
                                     .line_step = grid.line_step,
                                     .n_lines = grid.lines};
  return impl_->WithImage([&](const imaging::ImageGeometry& image) {
    return LocateOnGround(image, positions, grid.Size(), points, options, DemOf(options));
  });
}

PointSummary Scene::GroundToImage(std::span<const double> longitudes_deg,
                                  std::span<const double> latitudes_deg,
                                  std::span<const double> heights_m, const ImagePoints& points,
                                  const ImageOptions& options) const {
  const std::size_t count = longitudes_deg.size();
  return impl_->WithImage([&](const imaging::ImageGeometry& image) {
    for (const std::size_t size : {latitudes_deg.size(), heights_m.size()}) {
      api::CheckSizes(count, size, "longitudes, latitudes and heights");
    }
    for (const std::span<double> span :
         {points.sample, points.line, points.azimuth_time_s, points.slant_range_m}) {
      if (!span.empty()) api::CheckSizes(count, span.size(), "places and points");
    }
    if (!points.status.empty()) api::CheckSizes(count, points.status.size(), "places and status");
    const imaging::Summary summary =
        imaging::LocateInImage(image, {longitudes_deg, latitudes_deg, heights_m},
                               {.sample = points.sample,
                                .line = points.line,
                                .slant_range_m = points.slant_range_m,
                                .azimuth_time_s = points.azimuth_time_s,
                                .status = CoreStatus(points.status)},
                               ExecutionOf(options.threads, options.progress));
    for (double& time_s : points.azimuth_time_s) time_s += impl_->parameters.first_azimuth_time_s;
    return summary;
  });
}

std::string_view TextOf(PointStatus status) noexcept {
  const auto i = static_cast<std::size_t>(status);
  return i < kPointStatusCount ? imaging::kPointStatusTexts[i] : std::string_view();
}

}  // namespace quellmark
