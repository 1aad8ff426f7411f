// The map page in a browser: a headless Chromium paints it, and the pixels are compared with places
// that are computed here. Skipped where there is no Chromium.
#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <numbers>

#include "tests/support/child.h"
#include "tests/support/files.h"
#include "toolbox/report/map_page.h"
#include "toolbox/report/map_projection.h"
#include <quellmark/pool.h>
#include <quellmark/scene.h>

namespace quellmark::report {
namespace {

using Vector3 = std::array<double, 3>;
using Matrix3 = std::array<Vector3, 3>;

constexpr double kRadiansPerDegree = std::numbers::pi / 180.0;

double Dot(const Vector3& a, const Vector3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Vector3 DirectionOf(const LonLat& place) {
  const double lon = place.longitude_deg * kRadiansPerDegree;
  const double lat = place.latitude_deg * kRadiansPerDegree;
  return {std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat)};
}

// Returns where a place must be painted, in kilometres from the centre: as far away as the chord
// from the centre to the place is long, in the direction of the azimuth from the centre to the
// place.
std::array<double, 2> OnMap(const LonLat& place, const LonLat& centre) {
  const Vector3 up = DirectionOf(centre);
  const Vector3 north = DirectionOf({centre.longitude_deg, centre.latitude_deg + 90.0});
  const Vector3 east = DirectionOf({centre.longitude_deg + 90.0, 0.0});
  const Vector3 to = DirectionOf(place);
  const double chord = 6371.0 * std::sqrt(std::pow(to[0] - up[0], 2) + std::pow(to[1] - up[1], 2) +
                                          std::pow(to[2] - up[2], 2));
  const double azimuth = std::atan2(Dot(to, east), Dot(to, north));
  return {chord * std::sin(azimuth), -chord * std::cos(azimuth)};
}

// A scene of the examples, carried to another place of the earth and cut to a size.
struct Carried {
  const char* pool;
  LonLat to;
  int samples = 0;  // 0: all
  int lines = 0;
};

Matrix3 AboutAxis(std::size_t axis, double degrees) {
  const double c = std::cos(degrees * kRadiansPerDegree);
  const double s = std::sin(degrees * kRadiansPerDegree);
  const std::size_t i = (axis + 1) % 3;
  const std::size_t k = (axis + 2) % 3;
  Matrix3 turn{};
  turn[axis][axis] = 1.0;
  turn[i][i] = turn[k][k] = c;
  turn[i][k] = -s;
  turn[k][i] = s;
  return turn;
}

Scene SceneOf(const Carried& carried, const std::string& path) {
  const std::string text = test::ReadFile(std::string(QM_EXAMPLES "/") + carried.pool);
  test::WriteFile(path, text);
  const Scene scene = Scene::Open(path);
  const Location centre =
      scene.Locate(scene.Parameters().samples / 2.0, scene.Parameters().lines / 2.0);
  const Matrix3 turns[] = {AboutAxis(2, -centre.longitude_deg),
                           AboutAxis(1, centre.latitude_deg - carried.to.latitude_deg),
                           AboutAxis(2, carried.to.longitude_deg)};
  const Pool pool = Pool::Open(path);
  PoolEditor editor;
  for (const char* what : {"orbit_pos_", "orbit_vel_"}) {
    std::array<Vector<double>, 3> axes;
    for (std::size_t i = 0; i < 3; ++i) {
      axes[i] = pool.Get<Vector<double>>(what + std::string(1, "xyz"[i]));
    }
    for (std::size_t n = 0; n < axes[0].values.size(); ++n) {
      Vector3 at = {axes[0].values[n], axes[1].values[n], axes[2].values[n]};
      for (const Matrix3& turn : turns) at = {Dot(turn[0], at), Dot(turn[1], at), Dot(turn[2], at)};
      for (std::size_t i = 0; i < 3; ++i) axes[i].values[n] = at[i];
    }
    for (std::size_t i = 0; i < 3; ++i) editor.Set(what + std::string(1, "xyz"[i]), axes[i]);
  }
  if (carried.samples != 0) editor.Set("n_samples", std::int32_t{carried.samples});
  if (carried.lines != 0) editor.Set("n_lines", std::int32_t{carried.lines});
  editor.Update(path);
  return Scene::Open(path);
}

std::string FindBrowser() {
  for (const char* name : {"chromium", "chromium-browser", "google-chrome"}) {
    for (const char* folder : {"/usr/bin/", "/usr/local/bin/", "/snap/bin/"}) {
      if (std::filesystem::exists(folder + std::string(name))) return folder + std::string(name);
    }
  }
  return "";
}

struct Colour {
  int red = 0;
  int green = 0;
  int blue = 0;
};

bool IsNear(const Colour& a, const Colour& b) {
  constexpr int kMost = 7;
  return std::max({std::abs(a.red - b.red), std::abs(a.green - b.green),
                   std::abs(a.blue - b.blue)}) <= kMost;
}

// Whether a pixel has the colour of land or sea, tinted by one of the strips of a scene.
bool IsTinted(const Colour& pixel, const Colour& scene) {
  for (const Colour& ground : {Colour{0xE6, 0xF0, 0xF7}, Colour{0xF3, 0xEF, 0xE4}}) {
    for (double part = 0.18; part <= 0.5; part += 0.01) {
      const auto mixed = [part](int a, int b) {
        return static_cast<int>(std::lround(a + part * (b - a)));
      };
      if (IsNear(pixel, {mixed(ground.red, scene.red), mixed(ground.green, scene.green),
                         mixed(ground.blue, scene.blue)})) {
        return true;
      }
    }
  }
  return false;
}

// A page as the browser has painted it.
class PaintedPage {
 public:
  // `log` is what the page's script has logged: the map's rectangle on the screen and its view box.
  PaintedPage(const std::string& picture, const std::string& log)
      : picture_(GDALDataset::Open(picture.c_str())) {
    EXPECT_EQ(std::sscanf(log.c_str(), "%lf %lf %lf %lf %lf %lf %lf %lf", &left_, &top_, &width_,
                          &height_, &box_[0], &box_[1], &box_[2], &box_[3]),
              8)
        << log;
  }
  PaintedPage(const PaintedPage&) = delete;
  PaintedPage& operator=(const PaintedPage&) = delete;
  ~PaintedPage() { GDALClose(picture_); }

