// Binds scenes and whole images.
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "python/bind.h"
#include <quellmark/dem.h>
#include <quellmark/scene.h>

namespace quellmark::python {
namespace {

template <class Points>
struct Field {
  std::string_view name;
  std::span<double> Points::*span;
};

constexpr std::array<Field<GroundPoints>, 12> kGroundFields = {{
    {"longitude", &GroundPoints::longitude_deg},
    {"latitude", &GroundPoints::latitude_deg},
    {"height", &GroundPoints::height_m},
    {"incidence", &GroundPoints::incidence_deg},
    {"heading", &GroundPoints::heading_deg},
    {"look", &GroundPoints::look_deg},
    {"x", &GroundPoints::x_m},
    {"y", &GroundPoints::y_m},
    {"z", &GroundPoints::z_m},
    {"zero_doppler_velocity", &GroundPoints::zero_doppler_velocity_ms},
    {"b_parameter", &GroundPoints::b_parameter},
    {"fm_rate", &GroundPoints::fm_rate},
}};

constexpr std::array<Field<ImagePoints>, 4> kImageFields = {{
    {"sample", &ImagePoints::sample},
    {"line", &ImagePoints::line},
    {"azimuth_time", &ImagePoints::azimuth_time_s},
    {"slant_range", &ImagePoints::slant_range_m},
}};

// Makes the arrays of the fields named in `names` and lets `points` write into them.
template <class Points, std::size_t n>
py::dict Attach(const std::array<Field<Points>, n>& fields, const py::tuple& names,
                std::size_t count, Points& points) {
  py::dict arrays;
  for (const Field<Points>& field : fields) {
    const py::str name = TextOf(field.name);
    if (!names.contains(name)) continue;
    py::array_t<double> array(static_cast<py::ssize_t>(count));
    points.*field.span = {array.mutable_data(), count};
    arrays[name] = array;
  }
  py::array_t<std::uint8_t> status(static_cast<py::ssize_t>(count));
  // An enumeration of one byte may be stored in an array of bytes.
  points.status = {reinterpret_cast<PointStatus*>(status.mutable_data()), count};
  arrays["status"] = status;
  return arrays;
}

struct Ground {
  std::optional<double> height_m;
  std::optional<Flat<double>> heights_m;
  const Dem* dem;
  bool raised_ellipsoid;
  int threads;

