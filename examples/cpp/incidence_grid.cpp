// Computes the position of every hundredth pixel of an image and the angle at which the sensor sees
// it, then the pixel of the place in the middle.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <vector>

#include <quellmark/scene.h>

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::fprintf(stderr, "usage: incidence_grid SCENE_POOL\n");
    return 2;
  }
  const quellmark::Scene scene = quellmark::Scene::Open(argv[1]);
  const double step = 100.0;
  const quellmark::ImageGrid grid{
      .sample_step = step,
      .samples = static_cast<std::size_t>(scene.Parameters().samples / step),
      .line_step = step,
      .lines = static_cast<std::size_t>(scene.Parameters().lines / step)};
  std::vector<double> longitude(grid.Size());
  std::vector<double> latitude(grid.Size());
  std::vector<double> incidence(grid.Size());
  const quellmark::PointSummary summary = scene.ImageToGround(
      grid, {.longitude_deg = longitude, .latitude_deg = latitude, .incidence_deg = incidence},
      {.threads = 0});
  std::printf("%zu positions, %llu found\n", grid.Size(),
              static_cast<unsigned long long>(summary.Of(quellmark::PointStatus::kFound)));
  const auto [near, far] = std::minmax_element(incidence.begin(), incidence.end());
  std::printf("incidence angles from %.4f to %.4f degrees\n", *near, *far);

  const std::size_t middle = (grid.lines / 2) * grid.samples + grid.samples / 2;
  const double height_m = scene.Parameters().local_height_m;
  double sample = 0.0;
  double line = 0.0;
  scene.GroundToImage({&longitude[middle], 1}, {&latitude[middle], 1}, {&height_m, 1},
                      {.sample = {&sample, 1}, .line = {&line, 1}});
  std::printf("%.6f E %.6f N lies at sample %.2f, line %.2f\n", longitude[middle], latitude[middle],
              sample, line);
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