  [[nodiscard]] Colour At(const std::array<double, 2>& place_km) const {
    const double scale = std::min(width_ / box_[2], height_ / box_[3]);
    const double x = left_ + width_ / 2 + (place_km[0] - box_[0] - box_[2] / 2) * scale;
    const double y = top_ + height_ / 2 + (place_km[1] - box_[1] - box_[3] / 2) * scale;
    std::array<int, 3> colour{};
    for (int band = 0; band < 3; ++band) {
      EXPECT_EQ(picture_->GetRasterBand(band + 1)->RasterIO(
                    GF_Read, static_cast<int>(x), static_cast<int>(y), 1, 1,
                    &colour.at(static_cast<std::size_t>(band)), 1, 1, GDT_Int32, 0, 0, nullptr),
                CE_None);
    }
    return {colour[0], colour[1], colour[2]};
  }

 private:
  GDALDataset* picture_;
  double left_ = 0.0;
  double top_ = 0.0;
  double width_ = 0.0;
  double height_ = 0.0;
  std::array<double, 4> box_{};
};

// Returns the share of the positions whose pixels are tinted. Positions are fractions of the
// image's width and height.
double TintedPart(const PaintedPage& page, const Scene& scene, const LonLat& centre,
                  const Colour& colour, const std::vector<std::array<double, 2>>& positions) {
  int tinted = 0;
  for (const auto& [to_far, to_last] : positions) {
    const Location place = scene.Locate(to_far * (scene.Parameters().samples - 1),
                                        to_last * (scene.Parameters().lines - 1));
    const Colour pixel = page.At(OnMap({place.longitude_deg, place.latitude_deg}, centre));
    if (IsTinted(pixel, colour)) ++tinted;
  }
  return tinted / static_cast<double>(positions.size());
}

std::size_t CountOf(std::string_view text, std::string_view in) {
  std::size_t count = 0;
  for (std::size_t at = in.find(text); at != in.npos; at = in.find(text, at + 1)) ++count;
  return count;
}

TEST(MapPage, ABrowserPaintsFootprintsWhereTheyAre) {
  const std::string browser = FindBrowser();
  if (browser.empty()) GTEST_SKIP() << "Chromium is not installed";
  GDALAllRegister();
  constexpr const char* kQuebec = "s1a_iw1_slc_quebec.pool";
  constexpr const char* kComoros = "s1a_s3_slc_comoros.pool";
  struct Case {
    const char* what;
    std::vector<Carried> scenes;
  };
  const std::vector<Case> cases = {
      {"ordinary", {{kQuebec, {-61.0, 50.8}}}},
      {"over the pole", {{kQuebec, {20.0, 89.6}}}},
      {"over the antimeridian", {{kComoros, {179.9, -17.0}}}},
      {"tiny", {{kQuebec, {11.0, 47.0}, 300, 200}}},
      {"several", {{kQuebec, {-61.0, 50.8}}, {kComoros, {-57.0, 51.5}}, {kComoros, {-64.0, 49.0}}}},
  };
  constexpr std::array<Colour, 3> kColours = {
      {{0xC8, 0x50, 0x1E}, {0x2F, 0x6F, 0xB0}, {0x3C, 0x9A, 0x5F}}};
  // The browser resizes the page before it takes the picture.
  constexpr const char* kProbe =
      "<script>const press = (i) => document.querySelectorAll('button')[i].click();"
      "press(0); const near = box[2]; press(1); press(1); const far = box[2]; press(2);"
      "if (near >= home[2] || far <= home[2]) console.log('no zoom');"
      "function tell() { const at = map.getBoundingClientRect();"
      "console.log('MAP', at.x, at.y, at.width, at.height, map.getAttribute('viewBox')); }"
      "window.addEventListener('resize', tell); tell();</script></body>";
  std::vector<std::array<double, 2>> inside;
  std::vector<std::array<double, 2>> outside;
  for (double part = 0.03; part < 1.0; part += 0.047) {
    for (double other = 0.05; other < 1.0; other += 0.15) inside.push_back({part, other});
    for (const double beyond : {-0.05, 1.05}) {
      outside.push_back({part, beyond});
      outside.push_back({beyond, part});
    }
  }
  const test::TempDir folder;
  for (const Case& row : cases) {
    SCOPED_TRACE(row.what);
    std::vector<Scene> scenes;
    std::vector<MapScene> drawn;
    std::vector<LonLat> outlines;
    for (const Carried& carried : row.scenes) {
      scenes.push_back(SceneOf(carried, folder / "scene.pool"));
      drawn.push_back(MapSceneOf("scene <" + std::to_string(scenes.size()) + ">", scenes.back()));
      outlines.insert(outlines.end(), drawn.back().outline.begin(), drawn.back().outline.end());
    }
    std::string html = MapHtml(drawn);
    html.replace(html.find("</body>"), std::string("</body>").size(), kProbe);
    test::WriteFile(folder / "map.html", html);
    const test::ProgramRun run = test::RunProgram(
        browser,
        {"--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars", "--no-first-run",
         "--user-data-dir=" + folder.Path().string() + "/profile", "--window-size=960,700",
         "--screenshot=" + (folder / "map.png"), "--enable-logging=stderr",
         "file://" + (folder / "map.html")},
        folder.Path());
    const std::size_t log = run.output.rfind("\"MAP ");
    ASSERT_NE(log, std::string::npos) << run.output;
    EXPECT_EQ(CountOf("CONSOLE", run.output), CountOf("\"MAP ", run.output)) << run.output;
    if (const char* const kept = std::getenv("QM_KEEP_PICTURES")) {
      std::filesystem::copy_file(folder / "map.png", std::string(kept) + '/' + row.what + ".png",
                                 std::filesystem::copy_options::overwrite_existing);
    }

    const PaintedPage page(folder / "map.png", run.output.substr(log + 5));
    const LonLat centre = MiddleOf(outlines);
    for (std::size_t i = 0; i < scenes.size(); ++i) {
      // Texts, arrows and the graticule cover some of the pixels.
      EXPECT_GE(TintedPart(page, scenes[i], centre, kColours[i], inside), 0.85) << i;
      EXPECT_LE(TintedPart(page, scenes[i], centre, kColours[i], outside), 0.05) << i;
    }
  }
}

}  // namespace
}  // namespace quellmark::report