  [[nodiscard]] GroundOptions Options() const {
    GroundOptions options;
    options.height_m = height_m;
    if (heights_m) options.heights_m = SpanOf(*heights_m);
    options.dem = dem;
    options.raised_ellipsoid = raised_ellipsoid;
    options.threads = threads;
    return options;
  }
};

// `height` is None, one number for all points, or an array with one number for each point.
Ground GroundOf(const py::object& height, const Dem* dem, bool raised_ellipsoid, int threads) {
  Ground ground{{}, {}, dem, raised_ellipsoid, threads};
  if (py::isinstance<py::float_>(height)) {
    ground.height_m = height.cast<double>();
  } else if (!height.is_none()) {
    ground.heights_m = height.cast<Flat<double>>();
  }
  return ground;
}

py::dict PointsToGround(const Scene& scene, const Flat<double>& samples, const Flat<double>& lines,
                        const py::tuple& names, const Ground& ground, const py::object& progress) {
  GroundPoints points;
  py::dict arrays = Attach(kGroundFields, names, SpanOf(samples).size(), points);
  GroundOptions options = ground.Options();
  Interruptible(progress, [&](Progress check) {
    options.progress = std::move(check);
    return scene.ImageToGround(SpanOf(samples), SpanOf(lines), points, options);
  });
  return arrays;
}

py::dict GridToGround(const Scene& scene, const ImageGrid& grid, const py::tuple& names,
                      const Ground& ground, const py::object& progress) {
  GroundPoints points;
  py::dict arrays = Attach(kGroundFields, names, grid.Size(), points);
  GroundOptions options = ground.Options();
  Interruptible(progress, [&](Progress check) {
    options.progress = std::move(check);
    return scene.ImageToGround(grid, points, options);
  });
  return arrays;
}

py::dict GroundToImage(const Scene& scene, const Flat<double>& longitudes,
                       const Flat<double>& latitudes, const Flat<double>& heights,
                       const py::tuple& names, int threads, const py::object& progress) {
  ImagePoints points;
  py::dict arrays = Attach(kImageFields, names, SpanOf(longitudes).size(), points);
  ImageOptions options;
  options.threads = threads;
  Interruptible(progress, [&](Progress check) {
    options.progress = std::move(check);
    return scene.GroundToImage(SpanOf(longitudes), SpanOf(latitudes), SpanOf(heights), points,
                               options);
  });
  return arrays;
}

py::dict ResultsOf(const Scene& scene) {
  const SceneResults results = [&] {
    const py::gil_scoped_release without_lock;
    return scene.Results();
  }();
  py::dict values;
  for (const ResultField& field : kResultFields) {
    values[TextOf(field.key)] = results.*field.value;
  }
  return values;
}

py::dict LocationOf(const Scene& scene, double sample, double line) {
  const Location at = scene.Locate(sample, line);
  using py::literals::operator""_a;
  return py::dict("longitude"_a = at.longitude_deg, "latitude"_a = at.latitude_deg,
                  "height"_a = at.height_m, "incidence"_a = at.incidence_deg,
                  "zero_doppler_velocity"_a = at.zero_doppler_velocity_ms,
                  "b_parameter"_a = at.b_parameter, "fm_rate"_a = at.fm_rate);
}

Scene MakeScene(const Orbit& orbit, double first_azimuth_time_s, double first_range_time_s,
                double prf_hz, double range_sampling_frequency_hz, std::int32_t samples,
                std::int32_t lines, bool looks_right, double radar_frequency_hz,
                double local_height_m) {
  return {{.first_azimuth_time_s = first_azimuth_time_s,
           .first_range_time_s = first_range_time_s,
           .prf_hz = prf_hz,
           .range_sampling_frequency_hz = range_sampling_frequency_hz,
           .samples = samples,
           .lines = lines,
           .look_side = looks_right ? LookSide::kRight : LookSide::kLeft,
           .radar_frequency_hz = radar_frequency_hz,
           .local_height_m = local_height_m},
          orbit};
}

template <class T>
auto Parameter(T SceneParameters::*value) {
  return [value](const Scene& scene) { return scene.Parameters().*value; };
}

}  // namespace

void BindScene(py::module_& module) {
  py::class_<Scene>(module, "Scene")
      .def(py::init(&MakeScene))
      .def_static("open", &Scene::Open, py::call_guard<py::gil_scoped_release>())
      .def("orbit", &Scene::SensorOrbit, py::return_value_policy::copy)
      .def("first_azimuth_time_s", Parameter(&SceneParameters::first_azimuth_time_s))
      .def("first_range_time_s", Parameter(&SceneParameters::first_range_time_s))
      .def("prf_hz", Parameter(&SceneParameters::prf_hz))
      .def("range_sampling_frequency_hz", Parameter(&SceneParameters::range_sampling_frequency_hz))
      .def("samples", Parameter(&SceneParameters::samples))
      .def("lines", Parameter(&SceneParameters::lines))
      .def("looks_right",
           [](const Scene& scene) { return scene.Parameters().look_side == LookSide::kRight; })
      .def("radar_frequency_hz", Parameter(&SceneParameters::radar_frequency_hz))
      .def("local_height_m", Parameter(&SceneParameters::local_height_m))
      .def("results", &ResultsOf)
      .def("locate", &LocationOf)
      .def("points_to_ground",
           [](const Scene& scene, const Flat<double>& samples, const Flat<double>& lines,
              const py::tuple& names, const py::object& height, const Dem* dem, bool raised,
              int threads, const py::object& progress) {
             return PointsToGround(scene, samples, lines, names,
                                   GroundOf(height, dem, raised, threads), progress);
           })
      .def("grid_to_ground",
           [](const Scene& scene, double first_sample, double sample_step, std::size_t samples,
              double first_line, double line_step, std::size_t lines, const py::tuple& names,
              const py::object& height, const Dem* dem, bool raised, int threads,
              const py::object& progress) {
             return GridToGround(scene,
                                 {first_sample, sample_step, samples, first_line, line_step, lines},
                                 names, GroundOf(height, dem, raised, threads), progress);
           })
      .def("ground_to_image", &GroundToImage);
}

}  // namespace quellmark::python
