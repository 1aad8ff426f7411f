// Calls the library from C++, for tests that make the same calls from Python. Each answer is a line
// with its name and its numbers in hexadecimal, bit for bit.
// usage: cpp_calls SCENE_POOL DEM_DESCRIPTOR
#include <cstdio>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include <quellmark/scene.h>

namespace {

using namespace quellmark;

template <class Values>
void Print(const std::string& name, const Values& values) {
  std::printf("%s", name.c_str());
  for (const auto value : values) std::printf(" %a", static_cast<double>(value));
  std::printf("\n");
}

// Prints all outputs of one call, field by field; `call` fills the points.
template <class Call>
void PrintGround(const std::string& name, std::size_t count, const Call& call) {
  constexpr std::pair<const char*, std::span<double> GroundPoints::*> kFields[] = {
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
      {"fm_rate", &GroundPoints::fm_rate}};
  std::vector<std::vector<double>> values;
  std::vector<PointStatus> status(count);
  GroundPoints points{.status = status};
  for (const auto& field : kFields) points.*field.second = values.emplace_back(count);
  call(points);
  for (std::size_t i = 0; i < values.size(); ++i) Print(name + '.' + kFields[i].first, values[i]);
  Print(name + ".status", status);
}

void PrintAll(const Scene& scene, const Dem& dem) {
  const SceneResults results = scene.Results();
  for (const ResultField& field : kResultFields) {
    Print("results." + std::string(field.key), std::vector{results.*field.value});
  }
  const Location at = scene.Locate(100.5, 200.25);
  Print("locate", std::vector{at.longitude_deg, at.latitude_deg, at.incidence_deg});

  const ImageGrid grid{.first_sample = -500.0,
                       .sample_step = 1000.0,
                       .samples = 30,
                       .first_line = 100.0,
                       .line_step = 750.0,
                       .lines = 20};
  PrintGround("grid", grid.Size(),
              [&](const GroundPoints& points) { scene.ImageToGround(grid, points); });
  PrintGround("terrain", grid.Size(), [&](const GroundPoints& points) {
    scene.ImageToGround(grid, points, {.dem = &dem});
  });
  std::vector<double> samples;
  std::vector<double> lines;
  std::vector<double> heights;
  for (int i = 0; i < 500; ++i) {
    samples.push_back(37.5 * i);
    lines.push_back(static_cast<double>(i * i % 9973) - 20000.0 * (i % 7 == 0 ? 1 : 0));
    heights.push_back(10.0 * i - 400.0);
  }
  PrintGround("points", samples.size(), [&](const GroundPoints& points) {
    scene.ImageToGround(samples, lines, points, {.heights_m = heights, .raised_ellipsoid = true});
  });

  std::vector<double> longitudes;
  std::vector<double> latitudes;
  for (int i = 0; i < 500; ++i) {
    longitudes.push_back(-61.5 + i / 256.0);
    latitudes.push_back(49.75 + i / 512.0);
  }
  std::vector<double> sample(500), line(500), time(500), range(500);
  std::vector<PointStatus> status(500);
  scene.GroundToImage(longitudes, latitudes, heights,
                      {.sample = sample,
                       .line = line,
                       .azimuth_time_s = time,
                       .slant_range_m = range,
                       .status = status});
  Print("image.sample", sample);
  Print("image.line", line);
  Print("image.azimuth_time", time);
  Print("image.slant_range", range);
  Print("image.status", status);

  std::vector<HeightStatus> what(500);
  dem.HeightsAt(longitudes, latitudes, sample, what);
  Print("dem.height", sample);
  Print("dem.status", what);
  std::vector<double> states;
  for (int i = 0; i < 100; ++i) {
    const OrbitState state = scene.SensorOrbit().StateAt(60.0 + i / 8.0);
    for (const Vector3& v : {state.position_m, state.velocity_ms, state.acceleration_ms2}) {
      states.insert(states.end(), v.begin(), v.end());
    }
  }
  Print("orbit", states);
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 3) return 2;
  PrintAll(Scene::Open(argv[1]), Dem::Open(argv[2]));
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
